// The crash handler: on an unhandled exception it writes a minidump and tells the user where it is.
#pragma once

#include <windows.h>
#include <dbghelp.h>

#include "Path.h"
#include "Platform.h"
#include "String.h"

namespace Orn {

// At most one per process. The filter is installed only when no debugger is attached, so that a debugger
// sees the crash itself.
class CCrashHandler {
public:
    using WriteDumpFunc = BOOL(WINAPI*)(HANDLE, DWORD, HANDLE, MINIDUMP_TYPE, PMINIDUMP_EXCEPTION_INFORMATION,
                                        PMINIDUMP_USER_STREAM_INFORMATION, PMINIDUMP_CALLBACK_INFORMATION);

    // prefix: the first part of the dump file names.
    explicit CCrashHandler(const char* prefix);
    ~CCrashHandler();
    CCrashHandler(const CCrashHandler&) = delete;
    CCrashHandler& operator=(const CCrashHandler&) = delete;

    // "[TempDir]/VRLCrashes/<prefix>_<version>_<yymmdd>_<index>.dmp" resolved; false when it cannot be.
    static bool GetCrashDumpPath(const char* prefix, Int index, CPath& path);
    // Creates the file, with any missing directories, and writes this process's dump into it.
    static bool WriteDump(EXCEPTION_POINTERS* info, const CPath& path, WriteDumpFunc writeDump);
    // Tells the user what went wrong and where the dump is.
    static void ShowCrashMessage(bool written, const CPath& dumpPath, const char* reason);
    // Dumps, tells, and ends the process with status 0.
    static LONG WINAPI UnhandledExceptionFilter(EXCEPTION_POINTERS* info);

private:
    // The first index whose dump file does not exist yet.
    bool FreeDumpPath(CPath& path) const;

    CString mPrefix;
    bool mInstalled = false;
    LPTOP_LEVEL_EXCEPTION_FILTER mPreviousFilter = nullptr;
};

} // namespace Orn
