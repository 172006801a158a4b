// The record line reader: one pass over the bytes, escapes decoded into storage of the line's size.
#include "RecordLine.h"

#include <cstring>

namespace {

constexpr int cMaxDepth = 16;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

int HexValue(char c)
{
    if (IsDigit(c))
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// "YYYY-MM-DDTHH:MM:SS" at least, so that the day is the first ten characters and times sort as texts.
bool IsTimeStamp(std::string_view time)
{
    const char form[] = "dddd-dd-ddTdd:dd:dd";
    if (time.size() < sizeof form - 1)
        return false;
    for (std::size_t i = 0; i + 1 < sizeof form; ++i) {
        if (form[i] == 'd' ? !IsDigit(time[i]) : time[i] != form[i])
            return false;
    }
    return true;
}

} // namespace

std::string_view CRecordLine::Param(std::string_view name) const
{
    for (const auto& p : params) {
        if (p.first == name)
            return p.second;
    }
    return {};
}

bool CRecordParser::Parse(std::string_view line, CRecordLine& out, std::string& why)
{
    mLine = line;
    mAt = 0;
    mWhy = nullptr;
    mDecoded.clear();
    mDecoded.reserve(line.size());
    out.time = out.path = out.reply = {};
    out.status = -1;
    out.params.clear();
    bool ok = Take('{');
    for (bool first = true; ok && !Take('}'); first = false)
        ok = (first || Take(',') || Fail("expected ',' or '}'")) && ParseMember(out);
    SkipBlanks();
    if (ok && mAt != mLine.size())
        ok = Fail("text after the record");
    if (ok && !IsTimeStamp(out.time))
        ok = Fail("no time");
    if (ok && out.status < 0)
        ok = Fail("no status");
    if (!ok)
        why = mWhy ? mWhy : "expected '{'";
    return ok;
}

bool CRecordParser::Fail(const char* why)
{
    if (!mWhy)
        mWhy = why;
    return false;
}

bool CRecordParser::ParseMember(CRecordLine& out)
{
    std::string_view key;
    if (!ParseString(key) || !Take(':'))
        return Fail("expected a member name and ':'");
    SkipBlanks();
    if (key == "params")
        return ParseParams(out);
    if (key == "status")
        return ParseNumber(out.status);
    std::string_view* text = key == "time"    ? &out.time
                             : key == "path"  ? &out.path
                             : key == "reply" ? &out.reply
                                              : nullptr;
    if (!text || (key == "reply" && mLine.substr(mAt, 4) == "null"))
        return SkipValue(0);
    return ParseString(*text);
}

bool CRecordParser::ParseParams(CRecordLine& out)
{
    if (!Take('{'))
        return Fail("expected the parameters as an object");
    for (bool first = true; !Take('}'); first = false) {
        std::string_view name, value;
        if (!(first || Take(',')) || !ParseString(name) || !Take(':') || !ParseString(value))
            return Fail("expected parameters as \"NAME\":\"VALUE\"");
        out.params.emplace_back(name, value);
    }
    return true;
}

// A text without escapes stays in the line; one with escapes is decoded after the texts decoded before it.
bool CRecordParser::ParseString(std::string_view& text)
{
    SkipBlanks();
    if (!Take('"'))
        return Fail("expected a text");
    std::size_t start = mAt;
    while (mAt < mLine.size() && mLine[mAt] != '"' && mLine[mAt] != '\\' &&
           static_cast<unsigned char>(mLine[mAt]) >= 0x20)
        ++mAt;
    if (mAt < mLine.size() && mLine[mAt] == '"') {
        text = mLine.substr(start, mAt++ - start);
        return true;
    }
    std::size_t decoded = mDecoded.size();
    mDecoded.append(mLine.substr(start, mAt - start));
    for (;;) {
        if (mAt >= mLine.size())
            return Fail("unfinished text");
        char c = mLine[mAt++];
        if (c == '"')
            break;
        if (static_cast<unsigned char>(c) < 0x20)
            return Fail("control character in a text");
        if (c != '\\')
            mDecoded += c;
        else if (!ParseEscape())
            return false;
    }
    text = std::string_view(mDecoded).substr(decoded);
    return true;
}

// "\u0080" to "\u00FF" are the bytes of the program's code page; anything above goes out as UTF-8.
bool CRecordParser::ParseEscape()
{
    if (mAt >= mLine.size())
        return Fail("unfinished text");
    char c = mLine[mAt++];
    const char* simple = "\"\"\\\\//b\bf\fn\nr\rt\t";
    for (const char* s = simple; *s; s += 2) {
        if (c == s[0]) {
            mDecoded += s[1];
            return true;
        }
    }
    if (c != 'u' || mAt + 4 > mLine.size())
        return Fail("bad escape in a text");
    unsigned code = 0;
    for (int i = 0; i < 4; ++i) {
        int digit = HexValue(mLine[mAt++]);
        if (digit < 0)
            return Fail("bad escape in a text");
        code = code * 16 + static_cast<unsigned>(digit);
    }
    if (code < 0x100) {
        mDecoded += static_cast<char>(code);
    } else if (code < 0x800) {
        mDecoded += static_cast<char>(0xC0 | (code >> 6));
        mDecoded += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        mDecoded += static_cast<char>(0xE0 | (code >> 12));
        mDecoded += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        mDecoded += static_cast<char>(0x80 | (code & 0x3F));
    }
    return true;
}

// Statuses only: a whole number of at most four digits.
bool CRecordParser::ParseNumber(int& value)
{
    std::size_t start = mAt;
    value = 0;
    while (mAt < mLine.size() && IsDigit(mLine[mAt]) && mAt - start < 4)
        value = value * 10 + (mLine[mAt++] - '0');
    if (mAt == start || (mAt < mLine.size() && (IsDigit(mLine[mAt]) || mLine[mAt] == '.' || mLine[mAt] == 'e')))
        return Fail("the status is not a whole number of at most four digits");
    return true;
}

bool CRecordParser::SkipValue(int depth)
{
    SkipBlanks();
    if (mAt >= mLine.size())
        return Fail("expected a value");
    char c = mLine[mAt];
    if (c == '"') {
        std::string_view ignored;
        return ParseString(ignored);
    }
    if (c == '{' || c == '[') {
        ++mAt;
        return depth < cMaxDepth ? SkipContainer(c == '{' ? '}' : ']', depth + 1) : Fail("nested too deeply");
    }
    for (const char* word : {"null", "true", "false"}) {
        std::string_view w(word);
        if (mLine.substr(mAt, w.size()) == w) {
            mAt += w.size();
            return true;
        }
    }
    std::size_t start = mAt;
    while (mAt < mLine.size() && (IsDigit(mLine[mAt]) || std::strchr("+-.eE", mLine[mAt])))
        ++mAt;
    return mAt > start || Fail("expected a value");
}

bool CRecordParser::SkipContainer(char close, int depth)
{
    for (bool first = true; !Take(close); first = false) {
        if (!first && !Take(','))
            return Fail("expected ',' or the end of a list");
        std::string_view key;
        if (close == '}' && (!ParseString(key) || !Take(':')))
            return Fail("expected a member name and ':'");
        if (!SkipValue(depth))
            return false;
    }
    return true;
}

bool CRecordParser::Take(char c)
{
    SkipBlanks();
    if (mAt < mLine.size() && mLine[mAt] == c) {
        ++mAt;
        return true;
    }
    return false;
}

void CRecordParser::SkipBlanks()
{
    while (mAt < mLine.size() && (mLine[mAt] == ' ' || mLine[mAt] == '\t' || mLine[mAt] == '\r'))
        ++mAt;
}
