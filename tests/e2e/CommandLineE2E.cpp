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
    const char* const rows[] = {
        "",
        "-verbose -s -v X", // "s" is tested first and does not match -verbose
        "-s -script",
        "X -v Y",
    };
    for (const char* args : rows) {
        RunResult r = RunUpdateWatch(args);
        EXPECT_EQ(r.exitCode, 2u) << "args: " << args;
        EXPECT_FALSE(FileExists(LogPath())) << "args: " << args;
    }
}

TEST_F(CommandLineE2E, SecondInstanceSaysSoEvenWithSuppressedDialogs)
{
    // This process holds the program's mutex, as a first instance would.
    HANDLE first = ::CreateMutexA(nullptr, FALSE, "VRL:UpdateWatch");
    ASSERT_NE(first, nullptr);
    RunResult r = RunUpdateWatch("-s -v X", [](const Window& w) {
        return Answer::Press(w.caption == "UpdateWatch" && w.text == "UpdateWatch is already running." ? IDOK : -1);
    });
    ::CloseHandle(first);
    EXPECT_EQ(r.exitCode, 0u);
    EXPECT_EQ(r.windows.size(), 1u);
    EXPECT_FALSE(FileExists(LogPath()));
}

TEST_F(CommandLineE2E, CrashEndsWithAccessViolationAndNoDialog)
{
    RunResult r = RunUpdateWatch("-crash -v X");
    EXPECT_EQ(r.exitCode, 0xC0000005u);
    EXPECT_TRUE(r.windows.empty());
}
