// The framework's crash handler in a program that installs it: what the user is told, the exit status, and
// the minidump with its name and the exception it holds.
#include <gtest/gtest.h>

#include <windows.h>
#include <dbghelp.h>

#include <cstring>
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

// The crash boxes' texts; the box is answered, and every other window fails the run.
Watcher CrashBoxes(std::vector<std::string>& texts, bool& topmost)
{
    return [&](const Window& w) {
        if (w.caption != "CrashVictim Error")
            return Answer::Press(-1);
        texts.push_back(w.text);
        topmost = (::GetWindowLongA(w.hwnd, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
        return Answer::Press(IDOK);
    };
}

// The exception stream of a minidump held whole in memory; false when there is none.
bool DumpedException(const std::string& dump, MINIDUMP_EXCEPTION_STREAM& exception)
{
    MINIDUMP_DIRECTORY* entry = nullptr;
    void* stream = nullptr;
    ULONG size = 0;
    if (dump.size() < sizeof(MINIDUMP_HEADER) ||
        !::MiniDumpReadDumpStream(const_cast<char*>(dump.data()), ExceptionStream, &entry, &stream, &size) ||
        size < sizeof exception)
        return false;
    std::memcpy(&exception, stream, sizeof exception);
    return true;
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
        DWORD code;
        std::string dumpName; // after the prefix and before the date
        int index;
    };
    const Row rows[] = {
        {"access violation", "crash_victim.exe", "-access", violation, EXCEPTION_ACCESS_VIOLATION, "_2.50b_", 0},
        {"failed assertion", "crash_victim.exe", "-assert",
         "File: pvt/CrashVictim, Line#: 7\nAssert( deliberate failure );\n", 1, "_2.50b_", 1},
        {"no version resource", "crash_victim_plain.exe", "-access", violation, EXCEPTION_ACCESS_VIOLATION, "_xxxx_",
         0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        std::string dump = CrashDir() + cPrefix + row.dumpName + Today() + "_" + std::to_string(row.index) + ".dmp";
        std::vector<std::string> texts;
        bool topmost = false;
        RunResult r = RunProgram(BinDir() + "\\" + row.program, row.args, CrashBoxes(texts, topmost));
        EXPECT_EQ(r.exitCode, 0u);
        EXPECT_EQ(texts, std::vector<std::string>{CrashText(row.reason, dump)});
        EXPECT_TRUE(topmost) << "the box is system-modal";
        MINIDUMP_EXCEPTION_STREAM exception{};
        ASSERT_TRUE(DumpedException(ReadFile(dump), exception)) << dump;
        EXPECT_EQ(exception.ThreadId, r.mainThreadId);
        EXPECT_EQ(exception.ExceptionRecord.ExceptionCode, row.code);
    }
}

TEST_F(CrashE2E, ADumpThatCannotBeWrittenIsSaidSo)
{
    ::RemoveDirectoryA(CrashDir().c_str());
    TempFile blocker("VRLCrashes", "a file where the dump folder belongs");
    std::vector<std::string> texts;
    bool topmost = false;
    RunResult r = RunProgram(BinDir() + "\\crash_victim.exe", "-access", CrashBoxes(texts, topmost));
    EXPECT_EQ(r.exitCode, 0u);
    EXPECT_EQ(texts, std::vector<std::string>{CrashText("Exception = 0xC0000005.", "not written")});
}
