// Loading a system library at run time, from the system folder only.
#include "DynamicLibrary_Win.h"

#include "String.h"

namespace Orn {

namespace {

// Without the search flags (Windows before the 2011 loader update) the flag is refused, and a full path keeps
// every other folder out of the search just as well.
HMODULE LoadFromSystemFolder(const char* name)
{
    HMODULE lib = ::LoadLibraryExA(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    if (lib || ::GetLastError() != ERROR_INVALID_PARAMETER)
        return lib;
    char folder[MAX_PATH];
    UINT length = ::GetSystemDirectoryA(folder, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return nullptr;
    CString path(folder);
    path.AppendChar('\\');
    path.Append(name);
    return ::LoadLibraryA(path);
}

} // namespace

RStatus CDynamicLibrary::Load(const char* name)
{
    HMODULE lib = LoadFromSystemFolder(name);
    // Read before releasing any earlier library can change the thread's last error.
    RStatus status = lib ? Ok : LastOSErrorStatus();
    mLib.Reset(lib);
    return status;
}

} // namespace Orn
