// Backslash unescaping.
#include "Unescape.h"

#include "TestSupport.h"

using namespace Orn;

TEST(Unescape, Escapes)
{
    struct Row {
        const char* name;
        const char* input;
        const char* expected;
    };
    const Row rows[] = {
        {"no backslash", "plain text", "plain text"},
        {"empty: the shared buffer of a never-allocated string", "", ""},
        {"backslash", "a\\\\b", "a\\b"},
        {"quotes", "\\\"q\\'", "\"q'"},
        {"control letters", "1\\n2\\r3\\t4", "1\n2\r3\t4"},
        {"hex byte", "\\x41\\x7a", "Az"},
        {"hex upper case and high byte", "\\xC3\\xa9", "\xC3\xA9"},
        {"hex needs two digits", "\\x4g", "x4g"},
        {"hex at end", "ab\\x", "abx"},
        {"hex one digit at end", "\\x4", "x4"},
        {"hex zero is not written", "a\\x00b", "ax00b"},
        {"unknown keeps the character", "\\q\\/\\0", "q/0"},
        {"backslash ending the text stays", "ab\\", "ab\\"},
        {"escaped backslash before letter", "\\\\n", "\\n"},
        {"adjacent escapes", "\\n\\n", "\n\n"},
    };
    for (const Row& row : rows) {
        CString text(row.input);
        Str::Unescape(text);
        EXPECT_STREQ(text, row.expected) << row.name;
        EXPECT_EQ(text.Length(), Str::Length(row.expected)) << row.name;
    }
}
