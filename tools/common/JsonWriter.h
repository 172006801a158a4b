// JSON text for the tools' machine-readable output: request records and script runs.
#pragma once

#include <string>
#include <vector>

// How the strings' bytes from 0x80 up are meant: bytes, written as \u0080..\u00FF so that any text comes out as
// valid JSON, or UTF-8 text, written as it is.
enum class EJsonText { bytes, utf8 };

// Builds one JSON value: compact on one line, or indented by two spaces a level.
class CJsonWriter {
public:
    explicit CJsonWriter(bool indented = false, EJsonText text = EJsonText::bytes)
        : mIndented(indented), mUtf8(text == EJsonText::utf8)
    {
    }

    CJsonWriter& BeginObject();
    CJsonWriter& EndObject();
    CJsonWriter& BeginArray();
    CJsonWriter& EndArray();
    // The name of the next member of the open object.
    CJsonWriter& Key(const std::string& name);
    CJsonWriter& String(const std::string& value);
    CJsonWriter& Number(long long value);
    CJsonWriter& Bool(bool value);
    CJsonWriter& Null();

    const std::string& Text() const { return mText; }

private:
    void BeforeValue();
    CJsonWriter& Open(char bracket);
    CJsonWriter& Close(char bracket);
    void NewLine();

    bool mIndented;
    bool mUtf8;
    std::string mText;
    std::vector<bool> mHasMembers; // one entry per open object or array
    bool mAfterKey = false;
};

// A text as a quoted JSON string.
std::string JsonQuoted(const std::string& text, EJsonText kind = EJsonText::bytes);
