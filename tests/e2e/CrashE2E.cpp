// The framework's crash handler in a program that installs it: what the user is told, the exit status, and
// the minidump with its name.
#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <vector>

#include "E2ESupport.h"

using namespace E2E;

namespace {

const std::string cPrefix = "E2ECrash";

std::string CrashDir() { return TempDir() + "VRLCrashes\\"; }

std::string Today()
{
    std::time_t now = std::time(nullptr);
    char text[16] = {0};
    std::strftime(text, sizeof text, "%y%m%d", std::localtime(&now));
    return text;
}

void RemoveDumps()
{
    WIN32_FIND_DATAA found;
    HANDLE find = ::FindFirstFileA((CrashDir() + cPrefix + "_*").c_str(), &found);
    if (find == INVALID_HANDLE_VALUE)
        return;
    do
        DeleteFileIfAny(CrashDir() + found.cFileName);
    while (::FindNextFileA(find, &found));
    ::FindClose(find);
}

std::string CrashText(const std::string& reason, const std::string& dump)
{
    return "CrashVictim has encountered a problem and needs to close.\nWe are sorry for for any inconvenience.\n\n"
           "Problem: " + reason + "\nCrash dump file: " + dump + "\n\nPlease report this error to Vantrel technical\n"
           "support and supply the above information.\n\nEmail: support@vantrel.com\nPhone: +1 (555) 010-2674\n";
}

class CrashE2E : public ::testing::Test {
protected:
    void SetUp() override { RemoveDumps(); }
    void TearDown() override { RemoveDumps(); }
};

} // namespace

TEST_F(CrashE2E, EachCrashIsAnnouncedAndDumpedUnderTheNextFreeIndex)
{
    const std::string violation = "Exception = 0xC0000005.";
    struct Row {
        const char* name;
        const char* program;
        const char* args;
        std::string reason;
        std::string dumpName; // after the prefix and before the date
        int index;
    };
    const Row rows[] = {
        {"access violation", "crash_victim.exe", "-access", violation, "_2.50b_", 0},
        {"failed assertion", "crash_victim.exe", "-assert",
         "File: pvt/CrashVictim, Line#: 7\nAssert( deliberate failure );\n", "_2.50b_", 1},
        {"no version resource", "crash_victim_plain.exe", "-access", violation, "_xxxx_", 0},
    };
    for (const Row& row : rows) {
        std::string dump = CrashDir() + cPrefix + row.dumpName + Today() + "_" + std::to_string(row.index) + ".dmp";
        std::vector<std::string> texts;
        bool topmost = false;
        RunResult r = RunProgram(BinDir() + "\\" + row.program, row.args, [&](const Window& w) {
            if (w.caption != "CrashVictim Error")
                return Answer::Press(-1);
            texts.push_back(w.text);
            topmost = (::GetWindowLongA(w.hwnd, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
            return Answer::Press(IDOK);
        });
        EXPECT_EQ(r.exitCode, 0u) << row.name;
        ASSERT_EQ(texts.size(), 1u) << row.name;
        EXPECT_EQ(texts[0], CrashText(row.reason, dump)) << row.name;
        EXPECT_TRUE(topmost) << row.name << ": the box is system-modal";
        EXPECT_EQ(ReadFile(dump).substr(0, 4), "MDMP") << row.name << ": " << dump;
    }
}
