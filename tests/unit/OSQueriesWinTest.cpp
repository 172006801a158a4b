// Operating-system queries against the running system: version, bitness, language, window owner.
#include <windows.h>

#include <cstring>
#include <memory>
#include <regex>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "OSQueries.h"
#include "TestSupport.h"

using Orn::CString;

namespace {

TEST(OSQueriesWinTest, SystemFacts)
{
    Orn::Int first = -1, second = -1, third = -1;
    OrnTest::AssertRecorder rec;
    Orn::GetOSVersion(first, second, third);
    EXPECT_NO_ASSERTS(rec);
    EXPECT_GE(first, 4); // NT 4 and later; the 95 family would give 1 to 3
    EXPECT_GE(second, 0);
    EXPECT_EQ(0, third);
    EXPECT_TRUE(Orn::IsNTFamily());

    SYSTEM_INFO info = {};
    ::GetNativeSystemInfo(&info);
    const WORD arch = info.wProcessorArchitecture;
    EXPECT_EQ(arch == PROCESSOR_ARCHITECTURE_AMD64 || arch == PROCESSOR_ARCHITECTURE_ARM64, Orn::Is64BitWindows());

    CString name = "stale";
    ASSERT_TRUE(Orn::GetOSLanguageName(name));
    EXPECT_TRUE(std::regex_match(name.Chars(), std::regex("[a-z]{2,3}(-[A-Z0-9]{2,3})?"))) << name.Chars();
}

TEST(OSQueriesWinTest, WindowOwnerIsThisProgram)
{
    // A message-only window of this thread, destroyed with the pointer.
    std::unique_ptr<std::remove_pointer_t<HWND>, decltype(&::DestroyWindow)> window(
        ::CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr), &::DestroyWindow);
    ASSERT_NE(nullptr, window);
    OrnTest::AssertRecorder rec;
    Orn::DWord processId = 0;
    EXPECT_TRUE(Orn::GetWindowProcessId(window.get(), processId));
    EXPECT_EQ(::GetCurrentProcessId(), processId);
    CString exe;
    ASSERT_TRUE(Orn::GetWindowProcessExe(window.get(), exe));
    EXPECT_NO_ASSERTS(rec);
    char self[MAX_PATH + 1] = "";
    ASSERT_NE(0u, ::GetModuleFileNameA(nullptr, self, sizeof(self)));
    EXPECT_EQ(0, ::lstrcmpiA(std::strrchr(self, '\\'), std::strrchr(exe.Chars(), '\\'))) << exe.Chars();
    EXPECT_EQ(':', exe[1]) << "a drive path, not a device path: " << exe.Chars();

    const HWND gone = window.get();
    window.reset();
    processId = 1;
    EXPECT_FALSE(Orn::GetWindowProcessId(gone, processId));
    EXPECT_EQ(0u, processId);
    EXPECT_ASSERTED(rec, "::IsWindow(win)");
    EXPECT_FALSE(Orn::GetWindowProcessExe(gone, exe));
    EXPECT_STREQ("", exe.Chars());
}

TEST(OSQueriesWinTest, SystemDriveDevice)
{
    char device[MAX_PATH + 1] = "";
    ASSERT_NE(0u, ::QueryDosDeviceA("C:", device, sizeof(device)));
    ASSERT_TRUE(Orn::IsDevicePath(device)) << device;
    char out[MAX_PATH + 1];
    const std::string in = std::string(device) + "\\windows\\notepad.exe";
    EXPECT_TRUE(Orn::DevicePathToDrivePath(in.c_str(), out, sizeof(out))) << in;
    EXPECT_STREQ(":\\windows\\notepad.exe", out + 1) << "an earlier letter may name the same volume";
    OrnTest::AssertRecorder rec;
    EXPECT_FALSE(Orn::DevicePathToDrivePath("\\Device\\NoSuchVolume7\\x.exe", out, sizeof(out)));
    EXPECT_STREQ("", out);
    EXPECT_NO_ASSERTS(rec);
}

} // namespace
