// Format templates: finding items, integer and string formatting, delimiters and globals.
#include "Format.h"

#include <string>

#include "TestSupport.h"
#include "VarList.h"

using namespace Orn;

TEST(Format, IntegerItems)
{
    struct Row { const char* text; Int value; const char* expected; bool replaced; const char* assertion; };
    const Row rows[] = {
        {"<LEN>", 42, "42", true, nullptr},
        {"<Num:04d>", 7, "0007", true, nullptr},
        {"<Num:x>", 255, "ff", true, nullptr},
        {"<Num:X>", 255, "FF", true, nullptr},
        {"<Num:o>", 8, "10", true, nullptr},
        {"<Num:c>", 65, "A", true, nullptr},
        {"<Num:05d>", -5, "000-5", true, nullptr},
        {"<Num:x>", -1, "ffffffff", true, nullptr},
        {"<Num:>", -2147483647 - 1, "-2147483648", true, nullptr},
        {"<Num:5>", 7, "    7", true, "bad format character"},
        {"<Num:u>", -1, "4294967295", true, "bad format character"},
        {"<Num:5q>", 7, "    7", true, "DecodeFormatSpec(fmtSpecStr,fmtSpec)"},
        {"<Num:12345678901d>", 7, "<Num:12345678901d>", false, nullptr},
        {"a<Num:4d", 7, "a<Num:4d", false, nullptr},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CFormat fmt(row.text, nullptr, fmtNoGlobals);
        EXPECT_EQ(fmt.Item("LEN", row.value) || fmt.Item("Num", row.value), row.replaced) << row.text;
        EXPECT_STREQ(fmt, row.expected) << row.text;
        EXPECT_TRUE(row.assertion ? rec.Fired(row.assertion) : rec.Asserts().empty()) << row.text << ": " << rec.List();
    }
}

TEST(Format, StringItemsAndMatching)
{
    struct Row { const char* name; const char* text; const char* value; const char* expected; bool replaced; };
    const Row rows[] = {
        {"blank fill", "<Name:5>", "ab", "   ab", true},
        {"zero fill", "<Name:05>", "ab", "000ab", true},
        {"every occurrence", "<Name> and <Name>", "x", "x and x", true},
        {"case-sensitive", "<name>", "x", "<name>", false},
        {"longer name", "<NameX> <Name", "x", "<NameX> <Name", false},
        {"doubled delimiters", "<<Name>>", "x", "<x>", true},
        {"inserted text searched again", "<Name>Name>", "<", "<", true},
        {"item after a near miss", "<Na <Name>", "x", "<Na x", true},
        {"width past the length bound", "a<Name:2000000000>", "x", "a<Name:2000000000>", false},
        {"width past the Int range fills nothing", "<Name:4000000000>", "x", "x", true},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        CFormat fmt(row.text, nullptr, fmtNoGlobals);
        EXPECT_EQ(fmt.Item("Name", row.value), row.replaced) << row.name;
        EXPECT_STREQ(fmt, row.expected) << row.name;
        EXPECT_NO_ASSERTS(rec) << row.name;
    }
}

// A value that holds its own item would be filled again without end; the fill stops at a bound.
TEST(Format, FillsStopAtTheirBounds)
{
    struct Row { const char* name; const char* value; const char* rest; };
    const Row rows[] = {
        {"value is its item", "<Name>", "<Name>"},
        {"value grows before its item", "x<Name>", "x<Name>"},
        {"value grows after its item", "<Name>0123456789", "<Name>"},
    };
    for (const Row& row : rows) {
        CFormat fmt("<Name>", nullptr, fmtNoGlobals);
        EXPECT_TRUE(fmt.Item("Name", row.value)) << row.name;
        EXPECT_TRUE(fmt.WasCut()) << row.name;
        EXPECT_LE(fmt.Text().Length(), cMaxFilledLength) << row.name;
        EXPECT_GE(fmt.Text().Find(row.rest), 0) << row.name;
    }
    CFormat plain("<A> <A>", nullptr, fmtNoGlobals);
    EXPECT_TRUE(plain.Item("A", "<B>"));
    EXPECT_FALSE(plain.WasCut());
}

TEST(Format, Delimiters)
{
    CFormat fmt("[URL] <URL>", "[]", fmtNoGlobals);
    EXPECT_TRUE(fmt.Item("URL", "x"));
    EXPECT_STREQ(fmt, "x <URL>");

    OrnTest::AssertRecorder rec;
    CFormat bad("<URL>", "<", fmtNoGlobals);
    EXPECT_ASSERTED(rec, "Str::Length(delims) == 2");
    EXPECT_TRUE(bad.Item("URL", "y")) << "falls back to <>";
    EXPECT_STREQ(bad, "y");
    CWFormat wideBad(L"<URL>", L"<<<", fmtNoGlobals);
    EXPECT_ASSERTED(rec, "WStr::Length(delims) == 2");
}

TEST(Format, WideTemplates)
{
    CWFormat fmt(L"<Num:04x>/<Name>/<Wide:3>", nullptr, fmtNoGlobals);
    EXPECT_TRUE(fmt.Item(L"Num", 255));
    EXPECT_TRUE(fmt.Item(L"Name", "narrow"));
    EXPECT_TRUE(fmt.Item(L"Wide", L"w"));
    EXPECT_TRUE(fmt.Text() == L"00ff/narrow/  w");

    CFormat narrow("<Name>", nullptr, fmtNoGlobals);
    EXPECT_TRUE(narrow.Item("Name", L"wide"));
    EXPECT_STREQ(narrow, "wide");
}

TEST(Format, GlobalsAtConstruction)
{
    GlobalVars.Set("FmtTestHost", "example.com");
    CFormat withGlobals("http://<FmtTestHost>/<Path>");
    CFormat without("http://<FmtTestHost>/", nullptr, fmtNoGlobals);
    CFormat bracketed("[FmtTestHost] <FmtTestHost>", "[]");
    CWFormat wide(L"<FmtTestHost>");
    GlobalVars.Remove("FmtTestHost");
    EXPECT_STREQ(withGlobals, "http://example.com/<Path>");
    EXPECT_STREQ(without, "http://<FmtTestHost>/");
    EXPECT_STREQ(bracketed, "example.com <FmtTestHost>") << "globals use the template's own delimiters";
    EXPECT_TRUE(wide.Text() == L"example.com");
}
