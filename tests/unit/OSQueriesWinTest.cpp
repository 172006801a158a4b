// Operating-system queries against the running system: version, bitness, language, window owner, adapter.
#include <windows.h>
#include <iphlpapi.h>

#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "OSQueries.h"
#include "TestSupport.h"

using Orn::CString;

namespace {

TEST(OSQueriesWinTest, VersionIsNT)
{
    Orn::Int first = -1, second = -1, third = -1;
    OrnTest::AssertRecorder rec;
    Orn::GetOSVersion(first, second, third);
    EXPECT_NO_ASSERTS(rec);
    EXPECT_GE(first, 4); // NT 4 and later; the 95 family would give 1 to 3
    EXPECT_GE(second, 0);
    EXPECT_EQ(0, third);
    EXPECT_TRUE(Orn::IsNTFamily());
}

TEST(OSQueriesWinTest, BitnessMatchesNativeProcessor)
{
    SYSTEM_INFO info = {};
    ::GetNativeSystemInfo(&info);
    const WORD arch = info.wProcessorArchitecture;
    const bool native64 = arch == PROCESSOR_ARCHITECTURE_AMD64 || arch == PROCESSOR_ARCHITECTURE_IA64 ||
                          arch == PROCESSOR_ARCHITECTURE_ARM64;
    EXPECT_EQ(native64, Orn::Is64BitWindows());
    if (sizeof(void*) == 8) {
        EXPECT_TRUE(Orn::Is64BitWindows());
    }
}

// "ll" or "lll", then optionally "-" and a country of 2 or 3 letters or digits ("US", "419").
bool IsLanguageName(const std::string& name)
{
    size_t i = 0;
    while (i < name.size() && std::islower(static_cast<unsigned char>(name[i])))
        ++i;
    if (i < 2 || i > 3)
        return false;
    if (i == name.size())
        return true;
    const size_t country = name.size() - i - 1;
    if (name[i] != '-' || country < 2 || country > 3)
        return false;
    for (++i; i < name.size(); ++i) {
        if (!std::isupper(static_cast<unsigned char>(name[i])) && !std::isdigit(static_cast<unsigned char>(name[i])))
            return false;
    }
    return true;
}

TEST(OSQueriesWinTest, LanguageName)
{
    CString name = "stale";
    ASSERT_TRUE(Orn::GetOSLanguageName(name));
    EXPECT_TRUE(IsLanguageName(name.Chars())) << name.Chars();
}

// A message-only window of this thread, destroyed with the object.
class MessageWindow {
public:
    MessageWindow() : mWnd(::CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
    {
    }
    ~MessageWindow()
    {
        if (mWnd)
            ::DestroyWindow(mWnd);
    }
    MessageWindow(const MessageWindow&) = delete;
    MessageWindow& operator=(const MessageWindow&) = delete;
    HWND Get() const { return mWnd; }

private:
    HWND mWnd;
};

std::string FileName(const char* path)
{
    const char* slash = std::strrchr(path, '\\');
    return slash ? slash + 1 : path;
}

TEST(OSQueriesWinTest, WindowOwnerIsThisProgram)
{
    MessageWindow window;
    ASSERT_NE(nullptr, window.Get());
    OrnTest::AssertRecorder rec;
    Orn::DWord processId = 0;
    EXPECT_TRUE(Orn::GetWindowProcessId(window.Get(), processId));
    EXPECT_EQ(::GetCurrentProcessId(), processId);

    CString exe;
    ASSERT_TRUE(Orn::GetWindowProcessExe(window.Get(), exe));
    EXPECT_NO_ASSERTS(rec);
    char self[MAX_PATH + 1] = "";
    ASSERT_NE(0u, ::GetModuleFileNameA(nullptr, self, sizeof(self)));
    EXPECT_EQ(0, ::lstrcmpiA(FileName(self).c_str(), FileName(exe.Chars()).c_str())) << exe.Chars() << " vs " << self;
    EXPECT_EQ(':', exe[1]) << exe.Chars();
}

TEST(OSQueriesWinTest, GoneWindow)
{
    HWND gone = nullptr;
    {
        MessageWindow window;
        gone = window.Get();
    }
    OrnTest::AssertRecorder rec;
    Orn::DWord processId = 1;
    EXPECT_FALSE(Orn::GetWindowProcessId(gone, processId));
    EXPECT_EQ(0u, processId);
    EXPECT_ASSERTED(rec, "::IsWindow(win)");
    CString exe = "stale";
    EXPECT_FALSE(Orn::GetWindowProcessExe(gone, exe));
    EXPECT_STREQ("", exe.Chars());
}

// The adapter table read in full, independently of the one-record query.
struct AdapterTable {
    ULONG needed = 0; // bytes the whole table takes
    std::vector<IP_ADAPTER_INFO> adapters;
};

AdapterTable ReadAdapterTable()
{
    AdapterTable table;
    if (::GetAdaptersInfo(nullptr, &table.needed) != ERROR_BUFFER_OVERFLOW)
        return table;
    std::vector<IP_ADAPTER_INFO> buffer(table.needed / sizeof(IP_ADAPTER_INFO) + 1);
    ULONG size = static_cast<ULONG>(buffer.size() * sizeof(IP_ADAPTER_INFO));
    if (::GetAdaptersInfo(buffer.data(), &size) != ERROR_SUCCESS)
        return table;
    for (const IP_ADAPTER_INFO* a = buffer.data(); a; a = a->Next)
        table.adapters.push_back(*a);
    return table;
}

TEST(OSQueriesWinTest, AdapterAddressConsistentWithTable)
{
    const AdapterTable table = ReadAdapterTable();
    Orn::Byte address[6] = {1, 2, 3, 4, 5, 6};
    const bool got = Orn::GetAdapterAddress(address);
    SCOPED_TRACE("adapters: " + std::to_string(table.adapters.size()) + ", bytes: " + std::to_string(table.needed));
    if (got) {
        // Only a single record fits.
        ASSERT_EQ(1u, table.adapters.size());
        EXPECT_EQ(0, std::memcmp(table.adapters[0].Address, address, 6));
    } else {
        // A single adapter with a single record's worth of data must be readable.
        EXPECT_FALSE(table.adapters.size() == 1 && table.needed <= sizeof(IP_ADAPTER_INFO));
        const Orn::Byte zeros[6] = {};
        EXPECT_EQ(0, std::memcmp(zeros, address, 6));
    }
}

TEST(OSQueriesWinTest, SystemDriveDevice)
{
    char device[MAX_PATH + 1] = "";
    ASSERT_NE(0u, ::QueryDosDeviceA("C:", device, sizeof(device)));
    char out[MAX_PATH + 1];
    ASSERT_TRUE(Orn::IsDevicePath(device)) << device;
    const std::string in = std::string(device) + "\\windows\\notepad.exe";
    EXPECT_TRUE(Orn::DevicePathToDrivePath(in.c_str(), out, sizeof(out))) << in;
    // An earlier letter may name the same volume.
    EXPECT_STREQ(":\\windows\\notepad.exe", out + 1) << in;
    OrnTest::AssertRecorder rec;
    EXPECT_FALSE(Orn::DevicePathToDrivePath("\\Device\\NoSuchVolume7\\x.exe", out, sizeof(out)));
    EXPECT_STREQ("", out);
    EXPECT_NO_ASSERTS(rec);
}

} // namespace
