// Version numbers: the three text forms, the ordering rules, build dates and version information.
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "Version.h"

using Orn::CString;
using Orn::CVersion;

namespace {

struct ParseRow {
    const char* name;
    const char* text;
    Orn::Int style;
    bool ok;
    Orn::Int major, minor;
    int letter;
    Orn::Int stage;
    const char* formatted; // in the same style
};

const ParseRow cParseRows[] = {
    {"one-digit minor is tenths", "3.1", Orn::vsDisplay, true, 3, 10, 0, 0, "3.10"},
    {"two-digit minor", "3.10", Orn::vsDisplay, true, 3, 10, 0, 0, "3.10"},
    {"leading zero minor", "3.01", Orn::vsDisplay, true, 3, 1, 0, 0, "3.01"},
    {"three-digit minor", "12.345", Orn::vsDisplay, true, 12, 345, 0, 0, "12.345"},
    {"letter", "3.1c", Orn::vsDisplay, true, 3, 10, 'c', 0, "3.10c"},
    {"letter without minor digits", "3.c", Orn::vsDisplay, true, 3, 0, 'c', 0, "3.00c"},
    {"beta", "3.0 beta 2", Orn::vsDisplay, true, 3, 0, 0, 102, "3.00 beta 2"},
    {"alpha", "3.0 alpha 7", Orn::vsDisplay, true, 3, 0, 0, 7, "3.00 alpha 7"},
    {"cut at semicolon", "6.5b beta 3;built by hand", Orn::vsDisplay, true, 6, 50, 'b', 103, "6.50b beta 3"},
    {"extra blanks", "3.1   beta   4", Orn::vsDisplay, true, 3, 10, 0, 104, "3.10 beta 4"},
    {"unknown stage word", "3.0 gamma 2", Orn::vsDisplay, false, 0, 0, 0, 0, nullptr},
    {"stage word is case-sensitive", "3.0 Beta 2", Orn::vsDisplay, false, 0, 0, 0, 0, nullptr},
    {"stage without number", "3.0 beta", Orn::vsDisplay, false, 0, 0, 0, 0, nullptr},
    {"no minor", "3", Orn::vsDisplay, false, 0, 0, 0, 0, nullptr},
    {"no minor after dot", "3.", Orn::vsDisplay, false, 0, 0, 0, 0, nullptr},
    {"empty", "", Orn::vsDisplay, false, 0, 0, 0, 0, nullptr},
    {"nothing before semicolon", ";3.1", Orn::vsDisplay, false, 0, 0, 0, 0, nullptr},
    {"comma form", "3,1,2,45", Orn::vsComma, true, 3, 1, 2, 45, "3,1,2,45"},
    {"dotted form", "3.1.2.45", Orn::vsDotted, true, 3, 1, 2, 45, "3.1.2.45"},
    {"dotted form keeps one-digit minor", "3.1.0.0", Orn::vsDotted, true, 3, 1, 0, 0, "3.1.0.0"},
    {"comma form, three parts", "3,1,2", Orn::vsComma, false, 0, 0, 0, 0, nullptr},
    {"comma form given dots", "3.1.2.45", Orn::vsComma, false, 0, 0, 0, 0, nullptr},
    {"unknown style", "anything", 7, true, 0, 0, 0, 0, ""},
};

TEST(VersionTest, ParseAndFormatTable)
{
    for (const ParseRow& row : cParseRows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        CVersion v(9, 9);
        ASSERT_EQ(row.ok, v.Parse(row.text, row.style));
        EXPECT_EQ(row.ok, v.IsValid());
        EXPECT_NO_ASSERTS(rec);
        if (!row.ok)
            continue;
        EXPECT_EQ(row.major, v.Major());
        EXPECT_EQ(row.minor, v.Minor());
        EXPECT_EQ(row.letter, v.Letter());
        EXPECT_EQ(row.stage, v.Stage());
        CString text;
        v.Format(text, row.style);
        EXPECT_STREQ(row.formatted, text.Chars());
    }
}

TEST(VersionTest, DisplayTextLimitIsNinetyNineCharactersBeforeTheSemicolon)
{
    CVersion v;
    EXPECT_TRUE(v.Parse(("3.1" + std::string(96, ' ')).c_str()));
    EXPECT_FALSE(v.Parse(("3.1" + std::string(97, ' ')).c_str()));
    EXPECT_TRUE(v.Parse(("3.1;" + std::string(500, 'x')).c_str()));
}

TEST(VersionTest, ThirdNumberOutOfByteRangeAsserts)
{
    OrnTest::AssertRecorder rec;
    CVersion v;
    v.Parse("3,1,256,0", Orn::vsComma);
    EXPECT_ASSERTED(rec, "(temp>=0) && (temp<= 0xFF)");
    rec.Clear();
    v.Parse("3.1.-1.0", Orn::vsDotted);
    EXPECT_ASSERTED(rec, "(temp>=0) && (temp<= 0xFF)");
    rec.Clear();
    EXPECT_TRUE(v.Parse("3,1,255,0", Orn::vsComma));
    EXPECT_NO_ASSERTS(rec);
}

TEST(VersionTest, NullTextAssertsAndFails)
{
    OrnTest::AssertRecorder rec;
    CVersion v(1, 0);
    EXPECT_FALSE(v.Parse(nullptr));
    EXPECT_FALSE(v.IsValid());
    EXPECT_ASSERTED(rec, "version");
}

TEST(VersionTest, FieldAssertions)
{
    OrnTest::AssertRecorder rec;
    CVersion a(-1, 0);
    EXPECT_ASSERTED(rec, "major >= 0");
    CVersion b(1, -1);
    EXPECT_ASSERTED(rec, "minor >= 0");
    CVersion c(1, 0, 'C');
    EXPECT_ASSERTED(rec, "(letter == 0) || ((letter >= 'a') && (letter <= 'z'))");
}

TEST(VersionTest, InvalidVersionsAssertWhenCopiedComparedOrFormatted)
{
    OrnTest::AssertRecorder rec;
    CVersion invalid;
    CVersion copy(invalid);
    EXPECT_ASSERTED(rec, "version.IsValid()");
    EXPECT_FALSE(copy.IsValid());

    rec.Clear();
    EXPECT_FALSE(CVersion(3, 0).IsNewer(invalid));
    EXPECT_ASSERTED(rec, "IsValid()");

    rec.Clear();
    CString text("old");
    invalid.Format(text);
    EXPECT_ASSERTED(rec, "IsValid()");
    EXPECT_STREQ("", text.Chars());
}

struct OrderRow {
    const char* name;
    const char* a;
    Orn::Int aStyle;
    const char* b;
    bool aIsNewer;
    bool aIsNewerBuildOfSame;
};

const OrderRow cOrderRows[] = {
    {"release beats its betas", "3.0", Orn::vsDisplay, "3.0 beta 9", true, true},
    {"beta beats alpha", "3.0 beta 2", Orn::vsDisplay, "3.0 alpha 50", true, true},
    {"later beta", "3.0 beta 3", Orn::vsDisplay, "3.0 beta 2", true, true},
    {"letter beats pre-release of plain number", "3.0a", Orn::vsDisplay, "3.0 beta 2", true, false},
    {"beta is not newer than its release", "3.0 beta 9", Orn::vsDisplay, "3.0", false, false},
    {"same release", "3.0", Orn::vsDisplay, "3.0", false, false},
    {"same beta", "3.0 beta 2", Orn::vsDisplay, "3.0 beta 2", false, false},
    {"one-digit minor is tenths", "3.1", Orn::vsDisplay, "3.09", true, false},
    {"3.1 equals 3.10", "3.1", Orn::vsDisplay, "3.10", false, false},
    {"major decides first", "4.0 alpha 1", Orn::vsDisplay, "3.99z", true, false},
    {"third number compares unsigned", "1.2.200.0", Orn::vsDotted, "1.2.100.0", true, false},
};

TEST(VersionTest, OrderingTable)
{
    for (const OrderRow& row : cOrderRows) {
        SCOPED_TRACE(row.name);
        CVersion a, b;
        ASSERT_TRUE(a.Parse(row.a, row.aStyle));
        ASSERT_TRUE(b.Parse(row.b, row.aStyle));
        EXPECT_EQ(row.aIsNewer, a.IsNewer(b));
        EXPECT_EQ(row.aIsNewerBuildOfSame, a.IsNewerBuildOfSame(b));
        if (row.aIsNewer) {
            EXPECT_FALSE(b.IsNewer(a));
        }
    }
}

struct BuildDateRow {
    const char* name;
    const char* text;
    Orn::Int result;
    const char* after;
};

const BuildDateRow cBuildDateRows[] = {
    {"date", "3.1c (20110512)", 20110512, "3.1c "},
    {"seven digits", "3.1c (2011051)", -1, "3.1c (2011051)"},
    {"nine digits", "3.1c (201105120)", -1, "3.1c (201105120)"},
    {"no parentheses", "3.1c", -1, "3.1c"},
    {"no closing parenthesis", "3.1c (20110512", -1, "3.1c (20110512"},
    {"first closing parenthesis counts", "3.1 (2011)(20110512)", -1, "3.1 (2011)(20110512)"},
    {"zero date", "3.1c (00000000)", -2, "3.1c (00000000)"},
};

TEST(VersionTest, SplitBuildDateTable)
{
    for (const BuildDateRow& row : cBuildDateRows) {
        SCOPED_TRACE(row.name);
        CString text(row.text);
        EXPECT_EQ(row.result, CVersion::SplitBuildDate(text));
        EXPECT_STREQ(row.after, text.Chars());
    }
}

TEST(VersionTest, VersionInfoParsesBothTextsAndCutsTheBuildDate)
{
    Orn::CFileVersionInfo info;
    info.SetTexts("3.1c", "3.1c (20110512)");
    EXPECT_STREQ("3.1c", info.mFileVersionStr.Chars());
    EXPECT_STREQ("3.1c ", info.mProductVersionStr.Chars());
    ASSERT_TRUE(info.mProductVersion.IsValid());
    EXPECT_EQ(10, info.mProductVersion.Minor());
    EXPECT_EQ('c', info.mProductVersion.Letter());

    info.SetTexts(nullptr, nullptr);
    EXPECT_FALSE(info.mFileVersion.IsValid());
    EXPECT_FALSE(info.mProductVersion.IsValid());
    EXPECT_STREQ("", info.mProductVersionStr.Chars());
}

TEST(VersionTest, VersionInfoNeedsAnExistingFileButNotAResource)
{
    Orn::CFileVersionInfo info;
    std::string missing = OrnTest::TempPath("no-such-file.exe");
    EXPECT_FALSE(CVersion::GetVersionInfo(missing.c_str(), info));

    // A plain file has no version resource: found, but without texts.
    std::string plain = OrnTest::TempPath("plain.txt");
    FILE* f = std::fopen(plain.c_str(), "wb");
    ASSERT_NE(nullptr, f);
    std::fputs("not a program", f);
    std::fclose(f);
    EXPECT_TRUE(CVersion::GetVersionInfo(plain.c_str(), info));
    EXPECT_FALSE(info.mFileVersion.IsValid());
    EXPECT_FALSE(info.mProductVersion.IsValid());
    CString text;
    EXPECT_FALSE(CVersion::ReadFileVersionText(plain.c_str(), true, text));
    std::remove(plain.c_str());
}

} // namespace
