// The owning string template and the portable Str:: / WStr:: functions.
#include "String.h"

#include <cctype>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <new>
#include <utility>

#include "Debug.h"

namespace Orn {

namespace {

// Constant, so read-only memory: a write through a string that never allocated faults at once.
const char cEmptyNarrow[1] = {0};
const WChar cEmptyWide[1] = {0};

template <class Ch> Ch* SharedEmpty();
template <> char* SharedEmpty<char>() { return const_cast<char*>(cEmptyNarrow); }
template <> WChar* SharedEmpty<WChar>() { return const_cast<WChar*>(cEmptyWide); }

template <class Ch> Int Len(const Ch* s) { return CharTraits<Ch>::Length(s); }

// The source's length, or count when that is shorter: the source is read no further than count characters,
// so raw bytes without a terminator can be appended.
template <class Ch> Int ClampCount(const Ch* s, Int count)
{
    if (count < 0)
        return Len(s);
    Int n = 0;
    while (n < count && s[n] != 0)
        ++n;
    return n;
}

template <class Ch> Ch FoldCase(Ch c);
template <> char FoldCase<char>(char c) { return static_cast<char>(std::tolower(static_cast<unsigned char>(c))); }
template <> WChar FoldCase<WChar>(WChar c) { return static_cast<WChar>(std::towlower(static_cast<wint_t>(c))); }

template <class Ch> Int FindIn(const Ch* s, Int sLen, const Ch* pat, Int start, bool exact)
{
    Int patLen = Len(pat);
    for (Int i = start; i + patLen <= sLen; ++i) {
        Int j = 0;
        while (j < patLen && (exact ? s[i + j] == pat[j] : FoldCase(s[i + j]) == FoldCase(pat[j])))
            ++j;
        if (j == patLen)
            return i;
    }
    return -1;
}

template <class Ch> Int ICompareT(const Ch* a, const Ch* b)
{
    for (;; ++a, ++b) {
        Int ca = FoldCase(*a), cb = FoldCase(*b);
        if (ca != cb || ca == 0)
            return ca - cb;
    }
}

template <class Ch> bool EqualT(const Ch* a, const Ch* b)
{
    while (*a && *a == *b)
        ++a, ++b;
    return *a == *b;
}

} // namespace

// ---- CStringT

template <class Ch> CStringT<Ch>::CStringT() : mBuf(SharedEmpty<Ch>()) {}

template <class Ch> CStringT<Ch>::CStringT(const Ch* s) : mBuf(SharedEmpty<Ch>())
{
    if (s)
        Append(s);
}

template <class Ch> CStringT<Ch>::CStringT(const Ch* s, Int count) : mBuf(SharedEmpty<Ch>())
{
    if (s && count != 0)
        Append(s, count);
}

template <class Ch> CStringT<Ch>::CStringT(const CStringT& other) : mBuf(SharedEmpty<Ch>())
{
    ORN_ASSERT(other.IsUnlocked());
    Append(other.mBuf, other.mLen);
}

template <class Ch> CStringT<Ch>::CStringT(CStringT&& other) noexcept
    : mLocked(other.mLocked), mCapacity(other.mCapacity), mLen(other.mLen), mBuf(other.mBuf)
{
    other.mLocked = false;
    other.mCapacity = 0;
    other.mLen = 0;
    other.mBuf = SharedEmpty<Ch>();
}

template <class Ch> CStringT<Ch>::~CStringT() { FreeBuffer(); }

template <class Ch> CStringT<Ch>& CStringT<Ch>::operator=(const CStringT& other)
{
    if (this != &other) {
        Empty();
        Append(other.mBuf, other.mLen);
    }
    return *this;
}

template <class Ch> CStringT<Ch>& CStringT<Ch>::operator=(CStringT&& other) noexcept
{
    if (this != &other) {
        FreeBuffer();
        mLocked = other.mLocked;
        mCapacity = other.mCapacity;
        mLen = other.mLen;
        mBuf = other.mBuf;
        other.mLocked = false;
        other.mCapacity = 0;
        other.mLen = 0;
        other.mBuf = SharedEmpty<Ch>();
    }
    return *this;
}

template <class Ch> CStringT<Ch>& CStringT<Ch>::operator=(const Ch* s)
{
    if (s == mBuf)
        return *this;
    if (s && OwnsBuffer() && s > mBuf && s < mBuf + mCapacity) {
        CStringT copy(s);
        return *this = std::move(copy);
    }
    Empty();
    if (s)
        Append(s);
    return *this;
}

template <class Ch> bool CStringT<Ch>::OwnsBuffer() const { return mBuf != SharedEmpty<Ch>(); }

template <class Ch> void CStringT<Ch>::FreeBuffer()
{
    if (OwnsBuffer())
        delete[] mBuf;
    mBuf = SharedEmpty<Ch>();
    mCapacity = 0;
}

// Grows to hold at least `chars` characters plus the terminator; never shrinks. Sizes are worked out in 64 bits:
// a length past the Int range is refused as an allocation failure is, never wrapped round.
template <class Ch> void CStringT<Ch>::Reserve(Int64 chars)
{
    Int64 need = chars + 1;
    if (OwnsBuffer() && need <= mCapacity)
        return;
    if (chars < 0 || need > cMaxCapacity)
        throw std::bad_alloc();
    Int64 cap = need < 16 ? 16 : need + need / 2;
    if (cap > cMaxCapacity)
        cap = cMaxCapacity;
    Ch* buf = new Ch[static_cast<size_t>(cap)];
    std::memcpy(buf, mBuf, sizeof(Ch) * (mLen + 1));
    FreeBuffer();
    mBuf = buf;
    mCapacity = static_cast<Int>(cap);
}

template <class Ch> Ch* CStringT<Ch>::Lock(Int len)
{
    ORN_ASSERT(len >= 0);
    ORN_ASSERT(! mLocked);
    Reserve(len > 1 ? len : 1);
    mLocked = true;
    return mBuf;
}

template <class Ch> Int CStringT<Ch>::Unlock()
{
    ORN_ASSERT(mLocked);
    mLocked = false;
    mLen = Len(mBuf);
    return mLen;
}

template <class Ch> void CStringT<Ch>::Empty()
{
    ORN_ASSERT(IsUnlocked());
    mLen = 0;
    // The shared empty buffer of a string that never allocated is never written.
    if (OwnsBuffer())
        mBuf[0] = 0;
}

template <class Ch> const Ch* CStringT<Ch>::Append(const Ch* cp, Int count)
{
    ORN_ASSERT(cp);
    ORN_ASSERT(IsUnlocked());
    if (!cp)
        return mBuf;
    count = ClampCount(cp, count);
    if (count == 0)
        return mBuf;
    if (OwnsBuffer() && cp >= mBuf && cp < mBuf + mCapacity) {
        CStringT copy(cp, count);
        return Append(copy.mBuf, count);
    }
    Reserve(Int64(mLen) + count);
    std::memcpy(mBuf + mLen, cp, sizeof(Ch) * count);
    mLen += count;
    mBuf[mLen] = 0;
    return mBuf;
}

template <class Ch> void CStringT<Ch>::AppendChar(Ch ch, Int count)
{
    ORN_ASSERT(IsUnlocked());
    if (count <= 0)
        return;
    Reserve(Int64(mLen) + count);
    for (Int i = 0; i < count; ++i)
        mBuf[mLen++] = ch;
    mBuf[mLen] = 0;
}

template <class Ch> void CStringT<Ch>::Insert(const Ch* cp, Int pos, Int count)
{
    ORN_ASSERT(IsUnlocked());
    ORN_ASSERT(cp);
    if (pos != -1)
        ORN_ASSERT((pos >= 0) && (pos <= Length()));
    if (!cp || pos < -1 || pos > mLen)
        return;
    if (pos == -1)
        pos = mLen;
    count = ClampCount(cp, count);
    if (count == 0)
        return;
    CStringT copy(cp, count); // the source may live in this buffer
    Int tailLen = mLen - pos + 1;
    ORN_ASSERT(tailLen>0);
    Reserve(Int64(mLen) + count);
    std::memmove(mBuf + pos + count, mBuf + pos, sizeof(Ch) * tailLen);
    Int insertLen = count;
    ORN_ASSERT(insertLen>=0);
    std::memcpy(mBuf + pos, copy.mBuf, sizeof(Ch) * insertLen);
    mLen += count;
}

template <class Ch> void CStringT<Ch>::Remove(Int pos, Int count)
{
    ORN_ASSERT(IsUnlocked());
    ORN_ASSERT((pos >= 0) && (pos <= mLen));
    ORN_ASSERT(count >= -1);
    ORN_ASSERT(count == -1 || (pos + count) <= mLen);
    if (pos < 0 || pos >= mLen || count == 0 || count < -1)
        return;
    if (count == -1 || pos + count > mLen)
        count = mLen - pos;
    Int mvcnt = mLen - (pos + count) + 1;
    ORN_ASSERT(mvcnt>0);
    std::memmove(mBuf + pos, mBuf + pos + count, sizeof(Ch) * mvcnt);
    mLen -= count;
}

template <class Ch> Int CStringT<Ch>::Find(const Ch* pattern, Int start) const
{
    return Find(pattern, start, true);
}

template <class Ch> Int CStringT<Ch>::Find(const Ch* pattern, Int start, bool caseSensitive) const
{
    ORN_ASSERT(IsUnlocked());
    ORN_ASSERT((start >= 0) && (start <= mLen));
    if (!pattern || start < 0 || start > mLen)
        return -1;
    return FindIn(mBuf, mLen, pattern, start, caseSensitive);
}

template <class Ch> Int CStringT<Ch>::Replace(const Ch* cp, const Ch* replace)
{
    ORN_ASSERT(IsUnlocked());
    ORN_ASSERT(cp);
    if (cp && Len(cp) <= 0)
        ORN_ASSERT_MSG("Length(cp) > 0");
    ORN_ASSERT(replace);
    if (!cp || !replace || Len(cp) == 0)
        return 0;
    CStringT pat(cp), rep(replace); // either may point into this buffer
    Int count = 0;
    Int pos = Find(pat, 0);
    while (pos >= 0) {
        Remove(pos, pat.Length());
        Insert(rep, pos);
        ++count;
        Int next = pos + rep.Length();
        pos = next <= mLen ? Find(pat, next) : -1;
    }
    return count;
}

template <class Ch> void CStringT<Ch>::Format(const Ch* format, ...)
{
    va_list args;
    va_start(args, format);
    VFormat(format, args);
    va_end(args);
}

template <class Ch> void CStringT<Ch>::VFormat(const Ch* format, va_list args)
{
    ORN_ASSERT(IsUnlocked());
    Ch buf[5000];
    Int n = CharTraits<Ch>::VFormat(buf, 5000, format, args);
    if (!(n < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)))
        ORN_ASSERT_MSG("VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
    *this = buf;
}

template <class Ch> CStringT<Ch> CStringT<Ch>::Mid(Int pos, Int count) const
{
    if (pos < 0)
        pos = 0;
    if (pos > mLen)
        pos = mLen;
    if (count < 0 || count > mLen - pos)
        count = mLen - pos;
    return CStringT(mBuf + pos, count);
}

template <class Ch> bool CStringT<Ch>::operator==(const Ch* s) const
{
    return s && EqualT(mBuf, s);
}

template class CStringT<char>;
template class CStringT<WChar>;

// ---- CString / CWString

CString& CString::operator=(const WChar* str)
{
    AssignWide(str);
    return *this;
}

void CString::AssignWide(const WChar* str)
{
    ORN_ASSERT(str);
    ORN_ASSERT(IsUnlocked());
    Empty();
    if (!str || !*str)
        return;
    Int size = WStr::Length(str) * 2 + 1;
    char* buf = Lock(size);
    WStr::ToStr(str, buf, size);
    Unlock();
}

void CString::SetHex(const void* bytes, Int count)
{
    const Byte* p = static_cast<const Byte*>(bytes);
    char* out = Lock(2 * count + 1);
    for (Int i = 0; i < count; ++i)
        Str::ByteToHex(p[i], out + 2 * i);
    out[2 * count] = 0;
    Unlock();
}

Int CString::HexToBinary(const char* str, Byte* binaryData, Int maxBytes)
{
    ORN_ASSERT(str);
    ORN_ASSERT(binaryData);
    ORN_ASSERT((Str::Length(str) % 2) == 0);
    Int n = 0;
    for (; str[0] && str[1]; str += 2) {
        if (n >= maxBytes) {
            ORN_ASSERT_MSG("maxBytes exceeded");
            break;
        }
        binaryData[n++] = Str::HexToByte(str);
    }
    return n;
}

void CWString::AssignNarrow(const char* str)
{
    ORN_ASSERT(str);
    Empty();
    if (!str || !*str)
        return;
    Int size = Str::Length(str) + 1;
    WChar* buf = Lock(size);
    Str::ToWStr(str, buf, size);
    Unlock();
}

// ---- Str

Int Str::Length(const char* s) { return static_cast<Int>(std::strlen(s)); }
bool Str::Equal(const char* a, const char* b) { return EqualT(a, b); }
bool Str::IEqual(const char* a, const char* b) { return ICompareT(a, b) == 0; }
Int Str::ICompare(const char* a, const char* b) { return ICompareT(a, b); }
Int Str::Find(const char* s, const char* sub) { return FindIn(s, Length(s), sub, 0, true); }

Int Str::Find(const char* s, char ch)
{
    const char* p = std::strchr(s, ch);
    return p && ch ? static_cast<Int>(p - s) : -1;
}

WChar* Str::NewWStr(const char* src)
{
    Int n = Length(src) + 1;
    WChar* w = new (std::nothrow) WChar[n];
    if (w)
        ToWStr(src, w, n);
    return w;
}

char Str::HexDigit(Int v)
{
    ORN_ASSERT((v >= 0) && (v <= 0x0F));
    return "0123456789ABCDEF"[v & 0x0F];
}

void Str::ByteToHex(Int byte, char out[2])
{
    ORN_ASSERT((byte >= 0) && (byte <= 0xFF));
    out[0] = HexDigit((byte >> 4) & 0x0F);
    out[1] = HexDigit(byte & 0x0F);
}

Int Str::HexValue(Int c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

Byte Str::HexToByte(const char chars[2])
{
    ORN_ASSERT(chars[0] != 0);
    ORN_ASSERT(chars[1] != 0);
    Int msd = HexValue(chars[0]);
    Int lsd = chars[0] ? HexValue(chars[1]) : -1;
    ORN_ASSERT(msd >= 0);
    ORN_ASSERT(lsd >= 0);
    return static_cast<Byte>(((msd < 0 ? 0 : msd) << 4) | (lsd < 0 ? 0 : lsd));
}

// ---- WStr

Int WStr::Length(const WChar* s) { return static_cast<Int>(std::wcslen(s)); }
bool WStr::Equal(const WChar* a, const WChar* b) { return EqualT(a, b); }
bool WStr::IEqual(const WChar* a, const WChar* b) { return ICompareT(a, b) == 0; }
Int WStr::ICompare(const WChar* a, const WChar* b) { return ICompareT(a, b); }
Int WStr::Find(const WChar* s, const WChar* sub) { return FindIn(s, Length(s), sub, 0, true); }

Int WStr::Find(const WChar* s, WChar ch)
{
    const WChar* p = std::wcschr(s, ch);
    return p && ch ? static_cast<Int>(p - s) : -1;
}

} // namespace Orn
