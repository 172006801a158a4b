// Device path rules over a made-up drive table, and the native language name.
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "OSQueries.h"
#include "TestSupport.h"

using Orn::CString;
using Orn::DevicePathToDrivePath;

namespace {

struct IsDeviceRow {
    const char* name;
    const char* path;
    bool isDevice;
};

const IsDeviceRow cIsDeviceRows[] = {
    {"volume path", "\\Device\\HarddiskVolume1\\x.exe", true},
    {"prefix only", "\\Device\\", true},
    {"no closing delimiter", "\\Device", false},
    {"other case", "\\device\\HarddiskVolume1", false},
    {"drive path", "C:\\Device\\x", false},
    {"empty", "", false},
};

TEST(OSQueriesTest, IsDevicePathTable)
{
    for (const IsDeviceRow& row : cIsDeviceRows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(row.isDevice, Orn::IsDevicePath(row.path));
        EXPECT_NO_ASSERTS(rec);
    }
    OrnTest::AssertRecorder rec;
    EXPECT_FALSE(Orn::IsDevicePath(nullptr));
    EXPECT_ASSERTED(rec, "path");
}

// Drive letter to device name; letters not listed are unmapped.
struct FakeDrive {
    char letter;
    const char* device;
};

const FakeDrive cDrives[] = {
    {'C', "\\Device\\HarddiskVolume1"},
    {'D', "\\Device\\HarddiskVolume10"},
    {'E', "\\Device\\HarddiskVolume1"},
    {'F', "\\Device\\CdRom0\\"},
    {'G', ""},
    {'H', "\\Device\\HarddiskVolume3"},
    {'X', "\\Device\\HarddiskVolume3"},
};

bool LookUpFake(char drive, CString& device, void* context)
{
    EXPECT_EQ(nullptr, context);
    for (const FakeDrive& d : cDrives) {
        if (d.letter == drive) {
            device = d.device;
            return true;
        }
    }
    device = "left over from the last letter";
    return false;
}

struct MapRow {
    const char* name;
    const char* in;
    const char* out; // null: no drive maps it
};

const MapRow cMapRows[] = {
    {"mapped", "\\Device\\HarddiskVolume1\\Program Files\\a.exe", "C:\\Program Files\\a.exe"},
    {"first of two drives wins", "\\Device\\HarddiskVolume3\\a.exe", "H:\\a.exe"},
    {"longer volume number is another volume", "\\Device\\HarddiskVolume10\\a.exe", "D:\\a.exe"},
    {"device name alone", "\\Device\\HarddiskVolume1", "C:"},
    {"device name ending in a delimiter", "\\Device\\CdRom0\\setup.exe", "F:\\setup.exe"},
    {"case does not matter", "\\Device\\HARDDISKVOLUME1\\a.exe", "C:\\a.exe"},
    {"unmapped volume", "\\Device\\HarddiskVolume2\\a.exe", nullptr},
    {"prefix of a mapped name only", "\\Device\\HarddiskVolume\\a.exe", nullptr},
    {"partial component", "\\Device\\HarddiskVolume12\\a.exe", nullptr},
    {"bare device prefix", "\\Device\\", nullptr},
};

TEST(OSQueriesTest, DevicePathTable)
{
    for (const MapRow& row : cMapRows) {
        SCOPED_TRACE(row.name);
        OrnTest::AssertRecorder rec;
        char out[64] = "garbage";
        EXPECT_EQ(row.out != nullptr, DevicePathToDrivePath(row.in, out, sizeof(out), LookUpFake, nullptr));
        EXPECT_STREQ(row.out ? row.out : "", out);
        EXPECT_NO_ASSERTS(rec);
    }
}

TEST(OSQueriesTest, DevicePathOutputLimit)
{
    const char* in = "\\Device\\HarddiskVolume1\\abc";
    char out[16];
    EXPECT_TRUE(DevicePathToDrivePath(in, out, 7, LookUpFake, nullptr)); // "C:\abc" and its terminator
    EXPECT_STREQ("C:\\abc", out);
    EXPECT_FALSE(DevicePathToDrivePath(in, out, 6, LookUpFake, nullptr));
    EXPECT_STREQ("", out);
}

TEST(OSQueriesTest, DevicePathInPlace)
{
    char path[64] = "\\Device\\HarddiskVolume10\\dir\\x.exe";
    EXPECT_TRUE(DevicePathToDrivePath(path, path, sizeof(path), LookUpFake, nullptr));
    EXPECT_STREQ("D:\\dir\\x.exe", path);
}

TEST(OSQueriesTest, DevicePathAssertions)
{
    char out[32] = "garbage";
    OrnTest::AssertRecorder rec;
    EXPECT_FALSE(DevicePathToDrivePath(nullptr, out, sizeof(out), LookUpFake, nullptr));
    EXPECT_ASSERTED(rec, "inPath");
    EXPECT_FALSE(DevicePathToDrivePath("C:\\a.exe", out, sizeof(out), LookUpFake, nullptr));
    EXPECT_ASSERTED(rec, "IsDevicePath(inPath)");
    EXPECT_STREQ("", out);
    EXPECT_FALSE(DevicePathToDrivePath("\\Device\\HarddiskVolume1", nullptr, 10, LookUpFake, nullptr));
    EXPECT_ASSERTED(rec, "outPath");
    EXPECT_FALSE(DevicePathToDrivePath("\\Device\\HarddiskVolume1", out, 0, LookUpFake, nullptr));
    EXPECT_ASSERTED(rec, "outPathLen > 0");
}

#if !ORN_WINDOWS
// Sets one variable for the life of the object and puts the old value back.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const char* value) : mName(name)
    {
        const char* old = std::getenv(name);
        mHad = old != nullptr;
        mOld = old ? old : "";
        ::setenv(name, value, 1);
    }
    ~ScopedEnv()
    {
        if (mHad)
            ::setenv(mName.c_str(), mOld.c_str(), 1);
        else
            ::unsetenv(mName.c_str());
    }

private:
    std::string mName;
    std::string mOld;
    bool mHad;
};

struct LocaleRow {
    const char* locale;
    const char* name; // null: no language
};

const LocaleRow cLocaleRows[] = {
    {"de_AT.UTF-8", "de-AT"}, {"en_US", "en-US"}, {"fr", "fr"}, {"sr_RS@latin", "sr-RS"},
    {"C", "en"},          {"C.UTF-8", "en"},  {"POSIX", "en"}, {"x", nullptr},
    {"1234", nullptr},
};

TEST(OSQueriesTest, NativeLanguageNameFromLocale)
{
    for (const LocaleRow& row : cLocaleRows) {
        SCOPED_TRACE(row.locale);
        ScopedEnv env("LC_ALL", row.locale);
        CString name = "stale";
        EXPECT_EQ(row.name != nullptr, Orn::GetOSLanguageName(name));
        EXPECT_STREQ(row.name ? row.name : "", name.Chars());
    }
}
#endif

} // namespace
