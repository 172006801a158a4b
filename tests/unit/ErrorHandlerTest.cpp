// The error handler's banners, item and global substitution, its two stacks and the current-handler switch.
#include "ErrorHandler.h"

#include <cstdio>
#include <string>

#include "FileStream.h"
#include "MemStream.h"
#include "TestSupport.h"
#include "VarList.h"

using namespace Orn;
using OrnTest::CCaptureHandler;

TEST(ErrorHandler, MessageTypesChooseTheBanner)
{
    struct Row {
        DWord options;
        const char* expected;
    };
    const Row rows[] = {
        {errOK, "disk full"},
        {errERROR, "Error: disk full"},
        {errWARNING, "Warning: disk full"},
        {errINFO, "disk full"},
        {0x00040000, "disk full"},
        {errERROR | 0x1234, "Error: disk full"},
    };
    CErrorHandler handler;
    for (const Row& row : rows) {
        CString out = "old";
        handler.FormatMessage("disk full", row.options, out);
        EXPECT_STREQ(out, row.expected) << std::hex << row.options;
    }
    CCaptureHandler framed("[<msg:6>] <msg>");
    framed.Report("ab", errWARNING);
    EXPECT_EQ(framed.Last(), "[    ab] ab") << "the banner takes the message as a template item";

    OrnTest::AssertRecorder rec;
    CString out = "old";
    EXPECT_EQ(handler.FormatMessage(nullptr, errOK, out), 0);
    EXPECT_ASSERTED(rec, "msg");
    EXPECT_STREQ(out, "");
}

// Position items name the innermost source (a file stream by its path) and take formats; without a source they
// stay. References to globals are filled and counted, nested ones too.
TEST(ErrorHandler, PositionItemsAndGlobals)
{
    GlobalVars.Set("EhsA", "<EhsB>");
    GlobalVars.Set("EhsB", "b");
    std::string path = OrnTest::TempPath("eh_outer.txt");
    CFileStream outer(path.c_str(), smWrite | fsmCreate);
    CCaptureHandler handler;
    CString out;
    EXPECT_EQ(handler.FormatMessage("<ErrFile> <ErrLine> <EhsA>", errOK, out), 2);
    EXPECT_STREQ(out, "<ErrFile> <ErrLine> b");
    handler.PushSource(outer);
    handler.NextLine();
    handler.PushSource("inner.txt");
    handler.NextLine();
    handler.NextLine();
    EXPECT_EQ(handler.FormatMessage("<ErrFile>(<ErrLine:03d>): bad value for <EhsB>", errERROR, out), 1)
        << "only global substitutions are counted";
    EXPECT_STREQ(out, "Error: inner.txt(002): bad value for b");
    handler.Report("<ErrFile>:<ErrLine> <EhsB>", errWARNING);
    EXPECT_EQ(handler.Last(), "Warning: inner.txt:2 b");
    handler.PopSource();
    handler.Report("<ErrFile>#<ErrLine>", errOK);
    EXPECT_EQ(handler.Last(), path + "#1") << "a file stream is named by its path";
    CMemStream memory;
    handler.PushSource(memory);
    handler.Report("<ErrFile>#<ErrLine>", errOK);
    EXPECT_EQ(handler.Last(), "#0");
    handler.PopSource();
    handler.PopSource();
    GlobalVars.Remove("EhsA");
    GlobalVars.Remove("EhsB");
    EXPECT_FALSE(handler.HasSource());
    outer.Close();
    std::remove(path.c_str());
    OrnTest::AssertRecorder rec;
    handler.PopSource();
    EXPECT_ASSERTED(rec, "! mSources.empty()");
}

TEST(ErrorHandler, NamedCounters)
{
    CErrorHandler handler;
    EXPECT_STREQ(handler.CurrentCounterName(), "");
    EXPECT_EQ(handler.CurrentCount(), 0);
    handler.PushCounter("lines");
    handler.AdvanceCounter();
    handler.PushCounter("items");
    handler.AdvanceCounter();
    handler.AdvanceCounter();
    EXPECT_STREQ(handler.CurrentCounterName(), "items");
    EXPECT_EQ(handler.CurrentCount(), 2);
    handler.PopCounter();
    EXPECT_STREQ(handler.CurrentCounterName(), "lines");
    EXPECT_EQ(handler.CurrentCount(), 1);
}

TEST(ErrorHandler, CurrentHandlerCanBeSwappedAndIgnoring)
{
    CCaptureHandler capture;
    CurrentErrorHandler().Report("seen", errOK);
    EXPECT_EQ(capture.mReports.size(), 1u);
    CIgnoreErrorHandler ignore;
    CErrorHandler* old = SetErrorHandler(&ignore);
    CurrentErrorHandler().Report("swallowed", errERROR);
    EXPECT_EQ(capture.mReports.size(), 1u);
    SetErrorHandler(old);
    {
        CErrorSourceScope scope("scoped.txt");
        EXPECT_TRUE(CurrentErrorHandler().HasSource());
    }
    EXPECT_FALSE(CurrentErrorHandler().HasSource());
}
