// A token reader for a small JSON-like notation: punctuation, integers, strings and (optionally) bare words.
#pragma once

#include "Platform.h"
#include "Stream.h"
#include "String.h"

namespace Orn {

// Token codes; a punctuation token's code is the character itself: '[', ']', '{', '}', ':' or ','.
enum : Int { jsonEOF = 1, jsonINTEGER = 2, jsonSTRING = 3 };

class CJsonTokenizer {
public:
    // Thrown for malformed input, with its message.
    class CSyntaxError {
    public:
        explicit CSyntaxError(const CString& text) : mText(text) {}
        const char* Text() const { return mText.Chars(); }

    private:
        CString mText;
    };

    // Bare words are runs of ASCII letters read as strings. The stream must outlive the tokenizer.
    explicit CJsonTokenizer(CStream& stream, bool allowBareWords = false);

    // The next token; once jsonEOF has been returned it is returned again. Throws CSyntaxError.
    Int NextToken();
    Int LastToken() const { return mLastToken; }
    // The value of the last token, which must be an integer.
    Int IntValue() const;
    // The text of the last token, which must be a string.
    const CString& StringValue() const;

    // The last token with its value: EOF, INTEGER(12), STRING("a") or TOKEN(':').
    void PrintToken(CStream& out) const;
    // A token code alone: EOF, INTEGER, STRING or TOKEN(':').
    static void PrintTokenCode(CStream& out, Int token);

private:
    Int ReadToken();
    void SkipComment();
    Int ReadInteger(Int first);
    Int ReadString();
    Int ReadEscape();
    Int ReadBareWord(Int first);
    [[noreturn]] static void Throw(const char* format, ...);

    CStream& mStream;
    bool mAllowBareWords;
    Int mLastToken = 0;
    Int mIntValue = 0;
    CString mStringValue;
};

} // namespace Orn
