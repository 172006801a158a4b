// The configuration file beside the program: missing, of another version or damaged, the run ends with 1.
#include <gtest/gtest.h>

#include <fstream>

#include "E2ESupport.h"
#include "VarList.h"

using namespace E2E;

namespace {

class ConfigE2E : public ::testing::Test {
protected:
    void SetUp() override { DeleteFileIfAny(LogPath()); }

    void ExpectRejected(ScratchInstall& install, const char* what)
    {
        RunResult r = RunProgram(install.Program(), "-s -v X");
        EXPECT_EQ(r.exitCode, 1u) << what;
        EXPECT_TRUE(r.windows.empty()) << what;
        EXPECT_FALSE(FileExists(LogPath())) << what << ": no log is written";
    }
};

void SaveConfig(const std::string& path, const char* majorVersion)
{
    Orn::CVarList config;
    config.Set("VRCMajVersion", majorVersion);
    config.Set("VendorId", "VNTRL");
    ASSERT_TRUE(config.Save(path.c_str()).Succeeded());
}

} // namespace

TEST_F(ConfigE2E, MissingConfiguration)
{
    ScratchInstall install("noconfig");
    ExpectRejected(install, "missing nimbra.vrc");
}

TEST_F(ConfigE2E, OtherMajorVersions)
{
    for (const char* major : {"3.0", " 3", "4", ""}) {
        ScratchInstall install("major");
        SaveConfig(install.ConfigPath(), major);
        ExpectRejected(install, major);
    }
}

TEST_F(ConfigE2E, DamagedChecksum)
{
    ScratchInstall install("checksum");
    install.CopyConfig();
    std::string bytes = ReadFile(install.ConfigPath());
    ASSERT_GT(bytes.size(), 2u);
    // The file ends with the checksum's decimal digits and a NUL: change the last digit.
    char& digit = bytes[bytes.size() - 2];
    digit = digit == '9' ? '0' : static_cast<char>(digit + 1);
    std::ofstream(install.ConfigPath(), std::ios::binary | std::ios::trunc) << bytes;
    ExpectRejected(install, "checksum off by one");
}

TEST_F(ConfigE2E, NotAConfigurationFile)
{
    ScratchInstall install("garbage");
    std::ofstream(install.ConfigPath(), std::ios::binary) << "Vantrel Configuration File 1.0";
    ExpectRejected(install, "header without NUL and body");
}

TEST_F(ConfigE2E, TheBuiltConfigurationIsAccepted)
{
    ScratchInstall install("good");
    install.CopyConfig();
    // A local script job that needs no server; its file is missing, which only the log mentions.
    RunResult r = RunProgram(install.Program(), "-s -script C:\\no-such-script.txt");
    EXPECT_EQ(r.exitCode, 0u);
    EXPECT_TRUE(FileExists(LogPath()));
    EXPECT_NE(ReadFile(LogPath()).find("MessageDialog (suppressed due to -s option):\r\n"
                                       "Can't open script file (C:\\no-such-script.txt).\r\n"),
              std::string::npos);
}
