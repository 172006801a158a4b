// The configuration file beside the program: missing, of another version or damaged, the run ends with 1.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "E2ESupport.h"
#include "VarList.h"

using namespace E2E;

namespace {

void SaveConfig(const std::string& path, const char* majorVersion)
{
    Orn::CVarList config;
    config.Set("VRCMajVersion", majorVersion);
    config.Set("VendorId", "VNTRL");
    ASSERT_TRUE(config.Save(path.c_str()).Succeeded());
}

// The file ends with the checksum's decimal digits and a NUL: change the last digit.
void DamageChecksum(const std::string& path)
{
    std::string bytes = ReadFile(path);
    ASSERT_GT(bytes.size(), 2u);
    char& digit = bytes[bytes.size() - 2];
    digit = digit == '9' ? '0' : static_cast<char>(digit + 1);
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

} // namespace

// How a damaged file reads is the configuration loader's own table; here that the program refuses to run. A copy
// with the built file runs (LogE2E, ProductVersionThatDoesNotParseIsLoggedAndTheJobRuns).
TEST(ConfigE2E, ConfigurationThatCannotBeUsedEndsTheRunWithOne)
{
    struct Row {
        const char* name;
        std::function<void(ScratchInstall&)> prepare;
    };
    const Row rows[] = {
        {"missing", [](ScratchInstall&) {}},
        {"other major version", [](ScratchInstall& i) { SaveConfig(i.ConfigPath(), "3.0"); }},
        {"no major version", [](ScratchInstall& i) { SaveConfig(i.ConfigPath(), ""); }},
        {"checksum off by one",
         [](ScratchInstall& i) {
             i.CopyConfig();
             DamageChecksum(i.ConfigPath());
         }},
    };
    for (const Row& row : rows) {
        DeleteFileIfAny(LogPath());
        ScratchInstall install("config");
        row.prepare(install);
        RunResult r = RunProgram(install.Program(), "-s -v X");
        EXPECT_EQ(r.exitCode, 1u) << row.name;
        EXPECT_TRUE(r.windows.empty()) << row.name;
        EXPECT_FALSE(FileExists(LogPath())) << row.name << ": no log is written";
    }
}
