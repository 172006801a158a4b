// Assertion reporting: the report text, nesting and the debug output.
#include "Debug.h"

#include <cstring>
#include <string>
#include <vector>

#include "TestSupport.h"

using namespace Orn;

TEST(Debug, ReportFormatsFileLineAndExpression)
{
    OrnTest::AssertRecorder rec;
    AssertFailed("x > 0", "pvt/Sample.cpp", 12);
    EXPECT_EQ(rec.Asserts(), std::vector<std::string>{"x > 0"});
    EXPECT_STREQ(LastAssertionText(), "File: pvt/Sample.cpp, Line#: 12\nAssert( x > 0 );\n");
    EXPECT_EQ(rec.Output(), std::vector<std::string>{LastAssertionText()});

    int value = 3;
    ORN_ASSERT(value == 4);
    EXPECT_EQ(rec.Asserts().back(), "value == 4") << "the macro quotes the condition and goes on";
    EXPECT_NE(std::strstr(LastAssertionText(), "DebugTest.cpp"), nullptr);
}

TEST(Debug, FormattedReports)
{
    OrnTest::AssertRecorder rec;
    ORN_ASSERT_FMT("unknown version request parameter: '%s'", "Foo");
    EXPECT_ASSERTED(rec, "unknown version request parameter: 'Foo'");
    AssertFailedFmt("f", 1, nullptr);
    EXPECT_STREQ(LastAssertionText(), "File: pvt/Debug, Line#: 63\nAssert( msg );\n");
}

namespace {
void NestedHook(const char*, const char*, Int);
AssertHook cOuterHook = nullptr;
int cNestedCalls = 0;

// Fails another assertion while the first is being reported.
void NestedHook(const char* expr, const char* file, Int line)
{
    ++cNestedCalls;
    cOuterHook(expr, file, line);
    AssertFailed("inner", "pvt/Inner.cpp", 2);
}
} // namespace

TEST(Debug, AssertionInsideTheReportWritesOnlyTheNestedLine)
{
    OrnTest::AssertRecorder rec;
    cOuterHook = SetAssertHook(&NestedHook);
    AssertFailed("outer", "pvt/Outer.cpp", 1);
    SetAssertHook(cOuterHook);
    EXPECT_EQ(cNestedCalls, 1) << "the nested failure does not report again";
    ASSERT_EQ(rec.Asserts().size(), 1u);
    EXPECT_EQ(rec.Asserts()[0], "outer");
    ASSERT_EQ(rec.Output().size(), 2u);
    EXPECT_EQ(rec.Output()[1], "**** nested calls to AssertFailed ****\n");
    EXPECT_NE(std::strstr(LastAssertionText(), "outer"), nullptr) << "the nested one leaves the report alone";
    // The nesting counter is back to 0: the next failure reports normally.
    AssertFailed("after", "f", 3);
    EXPECT_ASSERTED(rec, "after");
}

TEST(Debug, DebugOutputOfWideText)
{
    OrnTest::AssertRecorder rec;
    DebugOutput(L"wide text");
    ASSERT_FALSE(rec.Output().empty());
    EXPECT_EQ(rec.Output().back(), "wide text");
}

TEST(Debug, SourceNamesAreRelativeToTheProject)
{
    EXPECT_STREQ(SourceName("/src/framework/pvt/Debug.cpp"), "pvt/Debug.cpp");
    EXPECT_STREQ(SourceName("C:\\src\\app\\pvt\\UpdateWatch.cpp"), "pvt\\UpdateWatch.cpp");
    EXPECT_STREQ(SourceName("/x/tests/unit/DebugTest.cpp"), "DebugTest.cpp");
}
