// URL escaping and unescaping, markup character escaping and unescaping, and the entity-name table.
#include "Escape.h"

#include <string>

#include "TestSupport.h"

using namespace Orn;

TEST(Escape, QueryEscaping)
{
    struct Row { const char* name; const char* src; DWord options; bool strict; const char* expected; };
    const Row rows[] = {
        {"space as plus, strict", "a b&c", ueoSpaceAsPlus, true, "a+b%26c"},
        {"space without the option", "a b", 0, true, "a%20b"},
        {"unreserved kept", "Az09-._", 0, true, "Az09-._"},
        {"tilde is not unreserved", "~", 0, true, "%7E"},
        {"tilde is safe", "~", 0, false, "~"},
        {"reserved always escaped", "#/:?@[]!$&'()*+,;=%", 0, false,
         "%23%2F%3A%3F%40%5B%5D%21%24%26%27%28%29%2A%2B%2C%3B%3D%25"},
        {"safe but not unreserved", "<>\"{|}^`\\", 0, false, "<>\"{|}^`\\"},
        {"same, strict", "<>", 0, true, "%3C%3E"},
        {"plus escaped, space as plus", "+ ", ueoSpaceAsPlus, false, "%2B+"},
        {"high and control bytes", "\xff\x7f\x01", 0, false, "%FF%7F%01"},
    };
    for (const Row& row : rows) {
        CString out("old");
        EscapeURLComponent(out, row.src, Ch::uriQuery, row.options, row.strict);
        EXPECT_STREQ(out, row.expected) << row.name;
    }
}

TEST(Escape, QueryUnescaping)
{
    struct Row { const char* name; const char* src; DWord options; const char* expected; };
    const Row rows[] = {
        {"escape", "%41", 0, "A"},
        {"lower-case digits", "%3c%3E", 0, "<>"},
        {"one digit at the end", "%4", 0, "%4"},
        {"non-digit first", "%G1", 0, "%G1"},
        {"non-digit second", "%4G1", 0, "%4G1"},
        {"kept characters are not decoded again", "%4%41", 0, "%4%41"},
        {"plus as space", "a+b%2B", ueoSpaceAsPlus, "a b+"},
        {"plus without the option", "a+b", 0, "a+b"},
    };
    for (const Row& row : rows) {
        CString out;
        UnescapeURLComponent(out, row.src, Ch::uriQuery, row.options);
        EXPECT_STREQ(out, row.expected) << row.name;
    }
}

TEST(Escape, InPlaceAndSpecials)
{
    CString s("a b/c");
    EscapeURL(s, s, false);
    EXPECT_STREQ(s, "a%20b%2Fc");
    UnescapeURL(s, s);
    EXPECT_STREQ(s, "a b/c");
    EscapeURL(s, s, true, "/ ", "|_");
    EXPECT_STREQ(s, "a_b|c") << "specials map by index";
}

TEST(Escape, MarkupCharacters)
{
    struct Row { const char* name; Int ch; DWord options; bool escaped; const char* expected; };
    const DWord all = meoEscapeApos | meoEscapeQuot | meoEscapeMarkup | meoEscapeNonText;
    const Row rows[] = {
        {"ampersand by name", '&', meoEntityNames | meoEscapeMarkup, true, "&amp;"},
        {"omega decimal", 0x03A9, meoDecNumCharRefs | meoEscapeNonText, true, "&#937;"},
        {"omega hex", 0x03A9, meoHexNumCharRefs | meoEscapeNonText, true, "&#x3a9;"},
        {"omega by name", 0x03A9, meoEntityNames | meoHexNumCharRefs | meoEscapeNonText, true, "&Omega;"},
        {"255 escaped", 255, meoEntityNames | meoEscapeNonText, true, "&yuml;"},
        {"254 not escaped", 254, meoEntityNames | meoEscapeNonText, false, ""},
        {"no name falls back to hex", 0x4E00, meoEntityNames | meoHexNumCharRefs | meoEscapeNonText, true,
         "&#x4e00;"},
        {"apostrophe", '\'', meoEntityNames | meoEscapeApos, true, "&apos;"},
        {"quote", '"', meoDecNumCharRefs | meoEscapeQuot, true, "&#34;"},
        {"less-than", '<', meoHexNumCharRefs | all, true, "&#x3c;"},
        {"plain letter", 'a', meoEntityNames | all, false, ""},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CString out("x");
        EXPECT_EQ(EscapeMarkupChar(row.ch, row.options, out), row.escaped) << row.name;
        EXPECT_EQ(std::string(out), std::string("x") + row.expected) << row.name << ": appends";
        EXPECT_NO_ASSERTS(rec) << row.name;
    }
}

TEST(Escape, EntityLookup)
{
    struct Row { const char* name; Int code; };
    const Row rows[] = {
        {"Alpha", 913}, {"alpha", 945}, {"diams", 0x2666}, {"yuml", 255}, {"Yuml", 376}, {"AMP", 0}, {"am", 0}, {"", 0},
    };
    for (const Row& row : rows)
        EXPECT_EQ(LookupEntity(EntityTable, row.name), row.code) << row.name;

    OrnTest::AssertRecorder rec;
    EXPECT_EQ(LookupEntity(nullptr, "amp"), 0);
    EXPECT_ASSERTED(rec, "table");
    EXPECT_EQ(LookupEntity(EntityTable, nullptr), 0);
    EXPECT_ASSERTED(rec, "entityName");
}

TEST(Escape, MarkupUnescaping)
{
    const DWord both = meoUnescapeEntityNames | meoUnescapeNumCharRefs;
    struct Row { const char* name; const WChar* text; DWord options; const WChar* expected; Int count; };
    const Row rows[] = {
        {"names", L"&lt;b&gt; &amp;", both, L"<b> &", 3},
        {"decimal and hex", L"&#937;&#x3A9;&#x3a9;", both, L"\x3A9\x3A9\x3A9", 3},
        {"decoded ampersand is not decoded again", L"&amp;lt;", both, L"&lt;", 1},
        {"unknown name or no semicolon", L"&bogus; &amp &#65", both, L"&bogus; &amp &#65", 0},
        {"empty, bad or out-of-range", L"&; &#; &#6A; &#0; &#x10000;", both, L"&; &#; &#6A; &#0; &#x10000;", 0},
        {"names only", L"&amp;&#65;", meoUnescapeEntityNames, L"&&#65;", 1},
    };
    for (const Row& row : rows) {
        CWString text(row.text);
        EXPECT_EQ(UnescapeMarkup(text, row.options), row.count) << row.name;
        EXPECT_TRUE(text == row.expected) << row.name;
    }
}
