// The owning string (narrow and wide) and the Str:: / WStr:: functions over zero-terminated arrays.
#pragma once

#include <cstdarg>

#include "Platform.h"

namespace Orn {

// Free functions over zero-terminated narrow text in the system code page.
namespace Str {
Int Length(const char* s);
bool Equal(const char* a, const char* b);
bool IEqual(const char* a, const char* b);
Int ICompare(const char* a, const char* b);
Int Find(const char* s, const char* sub);
Int Find(const char* s, char ch);
// printf-style into buf (bufSize characters, terminator included); the count that the full text needs.
Int VFormat(char* buf, Int bufSize, const char* format, va_list args) ORN_PRINTF(3, 0);
Int Format(char* buf, Int bufSize, const char* format, ...) ORN_PRINTF(3, 4);
// Narrow to wide in the system code page; characters written, terminator excluded.
Int ToWStr(const char* src, WChar* dst, Int dstSize);
// Allocating narrow-to-wide copy (length + 1 wide characters); null when allocation fails. Free with delete[].
WChar* NewWStr(const char* src);

// The value of a hexadecimal digit character (either case), or -1.
Int HexValue(Int ch);
char HexDigit(Int v);
void ByteToHex(Int byte, char out[2]);
Byte HexToByte(const char chars[2]);
} // namespace Str

// The wide twins over UTF-16 text.
namespace WStr {
Int Length(const WChar* s);
bool Equal(const WChar* a, const WChar* b);
bool IEqual(const WChar* a, const WChar* b);
Int ICompare(const WChar* a, const WChar* b);
Int Find(const WChar* s, const WChar* sub);
Int Find(const WChar* s, WChar ch);
// %s and %c take wide arguments, as the narrow form takes narrow ones.
Int VFormat(WChar* buf, Int bufSize, const WChar* format, va_list args);
Int Format(WChar* buf, Int bufSize, const WChar* format, ...);
// Wide to narrow in the system code page; characters written, terminator excluded.
Int ToStr(const WChar* src, char* dst, Int dstSize);
} // namespace WStr

// Picks the Str or WStr function for a character type.
template <class Ch> struct CharTraits;
template <> struct CharTraits<char> {
    static Int Length(const char* s) { return Str::Length(s); }
    static Int VFormat(char* b, Int n, const char* f, va_list a) { return Str::VFormat(b, n, f, a); }
};
template <> struct CharTraits<WChar> {
    static Int Length(const WChar* s) { return WStr::Length(s); }
    static Int VFormat(WChar* b, Int n, const WChar* f, va_list a) { return WStr::VFormat(b, n, f, a); }
};

// Owning, always zero-terminated string. Lock hands out the buffer for writing; Unlock takes the length
// from the terminating zero. Every other operation needs the string unlocked.
template <class Ch> class CStringT {
public:
    CStringT();
    CStringT(const Ch* s);
    CStringT(const Ch* s, Int count);
    CStringT(const CStringT& other);
    CStringT(CStringT&& other) noexcept;
    ~CStringT();
    CStringT& operator=(const CStringT& other);
    CStringT& operator=(CStringT&& other) noexcept;
    CStringT& operator=(const Ch* s);

    Ch* Lock(Int len);
    Int Unlock();
    bool IsUnlocked() const { return !mLocked; }

    const Ch* Chars() const { return mBuf; }
    operator const Ch*() const { return mBuf; }
    Int Length() const { return mLen; }
    bool IsEmpty() const { return mLen == 0; }
    Ch operator[](Int i) const { return mBuf[i]; }

    void Empty();
    const Ch* Append(const Ch* cp, Int count = -1);
    void AppendChar(Ch ch, Int count = 1);
    void Insert(const Ch* cp, Int pos = -1, Int count = -1);
    void Remove(Int pos, Int count = -1);
    Int Find(const Ch* pattern, Int start = 0) const;
    Int Find(const Ch* pattern, Int start, bool caseSensitive) const;
    Int Replace(const Ch* pattern, const Ch* replace);
    void Format(const Ch* format, ...);
    void VFormat(const Ch* format, va_list args);
    // Replaces the text by the part [pos, pos + count).
    CStringT Mid(Int pos, Int count = -1) const;

    bool operator==(const Ch* s) const;
    bool operator!=(const Ch* s) const { return !(*this == s); }

private:
    // The most characters a buffer holds, terminator included.
    static constexpr Int64 cMaxCapacity = 0x7FFFFFFF;
    void Reserve(Int64 chars);
    void FreeBuffer();
    bool OwnsBuffer() const;

    bool mLocked = false;
    Int mCapacity = 0;
    Int mLen = 0;
    Ch* mBuf;
};

extern template class CStringT<char>;
extern template class CStringT<WChar>;

class CString : public CStringT<char> {
public:
    using CStringT<char>::CStringT;
    using CStringT<char>::operator=;
    CString() = default;
    CString(const CStringT<char>& s) : CStringT<char>(s) {}
    // Assign from wide text, converted with the system code page.
    CString& operator=(const WChar* str);
    void AssignWide(const WChar* str);
    // Two upper-case hexadecimal digits per byte.
    void SetHex(const void* bytes, Int count);
    // Decodes pairs of digits; the number of bytes written.
    static Int HexToBinary(const char* str, Byte* binaryData, Int maxBytes);
};

class CWString : public CStringT<WChar> {
public:
    using CStringT<WChar>::CStringT;
    using CStringT<WChar>::operator=;
    CWString() = default;
    CWString(const CStringT<WChar>& s) : CStringT<WChar>(s) {}
    void AssignNarrow(const char* str);
};

} // namespace Orn
