// Tests of the JSON-like token reader: token sequences, escapes and errors.
#include <string>

#include "JsonTokenizer.h"
#include "MemStream.h"
#include "StringStream.h"
#include "TestSupport.h"

using namespace Orn;

namespace {

// Every token printed, separated by blanks, up to and including EOF; or the syntax error's text.
std::string Tokens(const char* input, bool bareWords, Int encoding = encSystem)
{
    CMemStream in(input, static_cast<Int>(std::string(input).size()));
    in.SetEncoding(encoding);
    CJsonTokenizer tokens(in, bareWords);
    CString printed;
    CStringStream out(printed, smWrite);
    try {
        for (Int n = 0; n < 100; ++n) {
            Int token = tokens.NextToken();
            if (n > 0)
                out.WriteText(" ");
            tokens.PrintToken(out);
            if (token == jsonEOF)
                break;
        }
    } catch (const CJsonTokenizer::CSyntaxError& error) {
        return std::string(printed.Chars()) + " !" + error.Text();
    }
    return printed.Chars();
}

} // namespace

// The tokens read, then the syntax error that ends them, if any.
TEST(JsonTokenizer, TokenSequencesAndErrors)
{
    struct { const char* input; bool bareWords; const char* result; } const cases[] = {
        {"{\"a\":-12,[x]}", true,
         "TOKEN('{') STRING(\"a\") TOKEN(':') INTEGER(-12) TOKEN(',') TOKEN('[') STRING(\"x\") TOKEN(']') TOKEN('}') "
         "EOF"},
        {"", false, "EOF"},
        {" \t\n 7", false, "INTEGER(7) EOF"},
        {"/* c * / */ 1 // rest\n2", false, "INTEGER(1) INTEGER(2) EOF"},
        {"3 // comment at the end", false, "INTEGER(3) EOF"},
        {"-", false, "INTEGER(0) EOF"},
        {"4294967295", false, "INTEGER(-1) EOF"},
        {"abc12", true, "STRING(\"abc\") INTEGER(12) EOF"},
        {"\"\"", false, "STRING(\"\") EOF"},
        {"1\r2", false, "INTEGER(1) !Unexpected character 13"},
        {"@", false, " !Unexpected character '@', 64"},
        {"x", false, " !Unexpected character 'x', 120"},
        {"/x", false, " !unexpected character after '/'"},
        {"/", false, " !unexpected EOF"},
        {"/* open", false, " !unexpected EOF"},
        {"\"abc", false, " !unexpected EOF in string"},
        {"\"abc\\", false, " !unexpected EOF in string"},
        {"\"\\q\"", false, " !unexpected character escape in string"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.result, Tokens(c.input, c.bareWords)) << "input: " << c.input;
}

TEST(JsonTokenizer, StringEscapesAndEncodings)
{
    // \b stands for a double quote, not a backspace.
    EXPECT_EQ("STRING(\"\"\\/\f\n\r\t\".\") EOF", Tokens("\"\\\"\\\\\\/\\f\\n\\r\\t\\b.\"", false));
    EXPECT_EQ("STRING(\"\xE9\") EOF", Tokens("\"\xC3\xA9\"", false, encUTF8));
    OrnTest::AssertRecorder rec;
    EXPECT_EQ("STRING(\"a0041\") EOF", Tokens("\"a\\u0041\"", false));
    EXPECT_ASSERTED(rec, "\\u unimplemented");
}

TEST(JsonTokenizer, ValuesAndTheRepeatedEnd)
{
    OrnTest::AssertRecorder rec;
    CMemStream in("\"s\" 5", 5);
    CJsonTokenizer tokens(in);
    EXPECT_EQ(jsonSTRING, tokens.NextToken());
    tokens.IntValue();
    EXPECT_ASSERTED(rec, "mLastToken == jsonINTEGER");
    EXPECT_EQ(jsonINTEGER, tokens.NextToken());
    EXPECT_EQ(5, tokens.IntValue());
    tokens.StringValue();
    EXPECT_ASSERTED(rec, "mLastToken == jsonSTRING");
    EXPECT_EQ(jsonEOF, tokens.NextToken());
    EXPECT_EQ(jsonEOF, tokens.NextToken());
}
