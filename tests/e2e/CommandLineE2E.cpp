// The command line, the single-instance guard and the deliberate crash, seen from outside the program.
#include <gtest/gtest.h>

#include "E2ESupport.h"

using namespace E2E;

namespace {

class CommandLineE2E : public ::testing::Test {
protected:
    void SetUp() override { DeleteFileIfAny(LogPath()); }
};

} // namespace

TEST_F(CommandLineE2E, BadCommandLinesEndWithTwoAndNoLog)
{
    struct Row {
        const char* args;
    };
    const Row rows[] = {
        {""},
        {"-verbose -s -v X"}, // "s" is tested first and does not match -verbose
        {"-v -step"},         // the value test consumes -v and refuses -step
        {"-V X"},             // option names are case-sensitive
        {"-s -script"},
        {"X -v Y"},
    };
    for (const Row& row : rows) {
        RunResult r = RunUpdateWatch(row.args);
        EXPECT_EQ(r.exitCode, 2u) << "args: " << row.args;
        EXPECT_FALSE(FileExists(LogPath())) << "args: " << row.args;
    }
}

TEST_F(CommandLineE2E, SecondInstanceSaysSoEvenWithSuppressedDialogs)
{
    // This process holds the program's mutex, as a first instance would.
    HANDLE first = ::CreateMutexA(nullptr, FALSE, "VRL:UpdateWatch");
    ASSERT_NE(first, nullptr);
    RunResult r = RunUpdateWatch("-s -v X", ExpectBox("UpdateWatch is already running."));
    ::CloseHandle(first);
    EXPECT_EQ(r.exitCode, 0u);
    ASSERT_EQ(r.windows.size(), 1u);
    EXPECT_EQ(r.windows[0].text, "UpdateWatch is already running.");
    EXPECT_FALSE(FileExists(LogPath()));
}

TEST_F(CommandLineE2E, CrashEndsWithAccessViolationAndNoDialog)
{
    RunResult r = RunUpdateWatch("-crash -v X");
    EXPECT_EQ(r.exitCode, 0xC0000005u);
    EXPECT_TRUE(r.windows.empty());
    EXPECT_FALSE(r.timedOut);
}
