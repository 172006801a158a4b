// The log of a run: its layout, its replacement, and what stock-taking and the registry put into it.
#include <gtest/gtest.h>

#include "E2ESupport.h"

using namespace E2E;

namespace {

const char* const cCompanyKey = "SOFTWARE\\Vantrel";
const char* const cProductKey = "SOFTWARE\\Vantrel\\VRNB3";
const char* const cClassKey = "CLSID\\{5C1E8D1A-3B7F-4E62-9A0D-7F2B6C4E1A93}";

std::string TempFile(const std::string& name)
{
    char dir[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, dir);
    return std::string(dir) + name;
}

void WriteFile(const std::string& path, const std::string& text)
{
    HANDLE h = ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD written = 0;
    ::WriteFile(h, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
    ::CloseHandle(h);
}

class LogE2E : public ::testing::Test {
protected:
    void SetUp() override
    {
        DeleteFileIfAny(LogPath());
        CleanRegistry();
    }
    void TearDown() override { CleanRegistry(); }

    static void CleanRegistry()
    {
        DeleteRegTree(HKEY_LOCAL_MACHINE, cCompanyKey);
        DeleteRegTree(HKEY_CURRENT_USER, cCompanyKey);
        DeleteRegTree(HKEY_CLASSES_ROOT, cClassKey);
    }

    // Runs a local script job, which needs no server: "-s [-verbose] -script <file>".
    std::string RunAndReadLog(const std::string& options, const std::string& program = ProgramPath())
    {
        std::string script = TempFile("uw_log_e2e.txt");
        WriteFile(script, "set $done, 1;\n");
        std::string args = options + " -script \"" + script + "\"";
        RunResult r = RunProgram(program, args);
        DeleteFileIfAny(script);
        EXPECT_FALSE(r.timedOut);
        EXPECT_TRUE(FileExists(LogPath())) << args;
        return ReadFile(LogPath());
    }
};

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

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
    WriteFile(program, bytes);
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

TEST_F(LogE2E, LayoutOfARun)
{
    std::string log = RunAndReadLog("-s");
    EXPECT_EQ(log.rfind("Nimbra log started (", 0), 0u) << log;
    EXPECT_TRUE(Contains(log, ").\r\n\r\nInstall source folder = '" + BinDir() + "'.\r\n")) << log;
    EXPECT_TRUE(Contains(log, "'.\r\n\r\nStart: Getting version of UpdateWatch.exe {\r\n"
                              "\tThe version of Nimbra currently being installed (UpdateWatch's product version) = "
                              "'3.1 '.\r\n} End: Getting version of UpdateWatch.exe\r\n\r\n"))
        << log;
    EXPECT_TRUE(Contains(log, "Start: Initializing installation directories {\r\n\t'Program Files' directory = '"))
        << log;
    EXPECT_TRUE(Contains(log, "Start: Check if Nimbra already installed {\r\n\tFailure: Open CLSID key\r\n"
                              "\tNimbra not installed.\r\n} End: Check if Nimbra already installed\r\n"))
        << log;
    EXPECT_EQ(Count(log, "\n"), Count(log, "\r\n")) << "every line ends with CR LF";
    const std::string trailer = "\r\nNimbra log ends (error count = 1).\r\n";
    ASSERT_GE(log.size(), trailer.size());
    EXPECT_EQ(log.substr(log.size() - trailer.size()), trailer) << log;
    EXPECT_TRUE(Contains(log, "Exit code = 'exitOk' (0).\r\n" + trailer)) << log;
    EXPECT_TRUE(Contains(log, "\r\nSuccess: run script\r\n\r\nStart: Dumping reply variables {\r\n"
                              "\t$done\t=\t\"1\"\r\n} End: Dumping reply variables\r\n"))
        << log;
}

TEST_F(LogE2E, SecondRunReplacesTheLog)
{
    RunAndReadLog("-s");
    std::string log = RunAndReadLog("-s");
    EXPECT_EQ(Count(log, "Nimbra log started ("), 1) << log;
    EXPECT_EQ(Count(log, "Nimbra log ends"), 1) << log;
}

TEST_F(LogE2E, RegistryKeysOverrideInOrder)
{
    struct Row {
        HKEY root;
        const char* key;
        int level;
    };
    const Row keys[] = {{HKEY_LOCAL_MACHINE, cCompanyKey, 1},
                        {HKEY_LOCAL_MACHINE, cProductKey, 2},
                        {HKEY_CURRENT_USER, cCompanyKey, 3},
                        {HKEY_CURRENT_USER, cProductKey, 4}};
    const char* const names[] = {"UWOrderA", "UWOrderB", "UWOrderC", "UWOrderD"};
    for (const Row& row : keys)
        for (int i = row.level - 1; i < 4; ++i)
            ASSERT_TRUE(SetRegString(row.root, row.key, names[i], "level" + std::to_string(row.level)));
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, cProductKey, "VendorId", "FromRegistry"));
    ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, cProductKey, "UWEmpty", ""));

    std::string log = RunAndReadLog("-s -verbose");
    ASSERT_TRUE(Contains(log, "Start: Dumping global variables {")) << log;
    for (int i = 0; i < 4; ++i)
        EXPECT_TRUE(Contains(log, std::string("\t") + names[i] + "\t=\t\"level" + std::to_string(i + 1) + "\"\r\n"))
            << names[i] << "\n" << log;
    EXPECT_TRUE(Contains(log, "\tVendorId\t=\t\"FromRegistry\"\r\n")) << "the registry beats the configuration file";
    EXPECT_FALSE(Contains(log, "UWEmpty")) << "empty values are not loaded";
}

TEST_F(LogE2E, InstalledProductIsReportedWithItsVersion)
{
    ASSERT_TRUE(SetRegString(HKEY_CLASSES_ROOT, std::string(cClassKey) + "\\InstalledVersion", "", "3.0 beta 2"));
    ASSERT_TRUE(SetRegString(HKEY_CLASSES_ROOT, std::string(cClassKey) + "\\InprocServer32", "",
                             "C:\\Program Files\\Vantrel\\Nimbra\\nimbra.dll"));
    std::string log = RunAndReadLog("-s");
    EXPECT_TRUE(Contains(log, "Start: Check if Nimbra already installed {\r\n\tInstalledVersion = '3.0 beta 2'.\r\n"
                              "\tserver path from InprocServer32 key = "
                              "'C:\\Program Files\\Vantrel\\Nimbra\\nimbra.dll'.\r\n"
                              "\tNimbra already installed.\r\n"))
        << log;
    EXPECT_TRUE(Contains(log, "(error count = 0)")) << log;
}

TEST_F(LogE2E, ProductVersionThatDoesNotParseIsLoggedAndTheJobRuns)
{
    ScratchInstall install("oddversion");
    install.CopyConfig();
    ASSERT_TRUE(ReplaceProductVersion(install.Program(), "unknown build!"));
    std::string log = RunAndReadLog("-s", install.Program());
    EXPECT_TRUE(Contains(log, "(UpdateWatch's product version) = 'unknown build!'.\r\n")) << log;
    EXPECT_TRUE(Contains(log, "Start: Dumping reply variables {")) << log;
    EXPECT_TRUE(Contains(log, "(error count = 1)")) << "only the missing CLSID key fails: " << log;
}
