// JSON output with its string escaping.
#include "JsonWriter.h"

#include <cstdio>

std::string JsonQuoted(const std::string& text, EJsonText kind)
{
    std::string out = "\"";
    for (unsigned char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (c < 0x20 || c == 0x7F || (c > 0x7F && kind == EJsonText::bytes)) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x", c);
                out += buf;
            } else {
                out += static_cast<char>(c);
            }
        }
    }
    return out + "\"";
}

void CJsonWriter::NewLine()
{
    if (!mIndented)
        return;
    mText += '\n';
    mText.append(2 * mHasMembers.size(), ' ');
}

// A value after a key follows it on the same line; any other goes after a comma, on a line of its own.
void CJsonWriter::BeforeValue()
{
    if (mAfterKey) {
        mAfterKey = false;
        return;
    }
    if (mHasMembers.empty())
        return;
    if (mHasMembers.back())
        mText += ',';
    mHasMembers.back() = true;
    NewLine();
}

CJsonWriter& CJsonWriter::Open(char bracket)
{
    BeforeValue();
    mText += bracket;
    mHasMembers.push_back(false);
    return *this;
}

CJsonWriter& CJsonWriter::Close(char bracket)
{
    bool hadMembers = !mHasMembers.empty() && mHasMembers.back();
    if (!mHasMembers.empty())
        mHasMembers.pop_back();
    if (hadMembers)
        NewLine();
    mText += bracket;
    return *this;
}

CJsonWriter& CJsonWriter::BeginObject() { return Open('{'); }
CJsonWriter& CJsonWriter::EndObject() { return Close('}'); }
CJsonWriter& CJsonWriter::BeginArray() { return Open('['); }
CJsonWriter& CJsonWriter::EndArray() { return Close(']'); }

CJsonWriter& CJsonWriter::Key(const std::string& name)
{
    BeforeValue();
    mText += JsonQuoted(name, mUtf8 ? EJsonText::utf8 : EJsonText::bytes);
    mText += mIndented ? ": " : ":";
    mAfterKey = true;
    return *this;
}

CJsonWriter& CJsonWriter::String(const std::string& value)
{
    BeforeValue();
    mText += JsonQuoted(value, mUtf8 ? EJsonText::utf8 : EJsonText::bytes);
    return *this;
}

CJsonWriter& CJsonWriter::Number(long long value)
{
    BeforeValue();
    mText += std::to_string(value);
    return *this;
}

CJsonWriter& CJsonWriter::Bool(bool value)
{
    BeforeValue();
    mText += value ? "true" : "false";
    return *this;
}

CJsonWriter& CJsonWriter::Null()
{
    BeforeValue();
    mText += "null";
    return *this;
}
