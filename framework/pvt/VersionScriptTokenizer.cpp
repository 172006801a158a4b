// The reply-script tokenizer: one token per call, read straight from the script text.
#include "VersionScript.h"

#include <cstring>

#include "Debug.h"
#include "Unescape.h"

namespace Orn {

namespace {

// "C" locale classes on unsigned bytes, whatever locale the process runs in.
bool IsDigit(unsigned char c) { return c >= '0' && c <= '9'; }
bool IsLetter(unsigned char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsWordChar(unsigned char c) { return IsLetter(c) || IsDigit(c) || c == '_'; }

// Copies exactly `count` characters; the span never holds a zero, as it lies within the script.
void AssignSpan(CString& out, const char* p, Int count)
{
    char* buf = out.Lock(count);
    std::memcpy(buf, p, count);
    buf[count] = 0;
    out.Unlock();
}

} // namespace

const char* CVersionScriptInterpreter::TokenTypeName(Int type)
{
    switch (type) {
    case tokEndOfScript: return "end-of-script";
    case tokLabel: return "label";
    case tokIdentifier: return "identifier";
    case tokString: return "string";
    case tokNumber: return "number";
    case tokComma: return "comma";
    case tokSemicolon: return "semicolon";
    default: ORN_ASSERT_MSG("unknown tokenType"); return "(unknown)";
    }
}

// Error and step texts show at most 20 characters from the token start.
CString CVersionScriptInterpreter::Excerpt() const
{
    Int count = 0;
    while (count < 20 && mTokenStart[count] != 0)
        ++count;
    CString excerpt;
    AssignSpan(excerpt, mTokenStart, count);
    return excerpt;
}

Int CVersionScriptInterpreter::NextToken()
{
    mTokenStart = mScan;
    for (;;) {
        const char* begin = mScan;
        auto c = static_cast<unsigned char>(*mScan);
        // The scan stays on the zero, so every later read finds the end again.
        if (c == 0)
            return mTokenType = tokEndOfScript;
        ++mScan;
        switch (c) {
        case '\t': case '\n': case '\r': case ' ': continue;
        case ',': return mTokenType = tokComma;
        case ';': return mTokenType = tokSemicolon;
        case '"': ReadString(); return mTokenType = tokString;
        case ':': ReadWord(begin + 1); return mTokenType = tokLabel;
        case '/':
            if (*mScan != '/')
                return mTokenType = tokSlash;
            SkipComment();
            mTokenStart = mScan;
            continue;
        default: break;
        }
        if (IsDigit(c) || c == '-') {
            ReadNumber(begin);
            return mTokenType = tokNumber;
        }
        if (IsLetter(c) || c == '$') {
            ReadWord(begin);
            return mTokenType = tokIdentifier;
        }
        ScriptError("unexpected character");
    }
}

void CVersionScriptInterpreter::Expect(Int type)
{
    if (NextToken() == type)
        return;
    CString message("looking for ");
    message.Append(TokenTypeName(type));
    message.Append(", but got ");
    message.Append(TokenTypeName(mTokenType));
    ScriptError(message);
}

// Stops before the line end (or the terminating zero) that ends the comment.
void CVersionScriptInterpreter::SkipComment()
{
    ++mScan;
    while (*mScan != 0 && *mScan != '\n' && *mScan != '\r')
        ++mScan;
}

void CVersionScriptInterpreter::ReadWord(const char* begin)
{
    while (IsWordChar(static_cast<unsigned char>(*mScan)))
        ++mScan;
    AssignSpan(mTokenText, begin, static_cast<Int>(mScan - begin));
}

// A backslash always takes the next character with it, so \" stays inside the string.
void CVersionScriptInterpreter::ReadString()
{
    const char* begin = mScan;
    bool escaped = false;
    while (*mScan != '"') {
        if (*mScan == 0)
            ScriptError("unclosed string");
        if (*mScan == '\\') {
            if (mScan[1] == 0)
                ScriptError("bad string");
            escaped = true;
            ++mScan;
        }
        ++mScan;
    }
    AssignSpan(mTokenText, begin, static_cast<Int>(mScan - begin));
    ++mScan;
    if (escaped)
        Str::Unescape(mTokenText);
}

// Only a lower-case "x" after a leading 0 makes a hexadecimal number; otherwise a leading 0 is a number of its
// own. Values wrap in 32 bits.
void CVersionScriptInterpreter::ReadNumber(const char* begin)
{
    auto first = static_cast<unsigned char>(*begin);
    bool negative = first == '-';
    if (negative) {
        first = static_cast<unsigned char>(*mScan);
        if (!IsDigit(first))
            ScriptError("expected digit");
        ++mScan;
    }
    DWord value = 0;
    if (first != '0') {
        value = first - '0';
        while (IsDigit(static_cast<unsigned char>(*mScan)))
            value = value * 10 + static_cast<DWord>(*mScan++ - '0');
    } else if (*mScan == 'x') {
        ++mScan;
        while (Str::HexValue(static_cast<unsigned char>(*mScan)) >= 0)
            value = value * 16 + static_cast<DWord>(Str::HexValue(static_cast<unsigned char>(*mScan++)));
    }
    mNumber = static_cast<Int>(negative ? 0u - value : value);
    AssignSpan(mTokenText, begin, static_cast<Int>(mScan - begin));
}

} // namespace Orn
