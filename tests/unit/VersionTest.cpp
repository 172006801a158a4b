// Version numbers: the three text forms, the ordering rules, build dates and version information.
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "Version.h"

using Orn::CString;
using Orn::CVersion;

namespace {

// "major minor letter stage", the letter byte as a number.
std::string Fields(const CVersion& v)
{
    return std::to_string(v.Major()) + " " + std::to_string(v.Minor()) + " " + std::to_string(v.Letter()) + " " +
           std::to_string(v.Stage());
}

TEST(VersionTest, ParseAndFormatTable)
{
    struct Row { const char* name; std::string text; Orn::Int style; const char* fields; const char* formatted; };
    const Row rows[] = {
        {"one-digit minor is tenths", "3.1", Orn::vsDisplay, "3 10 0 0", "3.10"},
        {"two-digit minor", "3.10", Orn::vsDisplay, "3 10 0 0", "3.10"},
        {"leading zero minor", "3.01", Orn::vsDisplay, "3 1 0 0", "3.01"},
        {"letter", "3.1c", Orn::vsDisplay, "3 10 99 0", "3.10c"},
        {"beta", "3.0 beta 2", Orn::vsDisplay, "3 0 0 102", "3.00 beta 2"},
        {"alpha", "3.0 alpha 7", Orn::vsDisplay, "3 0 0 7", "3.00 alpha 7"},
        {"cut at semicolon", "6.5b beta 3;built by hand", Orn::vsDisplay, "6 50 98 103", "6.50b beta 3"},
        {"unknown stage word", "3.0 gamma 2", Orn::vsDisplay, nullptr, nullptr},
        {"stage word is case-sensitive", "3.0 Beta 2", Orn::vsDisplay, nullptr, nullptr},
        {"stage without number", "3.0 beta", Orn::vsDisplay, nullptr, nullptr},
        {"no minor", "3", Orn::vsDisplay, nullptr, nullptr},
        {"empty", "", Orn::vsDisplay, nullptr, nullptr},
        {"comma form", "3,1,2,45", Orn::vsComma, "3 1 2 45", "3,1,2,45"},
        {"dotted form", "3.1.2.45", Orn::vsDotted, "3 1 2 45", "3.1.2.45"},
        {"dotted form keeps one-digit minor", "3.1.0.0", Orn::vsDotted, "3 1 0 0", "3.1.0.0"},
        {"comma form, three parts", "3,1,2", Orn::vsComma, nullptr, nullptr},
        {"largest beta", "3.0 beta 2147483547", Orn::vsDisplay, "3 0 0 2147483647", "3.00 beta 2147483547"},
        {"beta past the stage range", "3.0 beta 2147483548", Orn::vsDisplay, nullptr, nullptr},
        {"alpha past 32 bits", "3.0 alpha 3000000000", Orn::vsDisplay, nullptr, nullptr},
        {"major past 32 bits", "99999999999.1", Orn::vsDisplay, nullptr, nullptr},
        {"fourth number past 32 bits", "3.1.2.4294967296", Orn::vsDotted, nullptr, nullptr},
        {"unknown style", "anything", 7, "0 0 0 0", ""},
        {"99 characters before the semicolon", "3.1" + std::string(96, ' '), Orn::vsDisplay, "3 10 0 0", "3.10"},
        {"100 characters", "3.1" + std::string(97, ' '), Orn::vsDisplay, nullptr, nullptr},
        {"any length after the semicolon", "3.1;" + std::string(500, 'x'), Orn::vsDisplay, "3 10 0 0", "3.10"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        CVersion v(9, 9);
        ASSERT_EQ(row.fields != nullptr, v.Parse(row.text.c_str(), row.style));
        EXPECT_EQ(row.fields != nullptr, v.IsValid());
        EXPECT_NO_ASSERTS(rec);
        if (!row.fields)
            continue;
        EXPECT_EQ(row.fields, Fields(v));
        CString text;
        v.Format(text, row.style);
        EXPECT_STREQ(row.formatted, text.Chars());
    }
}

TEST(VersionTest, InvalidVersionsAssertWhenCopiedComparedOrFormatted)
{
    OrnTest::AssertRecorder rec;
    CVersion invalid;
    CVersion copy(invalid);
    EXPECT_FALSE(copy.IsValid());
    EXPECT_FALSE(CVersion(3, 0).IsNewer(invalid));
    CString text("old");
    invalid.Format(text);
    EXPECT_STREQ("", text.Chars());
    const std::vector<std::string> expected = {"version.IsValid()", "IsValid()", "IsValid()"};
    EXPECT_EQ(expected, rec.Asserts());
}

TEST(VersionTest, OrderingTable)
{
    struct Row { const char* name; const char* a; Orn::Int style; const char* b; bool newer; bool newerBuildOfSame; };
    const Row rows[] = {
        {"release beats its betas", "3.0", Orn::vsDisplay, "3.0 beta 9", true, true},
        {"beta beats alpha", "3.0 beta 2", Orn::vsDisplay, "3.0 alpha 50", true, true},
        {"later beta", "3.0 beta 3", Orn::vsDisplay, "3.0 beta 2", true, true},
        {"letter beats pre-release of plain number", "3.0a", Orn::vsDisplay, "3.0 beta 2", true, false},
        {"beta is not newer than its release", "3.0 beta 9", Orn::vsDisplay, "3.0", false, false},
        {"same release", "3.0", Orn::vsDisplay, "3.0", false, false},
        {"one-digit minor is tenths", "3.1", Orn::vsDisplay, "3.09", true, false},
        {"major decides first", "4.0 alpha 1", Orn::vsDisplay, "3.99z", true, false},
        {"third number compares unsigned", "1.2.200.0", Orn::vsDotted, "1.2.100.0", true, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        CVersion a, b;
        ASSERT_TRUE(a.Parse(row.a, row.style) && b.Parse(row.b, row.style));
        EXPECT_EQ(row.newer, a.IsNewer(b));
        EXPECT_EQ(row.newerBuildOfSame, a.IsNewerBuildOfSame(b));
        EXPECT_FALSE(row.newer && b.IsNewer(a));
    }
}

TEST(VersionTest, SplitBuildDateTable)
{
    struct Row { const char* name; const char* text; Orn::Int result; const char* after; };
    const Row rows[] = {
        {"date", "3.1c (20110512)", 20110512, "3.1c "},
        {"seven digits", "3.1c (2011051)", -1, "3.1c (2011051)"},
        {"nine digits", "3.1c (201105120)", -1, "3.1c (201105120)"},
        {"no parentheses", "3.1c", -1, "3.1c"},
        {"first closing parenthesis counts", "3.1 (2011)(20110512)", -1, "3.1 (2011)(20110512)"},
        {"zero date", "3.1c (00000000)", -2, "3.1c (00000000)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        CString text(row.text);
        EXPECT_EQ(row.result, CVersion::SplitBuildDate(text));
        EXPECT_STREQ(row.after, text.Chars());
    }
}

TEST(VersionTest, VersionInfoNeedsAnExistingFileButNotAResource)
{
    Orn::CFileVersionInfo info;
    std::string missing = OrnTest::TempPath("no-such-file.exe");
    EXPECT_FALSE(CVersion::GetVersionInfo(missing.c_str(), info));

    // A plain file has no version resource: found, but without texts.
    std::string plain = OrnTest::TempPath("plain.txt");
    std::ofstream(plain) << "not a program";
    EXPECT_TRUE(CVersion::GetVersionInfo(plain.c_str(), info));
    EXPECT_FALSE(info.mFileVersion.IsValid());
    EXPECT_FALSE(info.mProductVersion.IsValid());
    CString text;
    EXPECT_FALSE(CVersion::ReadFileVersionText(plain.c_str(), true, text));
    std::remove(plain.c_str());
}

} // namespace
