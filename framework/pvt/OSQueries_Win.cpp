// Windows half of the operating-system queries.
#include <windows.h>
#include <iphlpapi.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "Debug.h"
#include "DynamicLibrary_Win.h"
#include "Handle_Win.h"
#include "OSQueries.h"

namespace Orn {

namespace {

// MAX_PATH and its terminator.
const DWORD cExePathSize = 261;

} // namespace

// The process-status library, loaded on first use and kept until exit. Either entry point may be missing
// on old systems.
class CPSApiLibrary {
public:
    using GetModuleFileNameExFunc = DWORD(WINAPI*)(HANDLE, HMODULE, LPSTR, DWORD);
    using GetProcessImageFileNameFunc = DWORD(WINAPI*)(HANDLE, LPSTR, DWORD);

    // The one instance, loaded now if it was not yet; null (after the assertion) when the library is missing.
    static const CPSApiLibrary* Get()
    {
        static CPSApiLibrary library;
        if (!library.mLib.IsLoaded() && !library.Load()) {
            ORN_ASSERT_MSG("Can't load PSApi.dll.");
            return nullptr;
        }
        return &library;
    }

    GetModuleFileNameExFunc GetModuleFileNameEx() const { return mGetModuleFileNameEx; }
    GetProcessImageFileNameFunc GetProcessImageFileName() const { return mGetProcessImageFileName; }

private:
    bool Load()
    {
        (void)mLib.Load("PSApi.dll");
        mGetModuleFileNameEx = mLib.Find<GetModuleFileNameExFunc>("GetModuleFileNameExA");
        mGetProcessImageFileName = mLib.Find<GetProcessImageFileNameFunc>("GetProcessImageFileNameA");
        return mLib.IsLoaded();
    }

    CDynamicLibrary mLib;
    GetModuleFileNameExFunc mGetModuleFileNameEx = nullptr;
    GetProcessImageFileNameFunc mGetProcessImageFileName = nullptr;
};

namespace {

static_assert(sizeof(OSVERSIONINFOA) == 148, "the version structure without the service-pack fields");

bool QueryVersion(OSVERSIONINFOA& osVerInfo)
{
    std::memset(&osVerInfo, 0, sizeof(osVerInfo));
    osVerInfo.dwOSVersionInfoSize = sizeof(osVerInfo);
    return ::GetVersionExA(&osVerInfo) != 0;
}

// Windows 95, 98 and Me by their minor version.
Int WindowsFamilyCode(DWORD minorVersion)
{
    if (minorVersion == 0)
        return 1;
    return minorVersion == 10 ? 2 : 3;
}

// One ISO name of a locale; false when the locale has none.
bool GetLocaleText(LCID locale, LCTYPE type, CString& text)
{
    char buf[16];
    if (::GetLocaleInfoA(locale, type, buf, sizeof(buf)) <= 1)
        return false;
    text = buf;
    return true;
}

bool WidenInPlace(char* path)
{
    DWORD len = ::GetLongPathNameA(path, path, cExePathSize);
    return len > 0 && len < cExePathSize;
}

// The image file of a process that this one can't read, as a drive path when the system gives a device path.
bool ImageFilePath(const CPSApiLibrary& psApi, HANDLE process, char* path)
{
    if (!psApi.GetProcessImageFileName()) {
        ORN_ASSERT_MSG("PSApi.dll doesn't contain GetProcessImageFileName().");
        return false;
    }
    if (psApi.GetProcessImageFileName()(process, path, cExePathSize) == 0)
        return false;
    return !IsDevicePath(path) || DevicePathToDrivePath(path, path, cExePathSize);
}

// The process's main module in long form. A 32-bit process can't read a 64-bit one's modules
// (ERROR_PARTIAL_COPY); its image file name is the way then.
bool ProcessExePath(const CPSApiLibrary& psApi, HANDLE process, char* path)
{
    DWORD error = ERROR_PROC_NOT_FOUND;
    if (psApi.GetModuleFileNameEx()) {
        if (psApi.GetModuleFileNameEx()(process, nullptr, path, cExePathSize) != 0)
            return WidenInPlace(path);
        error = ::GetLastError();
    }
    return error == ERROR_PARTIAL_COPY && ImageFilePath(psApi, process, path);
}

bool QueryDriveDevice(char drive, CString& device, void*)
{
    const char driveName[3] = {drive, ':', '\0'};
    char buf[cExePathSize];
    // The first of the names that come back is the one in use.
    if (::QueryDosDeviceA(driveName, buf, cExePathSize) == 0)
        return false;
    device = buf;
    return true;
}

// Room for one adapter record only, on purpose. 648 bytes is the 32-bit record with a 64-bit time_t, as the
// platform's own headers lay it out (this compiler's 32-bit time_t makes it 640); the 64-bit record is 704.
constexpr size_t cAdapterBufferSize = std::max<size_t>(648, sizeof(IP_ADAPTER_INFO));

} // namespace

void GetOSVersion(Int& first, Int& second, Int& third)
{
    first = second = third = 0;
    OSVERSIONINFOA osVerInfo;
    if (!QueryVersion(osVerInfo)) {
        ORN_ASSERT_MSG("::GetVersionExA(&osVerInfo)");
        return;
    }
    if (osVerInfo.dwPlatformId == VER_PLATFORM_WIN32_WINDOWS) {
        first = WindowsFamilyCode(osVerInfo.dwMinorVersion);
    } else if (osVerInfo.dwPlatformId == VER_PLATFORM_WIN32_NT) {
        ORN_ASSERT(osVerInfo.dwMajorVersion<=INT_MAX);
        ORN_ASSERT(osVerInfo.dwMinorVersion<=INT_MAX);
        first = static_cast<Int>(osVerInfo.dwMajorVersion);
        second = static_cast<Int>(osVerInfo.dwMinorVersion);
    }
}

bool IsNTFamily()
{
    OSVERSIONINFOA osVerInfo;
    return QueryVersion(osVerInfo) && osVerInfo.dwPlatformId == VER_PLATFORM_WIN32_NT;
}

bool Is64BitWindows()
{
    if constexpr (sizeof(void*) == 8) {
        // A 64-bit program runs on 64-bit Windows only.
        return true;
    } else {
        using IsWow64ProcessFunc = BOOL(WINAPI*)(HANDLE, PBOOL);
        // Looked up: older 32-bit systems lack it, and they are 32-bit systems.
        auto isWow64Process = LookUpExport<IsWow64ProcessFunc>(::GetModuleHandleA("kernel32"), "IsWow64Process");
        BOOL isWow64 = FALSE;
        return isWow64Process && isWow64Process(::GetCurrentProcess(), &isWow64) && isWow64;
    }
}

bool GetOSLanguageName(CString& name)
{
    name.Empty();
    const LCID locale = MAKELCID(::GetUserDefaultUILanguage(), SORT_DEFAULT);
    CString language;
    if (!GetLocaleText(locale, LOCALE_SISO639LANGNAME, language))
        return false;
    name = language;
    CString country;
    if (GetLocaleText(locale, LOCALE_SISO3166CTRYNAME, country)) {
        name.AppendChar('-');
        name.Append(country);
    }
    return true;
}

bool GetWindowProcessId(void* window, DWord& processId)
{
    processId = 0;
    HWND win = static_cast<HWND>(window);
    ORN_ASSERT(::IsWindow(win));
    DWORD id = 0;
    if (::GetWindowThreadProcessId(win, &id) == 0)
        return false;
    processId = id;
    return true;
}

bool GetWindowProcessExe(void* win, CString& path)
{
    path.Empty();
    DWord processId = 0;
    if (!GetWindowProcessId(win, processId))
        return false;
    CKernelHandle process(::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
    if (!process.IsValid()) {
        ORN_ASSERT_MSG("OpenProcess() failed.");
        return false;
    }
    const CPSApiLibrary* psApi = CPSApiLibrary::Get();
    char buf[cExePathSize];
    if (!psApi || !ProcessExePath(*psApi, process.Get(), buf))
        return false;
    path = buf;
    return true;
}

bool DevicePathToDrivePath(const char* inPath, char* outPath, Int outPathLen)
{
    return DevicePathToDrivePath(inPath, outPath, outPathLen, QueryDriveDevice, nullptr);
}

bool GetAdapterAddress(Byte address[6])
{
    ORN_ASSERT(address);
    if (!address)
        return false;
    std::memset(address, 0, 6);
    alignas(IP_ADAPTER_INFO) Byte buffer[cAdapterBufferSize];
    auto* info = reinterpret_cast<IP_ADAPTER_INFO*>(buffer);
    ULONG size = sizeof(buffer);
    if (::GetAdaptersInfo(info, &size) != ERROR_SUCCESS)
        return false;
    std::memcpy(address, info->Address, 6);
    return true;
}

} // namespace Orn
