// The error handler's banners, its two stacks, the ignoring variant and the current-handler switch.
#include "ErrorHandler.h"

#include <cstdio>
#include <string>

#include "FileStream.h"
#include "MemStream.h"
#include "TestSupport.h"

using namespace Orn;

namespace {
class Capture : public CErrorHandler {
public:
    std::string delivered;
    int deliveries = 0;

protected:
    void Deliver(const CString& text, DWord) override
    {
        delivered = text.Chars();
        ++deliveries;
    }
};
} // namespace

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
}

TEST(ErrorHandler, BannerTakesTheMessageAsATemplateItem)
{
    class Framed : public Capture {
    protected:
        CString GetBanner(Int) const override { return "[<msg:6>] <msg>"; }
    } handler;
    handler.Report("ab", errWARNING);
    EXPECT_EQ(handler.delivered, "[    ab] ab");
}

TEST(ErrorHandler, NullMessageAsserts)
{
    OrnTest::AssertRecorder rec;
    CErrorHandler handler;
    CString out = "old";
    EXPECT_EQ(handler.FormatMessage(nullptr, errOK, out), 0);
    EXPECT_ASSERTED(rec, "msg");
    EXPECT_STREQ(out, "");
}

TEST(ErrorHandler, InnermostSourceGivesFileAndLine)
{
    std::string path = OrnTest::TempPath("eh_outer.txt");
    CFileStream outer(path.c_str(), smWrite | fsmCreate);
    Capture handler;
    handler.PushSource(outer);
    handler.NextLine();
    handler.PushSource("inner.txt");
    handler.NextLine();
    handler.NextLine();
    handler.NextLine();
    handler.Report("<ErrFile>#<ErrLine>", errOK);
    EXPECT_EQ(handler.delivered, "inner.txt#3");
    handler.PopSource();
    handler.Report("<ErrFile>#<ErrLine>", errOK);
    EXPECT_EQ(handler.delivered, path + "#1") << "a file stream is named by its path";
    CMemStream memory;
    handler.PushSource(memory);
    handler.Report("<ErrFile>#<ErrLine>", errOK);
    EXPECT_EQ(handler.delivered, "#0");
    handler.PopSource();
    handler.PopSource();
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
    Capture capture;
    CErrorHandler* old = SetErrorHandler(&capture);
    CurrentErrorHandler().Report("seen", errOK);
    EXPECT_EQ(capture.deliveries, 1);
    CIgnoreErrorHandler ignore;
    SetErrorHandler(&ignore);
    CurrentErrorHandler().Report("swallowed", errERROR);
    EXPECT_EQ(capture.deliveries, 1);
    SetErrorHandler(old);
    {
        CErrorSourceScope scope("scoped.txt");
        EXPECT_TRUE(CurrentErrorHandler().HasSource());
    }
    EXPECT_FALSE(CurrentErrorHandler().HasSource());
}
