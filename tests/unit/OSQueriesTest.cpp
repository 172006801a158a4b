// Device path rules over a made-up drive table.
#include <string>

#include <gtest/gtest.h>

#include "OSQueries.h"
#include "TestSupport.h"

using Orn::CString;
using Orn::DevicePathToDrivePath;

namespace {

TEST(OSQueriesTest, IsDevicePath)
{
    const std::pair<const char*, bool> rows[] = {
        {"\\Device\\HarddiskVolume1\\x.exe", true}, {"\\Device\\", true}, {"\\Device", false},
        {"\\device\\HarddiskVolume1", false},       {"C:\\Device\\x", false},
    };
    for (const auto& [path, isDevice] : rows)
        EXPECT_EQ(isDevice, Orn::IsDevicePath(path)) << path;
}

// Drive letter to device name; letters not listed are unmapped.
bool LookUpFake(char drive, CString& device, void*)
{
    const std::pair<char, const char*> drives[] = {
        {'C', "\\Device\\HarddiskVolume1"}, {'D', "\\Device\\HarddiskVolume10"}, {'G', ""},
        {'H', "\\Device\\HarddiskVolume3"}, {'X', "\\Device\\HarddiskVolume3"},
    };
    for (const auto& [letter, name] : drives) {
        if (letter == drive) {
            device = name;
            return true;
        }
    }
    device = "left over from the last letter";
    return false;
}

TEST(OSQueriesTest, DevicePathToDrivePath)
{
    struct Row {
        const char* name;
        const char* in;
        const char* out; // null: no drive maps it
    };
    const Row rows[] = {
        {"mapped", "\\Device\\HarddiskVolume1\\Program Files\\a.exe", "C:\\Program Files\\a.exe"},
        {"first of two drives wins", "\\Device\\HarddiskVolume3\\a.exe", "H:\\a.exe"},
        {"longer volume number is another volume", "\\Device\\HarddiskVolume10\\a.exe", "D:\\a.exe"},
        {"device name alone", "\\Device\\HarddiskVolume1", "C:"},
        {"case does not matter", "\\Device\\HARDDISKVOLUME1\\a.exe", "C:\\a.exe"},
        {"unmapped volume", "\\Device\\HarddiskVolume2\\a.exe", nullptr},
        {"partial component", "\\Device\\HarddiskVolume12\\a.exe", nullptr},
    };
    for (const Row& row : rows) {
        OrnTest::AssertRecorder rec;
        char out[64] = "garbage";
        EXPECT_EQ(row.out != nullptr, DevicePathToDrivePath(row.in, out, sizeof(out), LookUpFake, nullptr))
            << row.name;
        EXPECT_STREQ(row.out ? row.out : "", out) << row.name;
        EXPECT_NO_ASSERTS(rec) << row.name;
    }
}

TEST(OSQueriesTest, DevicePathLimitsAndMisuse)
{
    const char* in = "\\Device\\HarddiskVolume1\\abc";
    char out[64];
    EXPECT_TRUE(DevicePathToDrivePath(in, out, 7, LookUpFake, nullptr)); // "C:\abc" and its terminator
    EXPECT_STREQ("C:\\abc", out);
    EXPECT_FALSE(DevicePathToDrivePath(in, out, 6, LookUpFake, nullptr));
    EXPECT_STREQ("", out);

    char path[64] = "\\Device\\HarddiskVolume10\\dir\\x.exe";
    EXPECT_TRUE(DevicePathToDrivePath(path, path, sizeof(path), LookUpFake, nullptr)) << "in place";
    EXPECT_STREQ("D:\\dir\\x.exe", path);

    OrnTest::AssertRecorder rec;
    EXPECT_FALSE(DevicePathToDrivePath("C:\\a.exe", out, sizeof(out), LookUpFake, nullptr));
    EXPECT_ASSERTED(rec, "IsDevicePath(inPath)");
    EXPECT_FALSE(DevicePathToDrivePath(in, out, 0, LookUpFake, nullptr));
    EXPECT_ASSERTED(rec, "outPathLen > 0");
}

} // namespace
