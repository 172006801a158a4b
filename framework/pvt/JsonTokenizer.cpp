// The JSON-like token reader: one character at a time from a stream, malformed input thrown as text.
#include "JsonTokenizer.h"

#include <cstdarg>

#include "Debug.h"

namespace Orn {

namespace {

bool IsDigit(Int ch) { return ch >= '0' && ch <= '9'; }

bool IsLetter(Int ch) { return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z'); }

} // namespace

CJsonTokenizer::CJsonTokenizer(CStream& stream, bool allowBareWords)
    : mStream(stream), mAllowBareWords(allowBareWords)
{
}

void CJsonTokenizer::Throw(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    CString text;
    text.VFormat(format, args);
    va_end(args);
    throw CSyntaxError(text);
}

Int CJsonTokenizer::NextToken()
{
    if (mLastToken != jsonEOF)
        mLastToken = ReadToken();
    return mLastToken;
}

// Carriage returns are not white space here: they are reported like any other stray character.
Int CJsonTokenizer::ReadToken()
{
    for (;;) {
        Int ch = mStream.ReadChar();
        switch (ch) {
        case -1:
            return jsonEOF;
        case '\t':
        case '\n':
        case ' ':
            continue;
        case '/':
            SkipComment();
            continue;
        case '[':
        case ']':
        case '{':
        case '}':
        case ':':
        case ',':
            return ch;
        case '"':
            return ReadString();
        default:
            break;
        }
        if (ch == '-' || IsDigit(ch))
            return ReadInteger(ch);
        if (mAllowBareWords && IsLetter(ch))
            return ReadBareWord(ch);
        if (ch >= 0x20 && ch <= 0x7E)
            Throw("Unexpected character '%c', %d", ch, ch);
        Throw("Unexpected character %d", ch);
    }
}

// A line comment may end the input; an unfinished block comment may not.
void CJsonTokenizer::SkipComment()
{
    Int ch = mStream.ReadChar();
    if (ch == -1)
        Throw("unexpected EOF");
    if (ch == '/') {
        do
            ch = mStream.ReadChar();
        while (ch != '\n' && ch != -1);
        return;
    }
    if (ch != '*')
        Throw("unexpected character after '/'");
    for (Int prev = 0;; prev = ch) {
        ch = mStream.ReadChar();
        if (ch == -1)
            Throw("unexpected EOF");
        if (prev == '*' && ch == '/')
            return;
    }
}

// No overflow check: the value wraps as 32-bit arithmetic does.
Int CJsonTokenizer::ReadInteger(Int first)
{
    bool negative = first == '-';
    DWord value = negative ? 0 : static_cast<DWord>(first - '0');
    for (;;) {
        Int ch = mStream.ReadChar();
        if (ch == -1)
            break;
        if (!IsDigit(ch)) {
            mStream.UnGetChar(ch);
            break;
        }
        value = value * 10 + static_cast<DWord>(ch - '0');
    }
    mIntValue = static_cast<Int>(negative ? 0u - value : value);
    return jsonINTEGER;
}

Int CJsonTokenizer::ReadString()
{
    mStringValue.Empty();
    for (;;) {
        Int ch = mStream.ReadChar();
        if (ch == -1)
            Throw("unexpected EOF in string");
        if (ch == '"')
            return jsonSTRING;
        if (ch == '\\' && (ch = ReadEscape()) == -1)
            continue;
        mStream.AppendReadChar(mStringValue, ch);
    }
}

// The character an escape stands for, or -1 for none.
Int CJsonTokenizer::ReadEscape()
{
    Int ch = mStream.ReadChar();
    switch (ch) {
    case -1:
        Throw("unexpected EOF in string");
    case '"':
    case '\\':
    case '/':
        return ch;
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'b':
        return '"'; // not a backspace: data written by earlier versions depends on this
    case 'u':
        ORN_ASSERT_MSG("\\u unimplemented");
        return -1;
    default:
        Throw("unexpected character escape in string");
    }
}

Int CJsonTokenizer::ReadBareWord(Int first)
{
    mStringValue.Empty();
    mStringValue.AppendChar(static_cast<char>(first));
    for (;;) {
        Int ch = mStream.ReadChar();
        if (ch == -1)
            break;
        if (!IsLetter(ch)) {
            mStream.UnGetChar(ch);
            break;
        }
        mStringValue.AppendChar(static_cast<char>(ch));
    }
    return jsonSTRING;
}

Int CJsonTokenizer::IntValue() const
{
    ORN_ASSERT(mLastToken == jsonINTEGER);
    return mIntValue;
}

const CString& CJsonTokenizer::StringValue() const
{
    ORN_ASSERT(mLastToken == jsonSTRING);
    return mStringValue;
}

void CJsonTokenizer::PrintToken(CStream& out) const
{
    if (mLastToken == jsonINTEGER) {
        out.WriteFormat("INTEGER(%d)", mIntValue);
    } else if (mLastToken == jsonSTRING) {
        // Written in pieces: a string token may be longer than one formatted write allows.
        out.WriteText("STRING(\"");
        out.WriteText(mStringValue.Chars());
        out.WriteText("\")");
    } else {
        PrintTokenCode(out, mLastToken);
    }
}

void CJsonTokenizer::PrintTokenCode(CStream& out, Int token)
{
    if (token == jsonEOF)
        out.WriteText("EOF");
    else if (token == jsonINTEGER)
        out.WriteText("INTEGER");
    else if (token == jsonSTRING)
        out.WriteText("STRING");
    else
        out.WriteFormat("TOKEN('%c')", token);
}

} // namespace Orn
