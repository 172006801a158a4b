// The crash handler: dump file names, the minidump, the message to the user, and the filter that ties them.
#include "CrashHandler_Win.h"

#include <climits>
#include <memory>

#include "Application.h"
#include "Debug.h"
#include "DynamicLibrary_Win.h"
#include "FileStream.h"
#include "FileSystem.h"
#include "Time.h"
#include "Version.h"

namespace Orn {

namespace {

CCrashHandler* cCrashHandler = nullptr;
std::unique_ptr<CDynamicLibrary> cImportLib;
// Set while the filter runs: a fault inside it must not start it again.
bool cInFilter = false;

const char* const cSupportEmail = "support@vantrel.com";
const char* const cSupportPhone = "+1 (555) 010-2674";

CString ProgramFile()
{
    char name[MAX_PATH + 1] = {0};
    ::GetModuleFileNameA(nullptr, name, MAX_PATH);
    return name;
}

// The product version in its display form, which holds nothing a file name cannot.
CString VersionText()
{
    CFileVersionInfo fvi;
    CString text;
    if (CVersion::GetVersionInfo(ProgramFile(), fvi) && fvi.mProductVersion.IsValid())
        fvi.mProductVersion.Format(text);
    return text.IsEmpty() ? CString("xxxx") : text;
}

// The application's name, or the program file's name when there is no application.
CString AppName()
{
    CApplication* app = CApplication::Get();
    if (app && !app->Name().IsEmpty())
        return app->Name();
    CPath file(ProgramFile());
    CString name = file.FileName();
    Int extension = file.Extension().Length();
    return extension > 0 ? name.Mid(0, name.Length() - extension - 1) : name;
}

} // namespace

CCrashHandler::CCrashHandler(const char* prefix) : mPrefix(prefix ? prefix : "")
{
    ORN_ASSERT(! cCrashHandler);
    if (cCrashHandler)
        return;
    cCrashHandler = this;
    ORN_ASSERT(! cImportLib);
    if (!cImportLib) {
        cImportLib = std::make_unique<CDynamicLibrary>();
        RStatus stat = cImportLib->Load("dbghelp.dll");
        ORN_ASSERT(Succeeded(stat));
    }
    if (::IsDebuggerPresent())
        return;
    ORN_ASSERT(prefix);
    mPreviousFilter = ::SetUnhandledExceptionFilter(&CCrashHandler::UnhandledExceptionFilter);
    // The call reports no failure; reading the filter back shows whether it took.
    LPTOP_LEVEL_EXCEPTION_FILTER exFilter = ::SetUnhandledExceptionFilter(&CCrashHandler::UnhandledExceptionFilter);
    ORN_ASSERT(exFilter != 0);
    mInstalled = true;
}

CCrashHandler::~CCrashHandler()
{
    if (cCrashHandler != this)
        return;
    if (mInstalled)
        ::SetUnhandledExceptionFilter(mPreviousFilter);
    cImportLib.reset();
    cCrashHandler = nullptr;
}

bool CCrashHandler::GetCrashDumpPath(const char* prefix, Int index, CPath& path)
{
    ORN_ASSERT(prefix);
    if (!prefix)
        return false;
    CTime now = CTime::Now();
    CString dateStr;
    if (!now.Format("%y%m%d", dateStr))
        ORN_ASSERT_MSG("now.Format(\"%y%m%d\",dateStr)");
    CString text;
    text.Format("[TempDir]/VRLCrashes/%s_%s_%s_%d.dmp", prefix, VersionText().Chars(), dateStr.Chars(), index);
    return CLocalFileSystem::Get().ResolvePath(text, path).Succeeded();
}

bool CCrashHandler::FreeDumpPath(CPath& path) const
{
    for (Int index = 0; index < INT_MAX; ++index) {
        if (!GetCrashDumpPath(mPrefix, index, path)) {
            ORN_ASSERT_MSG("GetCrashDumpPath(cCrashHandler->mPrefix,index,crashDumpPath)");
            return false;
        }
        // Anything the file system cannot see counts as free, so a broken directory cannot hold the loop.
        if (CLocalFileSystem::Get().GetEntryKind(path).Failed())
            return true;
    }
    return false;
}

bool CCrashHandler::WriteDump(EXCEPTION_POINTERS* info, const CPath& path, WriteDumpFunc writeDump)
{
    if (!writeDump) {
        ORN_ASSERT_MSG("WriteDumpFunc");
        return false;
    }
    CFileStream file(path.Chars(), smWrite | fsmCreate | fsmCreateFullPath);
    if (!file.IsOpen())
        return false;
    MINIDUMP_EXCEPTION_INFORMATION exInfo;
    exInfo.ThreadId = ::GetCurrentThreadId();
    exInfo.ExceptionPointers = info;
    exInfo.ClientPointers = FALSE; // the pointers belong to this process
    HANDLE handle = reinterpret_cast<HANDLE>(file.NativeHandle());
    return writeDump(::GetCurrentProcess(), ::GetCurrentProcessId(), handle, MiniDumpNormal, &exInfo, nullptr,
                     nullptr) != FALSE;
}

void CCrashHandler::ShowCrashMessage(bool written, const CPath& dumpPath, const char* reason)
{
    CString name = AppName();
    CString msg;
    msg.Format("%s has encountered a problem and needs to close.\nWe are sorry for for any inconvenience.\n\n"
               "Problem: %s\nCrash dump file: %s\n\nPlease report this error to Vantrel technical\n"
               "support and supply the above information.\n\n",
               name.Chars(), reason ? reason : "", written ? dumpPath.Chars() : "not written");
    CString contact;
    contact.Format("Email: %s\nPhone: %s\n", cSupportEmail, cSupportPhone);
    msg.Append(contact);
    CString title;
    title.Format("%s Error", name.Chars());
    ::MessageBoxA(nullptr, msg, title, MB_OK | MB_ICONEXCLAMATION | MB_SYSTEMMODAL);
}

LONG WINAPI CCrashHandler::UnhandledExceptionFilter(EXCEPTION_POINTERS* info)
{
    // A second fault while this one is handled goes to the system's own handling.
    if (cInFilter || !cCrashHandler)
        return EXCEPTION_CONTINUE_SEARCH;
    cInFilter = true;
    DWORD code = info && info->ExceptionRecord ? info->ExceptionRecord->ExceptionCode : 0;
    CString reason;
    if (code == 1)
        reason = LastAssertionText();
    else
        reason.Format("Exception = 0x%08lX.", static_cast<unsigned long>(code));
    CPath dumpPath;
    bool written = false;
    auto writeDump = cImportLib ? cImportLib->Find<WriteDumpFunc>("MiniDumpWriteDump") : nullptr;
    if (writeDump && cCrashHandler->FreeDumpPath(dumpPath))
        written = WriteDump(info, dumpPath, writeDump);
    ShowCrashMessage(written, dumpPath, reason);
    ::TerminateProcess(::GetCurrentProcess(), 0);
    return EXCEPTION_EXECUTE_HANDLER;
}

} // namespace Orn
