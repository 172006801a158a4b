// The log of a run: its layout, its replacement, and what stock-taking and the registry put into it.
#include <gtest/gtest.h>

#include <fstream>

#include "E2ESupport.h"

using namespace E2E;

namespace {

const char* const cClassKey = "CLSID\\{5C1E8D1A-3B7F-4E62-9A0D-7F2B6C4E1A93}";

class LogE2E : public CleanRunTest {
protected:
    void SetUp() override
    {
        CleanRunTest::SetUp();
        DeleteRegTree(HKEY_CLASSES_ROOT, cClassKey);
    }
    void TearDown() override { SetUp(); }

    // Runs a local script job, which needs no server: "-s [-verbose] -script <file>".
    std::string RunAndReadLog(const std::string& options, const std::string& program = ProgramPath())
    {
        TempFile script("uw_log_e2e.txt", "set $done, 1;\n");
        std::string args = options + " -script " + script.Arg();
        RunProgram(program, args);
        EXPECT_TRUE(FileExists(LogPath())) << args;
        return ReadFile(LogPath());
    }
};

std::string Utf16(const std::string& ascii)
{
    std::string wide;
    for (char c : ascii)
        wide += std::string{c, '\0'};
    return wide;
}

// Overwrites the program file's product version text ("3.1 (yyyymmdd)") with one of the same length.
bool ReplaceProductVersion(const std::string& program, const std::string& text)
{
    std::string bytes = ReadFile(program);
    size_t at = bytes.find(Utf16("ProductVersion"));
    at = at == std::string::npos ? at : bytes.find(Utf16("3.1 ("), at);
    if (at == std::string::npos || text.size() != 14)
        return false;
    bytes.replace(at, 28, Utf16(text));
    std::ofstream(program, std::ios::binary | std::ios::trunc) << bytes;
    return true;
}

int Count(const std::string& text, const std::string& part)
{
    int n = 0;
    for (size_t pos = text.find(part); pos != std::string::npos; pos = text.find(part, pos + 1))
        ++n;
    return n;
}

} // namespace

// The first run has settings in every registry key and an installed product; the second replaces its log.
TEST_F(LogE2E, LayoutOfARunAndWhatTheRegistryAddsToIt)
{
    struct Row {
        HKEY root;
        const char* key;
        int level;
    };
    const Row keys[] = {{HKEY_LOCAL_MACHINE, CompanyKey, 1},
                        {HKEY_LOCAL_MACHINE, ProductKey, 2},
                        {HKEY_CURRENT_USER, CompanyKey, 3},
                        {HKEY_CURRENT_USER, ProductKey, 4}};
    const char* const names[] = {"UWOrderA", "UWOrderB", "UWOrderC", "UWOrderD"};
    for (const Row& row : keys)
        for (int i = row.level - 1; i < 4; ++i)
            ASSERT_TRUE(SetRegString(row.root, row.key, names[i], "level" + std::to_string(row.level)));
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VendorId", "FromRegistry"));
    ASSERT_TRUE(SetRegString(HKEY_CLASSES_ROOT, std::string(cClassKey) + "\\InstalledVersion", "", "3.0 beta 2"));
    ASSERT_TRUE(SetRegString(HKEY_CLASSES_ROOT, std::string(cClassKey) + "\\InprocServer32", "",
                             "C:\\Program Files\\Vantrel\\Nimbra\\nimbra.dll"));

    std::string log = RunAndReadLog("-s -verbose");
    ASSERT_TRUE(HasText(log, "Start: Dumping global variables {")) << log;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(HasText(log, std::string("\t") + names[i] + "\t=\t\"level" + std::to_string(i + 1) + "\"\r\n"))
            << names[i] << "\n" << log;
    EXPECT_TRUE(HasText(log, "\tVendorId\t=\t\"FromRegistry\"\r\n")) << "the registry beats the configuration file";
    EXPECT_TRUE(HasText(log, "Start: Check if Nimbra already installed {\r\n\tInstalledVersion = '3.0 beta 2'.\r\n"
                              "\tserver path from InprocServer32 key = "
                              "'C:\\Program Files\\Vantrel\\Nimbra\\nimbra.dll'.\r\n"
                              "\tNimbra already installed.\r\n"))
        << log;
    EXPECT_TRUE(HasText(log, "(error count = 0)")) << log;

    SetUp(); // the next run starts without them
    log = RunAndReadLog("-s");
    EXPECT_EQ(Count(log, "Nimbra log started ("), 1) << "a second run replaces the log";
    EXPECT_EQ(log.rfind("Nimbra log started (", 0), 0u) << log;
    EXPECT_TRUE(HasText(log, ").\r\n\r\nInstall source folder = '" + BinDir() + "'.\r\n")) << log;
    EXPECT_TRUE(HasText(log, "'.\r\n\r\nStart: Getting version of UpdateWatch.exe {\r\n"
                              "\tThe version of Nimbra currently being installed (UpdateWatch's product version) = "
                              "'3.1'.\r\n} End: Getting version of UpdateWatch.exe\r\n\r\n"))
        << log;
    EXPECT_TRUE(HasText(log, "Start: Initializing installation directories {\r\n\t'Program Files' directory = '"))
        << log;
    EXPECT_TRUE(HasText(log, "Start: Check if Nimbra already installed {\r\n\tFailure: Open CLSID key\r\n"
                              "\tNimbra not installed.\r\n} End: Check if Nimbra already installed\r\n"))
        << log;
    EXPECT_EQ(Count(log, "\n"), Count(log, "\r\n")) << "every line ends with CR LF";
    const std::string trailer = "\r\nNimbra log ends (error count = 1).\r\n";
    ASSERT_GE(log.size(), trailer.size());
    EXPECT_EQ(log.substr(log.size() - trailer.size()), trailer) << log;
    EXPECT_TRUE(HasText(log, "Exit code = 'exitOk' (0).\r\n" + trailer)) << log;
    EXPECT_TRUE(HasText(log, "\r\nSuccess: run script\r\n\r\nStart: Dumping reply variables {\r\n"
                              "\t$done\t=\t\"1\"\r\n} End: Dumping reply variables\r\n"))
        << log;
}

TEST_F(LogE2E, ProductVersionThatDoesNotParseIsLoggedAndTheJobRuns)
{
    ScratchInstall install("oddversion");
    install.CopyConfig();
    ASSERT_TRUE(ReplaceProductVersion(install.Program(), "unknown build!"));
    std::string log = RunAndReadLog("-s", install.Program());
    EXPECT_TRUE(HasText(log, "(UpdateWatch's product version) = 'unknown build!'.\r\n")) << log;
    EXPECT_TRUE(HasText(log, "Start: Dumping reply variables {")) << log;
    EXPECT_TRUE(HasText(log, "(error count = 1)")) << "only the missing CLSID key fails: " << log;
}

// A script file that cannot be run is said in the log; the job still ends well.
TEST_F(LogE2E, ScriptFileThatCannotBeRun)
{
    TempFile empty("uw_log_empty.txt", "");
    TempFile missing("uw_log_missing.txt");
    struct Row {
        std::string path;
        std::string message;
    };
    const Row rows[] = {
        {empty.Path(), "can't read script."},
        {missing.Path(), "Can't open script file (" + missing.Path() + ")."},
    };
    for (const Row& row : rows) {
        DeleteFileIfAny(LogPath());
        RunResult r = RunUpdateWatch("-s -script \"" + row.path + "\"");
        EXPECT_EQ(r.exitCode, 0u) << row.path;
        std::string log = ReadFile(LogPath());
        EXPECT_TRUE(HasText(log, "MessageDialog (suppressed due to -s option):\r\n" + row.message + "\r\n")) << log;
        EXPECT_FALSE(HasText(log, "Dumping reply variables")) << log;
        EXPECT_TRUE(HasText(log, "Exit code = 'exitOk' (0).\r\n")) << log;
    }
}
