// The stream base's text: encodings, line ends, indentation and push-back, written and read.
#include <type_traits>

#include "Debug.h"
#include "Stream.h"

namespace Orn {

namespace {
constexpr Int cFormatBufChars = 2000;
}

// ---- Output

bool CStream::EmitByte(Byte b)
{
    mOut[mOutLen++] = b;
    return mOutLen < static_cast<Int>(sizeof mOut) || FlushOut();
}

bool CStream::FlushOut()
{
    Int n = mOutLen;
    mOutLen = 0;
    return WriteRaw(mOut, n);
}

bool CStream::EmitChar(Int ch)
{
    switch (mEncoding) {
    case encSystem:
        return EmitByte(static_cast<Byte>(ch));
    case encUTF8:
        ch &= 0xFFFF;
        if (ch <= 0x7F)
            return EmitByte(static_cast<Byte>(ch));
        if (ch <= 0x7FF)
            return EmitByte(static_cast<Byte>(0xC0 | ch >> 6)) && EmitByte(static_cast<Byte>(0x80 | (ch & 0x3F)));
        return EmitByte(static_cast<Byte>(0xE0 | ch >> 12)) && EmitByte(static_cast<Byte>(0x80 | ((ch >> 6) & 0x3F))) &&
               EmitByte(static_cast<Byte>(0x80 | (ch & 0x3F)));
    case encUTF16: {
        Byte lo = static_cast<Byte>(ch), hi = static_cast<Byte>(ch >> 8);
        return (mMode & smUTF16BigEndian) ? EmitByte(hi) && EmitByte(lo) : EmitByte(lo) && EmitByte(hi);
    }
    default:
        ORN_ASSERT_MSG("bad encoding");
        return false;
    }
}

bool CStream::PutIndent()
{
    for (Int level = 0; level < mIndentLevel; ++level) {
        if (mIndentWidth <= 0) {
            if (!EmitChar('\t'))
                return false;
            continue;
        }
        for (Int i = 0; i < mIndentWidth; ++i)
            if (!EmitChar(' '))
                return false;
    }
    return true;
}

bool CStream::PutLineEnd()
{
    bool ok = false;
    if (!(mMode & smText)) {
        ok = EmitChar('\n');
    } else if (mEOLType == eolCRLF) {
        ok = EmitChar('\r') && EmitChar('\n');
    } else if (mEOLType == eolCR) {
        ok = EmitChar('\r');
    } else if (mEOLType == eolLF) {
        ok = EmitChar('\n');
    } else {
        ORN_ASSERT_MSG("bad EOL type");
        return false;
    }
    if (mMode & smCountLines)
        ++mLineCount;
    mAtLineStart = true;
    return ok;
}

// The indentation comes before whatever character starts a line, a line feed included.
bool CStream::PutChar(Int ch)
{
    if (mTranslator) {
        if (!mTranslator->Translate(ch))
            return Fail(Failure);
        if (ch == -1)
            return true;
    }
    if (mAtLineStart && mIndentLevel >= 1 && !PutIndent())
        return false;
    if (ch == '\n')
        return PutLineEnd();
    mAtLineStart = false;
    return EmitChar(ch);
}

// Bytes already gathered still go out when a later character fails.
bool CStream::FinishOut(bool ok)
{
    bool flushed = FlushOut();
    return ok && flushed;
}

bool CStream::WriteNarrow(const char* text, Int count)
{
    bool ok = true;
    for (Int i = 0; ok && i < count; ++i)
        ok = PutChar(static_cast<unsigned char>(text[i]));
    return FinishOut(ok);
}

bool CStream::WriteWide(const WChar* text, Int count)
{
    bool ok = true;
    for (Int i = 0; ok && i < count; ++i)
        ok = PutChar(static_cast<Int>(text[i]) & 0xFFFF);
    return FinishOut(ok);
}

bool CStream::WriteChar(Int ch)
{
    if (!CheckWritable())
        return false;
    if (IsUnicodeEncoding())
        return WriteUnicodeChar(ch);
    return FinishOut(PutChar(ch & 0xFF));
}

bool CStream::WriteUnicodeChar(Int ch)
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    ORN_ASSERT(IsWritable());
    ORN_ASSERT(IsUnicodeEncoding());
    if (!IsWritable() || !IsUnicodeEncoding())
        return false;
    return FinishOut(PutChar(ch & 0xFFFF));
}

bool CStream::WriteText(const char* text, Int count)
{
    ORN_ASSERT(text);
    if (!text || !CheckWritable())
        return false;
    Int len = Str::Length(text);
    if (count < 0 || count > len)
        count = len;
    if (!IsUnicodeEncoding())
        return WriteNarrow(text, count);
    CWString wide;
    wide.AssignNarrow(CString(text, count));
    return WriteWide(wide.Chars(), wide.Length());
}

bool CStream::WriteText(const WChar* text, Int count)
{
    ORN_ASSERT(text);
    if (!text || !CheckWritable())
        return false;
    Int len = WStr::Length(text);
    if (count < 0 || count > len)
        count = len;
    if (IsUnicodeEncoding())
        return WriteWide(text, count);
    CString narrow;
    narrow.AssignWide(CWString(text, count));
    return WriteNarrow(narrow.Chars(), narrow.Length());
}

bool CStream::WriteFormat(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    bool ok = VWriteFormat(format, args);
    va_end(args);
    return ok;
}

bool CStream::VWriteFormat(const char* format, va_list args)
{
    char buf[cFormatBufChars];
    Int n = Str::VFormat(buf, static_cast<Int>(sizeof buf), format, args);
    if (n < 0)
        buf[0] = 0;
    bool fits = n < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1);
    if (!fits)
        ORN_ASSERT_MSG("Str::VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
    return WriteText(buf) && fits;
}

bool CStream::WriteFormat(const WChar* format, ...)
{
    va_list args;
    va_start(args, format);
    bool ok = VWriteFormat(format, args);
    va_end(args);
    return ok;
}

bool CStream::VWriteFormat(const WChar* format, va_list args)
{
    WChar buf[cFormatBufChars];
    Int n = WStr::VFormat(buf, cFormatBufChars, format, args);
    if (n < 0)
        buf[0] = 0;
    bool fits = n < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1);
    if (!fits)
        ORN_ASSERT_MSG("WStr::VFormat(buf,format,args) < ((static_cast<Int>(sizeof(buf)/sizeof(buf[0]))) - 1)");
    return WriteText(buf) && fits;
}

// ---- Input

Int CStream::DecodeUTF8(Int lead)
{
    if (lead < 0x80)
        return lead;
    if (lead < 0xC0 || lead >= 0xF0)
        return 0xFFFD; // a stray continuation byte, or a form longer than 16 bits
    Int extra = lead >= 0xE0 ? 2 : 1;
    Byte more[2];
    if (ReadRaw(more, extra) != extra)
        return 0xFFFD;
    Int ch = lead & (extra == 2 ? 0x0F : 0x1F);
    for (Int i = 0; i < extra; ++i) {
        if ((more[i] & 0xC0) != 0x80)
            return 0xFFFD;
        ch = (ch << 6) | (more[i] & 0x3F);
    }
    return ch;
}

Int CStream::DecodeChar()
{
    Byte b[2];
    switch (mEncoding) {
    case encSystem:
        return ReadRaw(b, 1) == 1 ? b[0] : -1;
    case encUTF8:
        return ReadRaw(b, 1) == 1 ? DecodeUTF8(b[0]) : -1;
    case encUTF16:
        if (ReadRaw(b, 2) != 2)
            return -1;
        return (mMode & smUTF16BigEndian) ? (b[0] << 8 | b[1]) : (b[1] << 8 | b[0]);
    default:
        ORN_ASSERT_MSG("bad encoding");
        return -1;
    }
}

Int CStream::NextDecoded()
{
    if (mLookAhead == -1)
        return DecodeChar();
    Int ch = mLookAhead;
    mLookAhead = -1;
    return ch;
}

Int CStream::ReadChar()
{
    if (!CheckReadable())
        return -1;
    if (mUnGetChar != -1) {
        Int ch = mUnGetChar;
        mUnGetChar = -1;
        return ch;
    }
    Int ch = NextDecoded();
    if (ch == '\r' && (mMode & smText)) {
        Int next = NextDecoded();
        if (next != '\n')
            mLookAhead = next;
        ch = '\n';
    }
    if (ch == '\n' && (mMode & smCountLines))
        ++mLineCount;
    return ch;
}

bool CStream::UnGetChar(Int ch)
{
    ORN_ASSERT(mUnGetChar == -1);
    if (mUnGetChar != -1)
        return false;
    mUnGetChar = ch;
    bool fits = IsUnicodeEncoding() ? mUnGetChar <= 0xFFFF : mUnGetChar <= 0xFF;
    if (IsUnicodeEncoding())
        ORN_ASSERT(mUnGetChar <= 0xFFFF);
    else
        ORN_ASSERT(mUnGetChar <= 0xFF);
    if (!fits)
        mUnGetChar = -1;
    return fits;
}

void CStream::AppendReadChar(CString& text, Int ch) const
{
    if (ch <= 0)
        return; // text cannot hold a NUL
    if (!IsUnicodeEncoding() || ch < 0x80) {
        text.AppendChar(static_cast<char>(ch));
        return;
    }
    WChar wide[2] = {static_cast<WChar>(ch), 0};
    char narrow[8];
    WStr::ToStr(wide, narrow, static_cast<Int>(sizeof narrow));
    text.Append(narrow);
}

template <class S> bool CStream::ReadToDelimT(S& text, Int delim, Int maxLen)
{
    ORN_ASSERT(delim <= 0xFF);
    ORN_ASSERT(maxLen == -1 || maxLen > 0);
    text.Empty();
    if (!CheckReadable())
        return false;
    mReadFailed = false;
    bool any = false;
    for (Int count = 0; maxLen == -1 || count < maxLen; ++count) {
        Int ch = ReadChar();
        if (ch == -1)
            break;
        any = true;
        if (ch == delim)
            break;
        if constexpr (std::is_same_v<S, CString>)
            AppendReadChar(text, ch);
        else if (ch != 0)
            text.AppendChar(static_cast<WChar>(ch));
    }
    return any && !mReadFailed;
}

bool CStream::ReadToDelim(CString& text, Int delim, Int maxLen) { return ReadToDelimT(text, delim, maxLen); }

bool CStream::ReadToDelim(CWString& text, Int delim, Int maxLen) { return ReadToDelimT(text, delim, maxLen); }

bool CStream::ReadAll(CString& text)
{
    text.Empty();
    if (!CheckReadable())
        return false;
    mReadFailed = false;
    for (Int ch = ReadChar(); ch != -1; ch = ReadChar())
        AppendReadChar(text, ch);
    return !mReadFailed;
}

} // namespace Orn
