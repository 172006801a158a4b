// The application's log: opening and closing it, step results, message dialogs.
#include <windows.h>

#include <new>

#include "Debug.h"
#include "FileSystem.h"
#include "Time.h"
#include "UpdateWatch.h"
#include "VarList.h"

using namespace Orn;

CStream* CUpdateWatchApp::Log() const { return mLog && mLog->IsOpen() ? mLog.get() : nullptr; }

void CUpdateWatchApp::LogFormat(const char* format, ...)
{
    CStream* log = Log();
    if (!log)
        return;
    va_list args;
    va_start(args, format);
    log->VWriteFormat(format, args);
    va_end(args);
}

void CUpdateWatchApp::LogText(const char* text, const char* more, const char* end)
{
    CStream* log = Log();
    if (log && log->WriteText(text) && log->WriteText(more))
        log->WriteText(end);
}

void CUpdateWatchApp::LogInline(const char* text)
{
    CString line;
    for (const char* p = text; *p; ++p) {
        char c = *p;
        char escaped = c == '\n' ? 'n' : (c == '\r' ? 'r' : (c == '\t' ? 't' : 0));
        if (escaped) {
            line.AppendChar('\\');
            c = escaped;
        }
        line.AppendChar(c);
    }
    LogText(line);
}

void CUpdateWatchApp::LogCut(const char* what) { LogText("Text cut short at a substitution bound: ", what, ".\n"); }

bool CUpdateWatchApp::OpenLog(const char* filename, bool fixedName)
{
    CloseLog();
    mLog.reset(new (std::nothrow) CLogStream(filename, fixedName));
    if (!mLog)
        ORN_ASSERT_MSG("LogStream");
    if (!Log())
        return false;
    CString now;
    CTime::Now().Format("%c", now);
    LogFormat("Nimbra log started (%s).\n\n", now.Chars());
    mLogFilePath = mLog->FilePath();
    return true;
}

void CUpdateWatchApp::CloseLog(const CPath* copyToDir)
{
    if (!mLog)
        return;
    if (CStream* log = Log()) {
        if (mVerbose) {
            CLogSection section(log, "Dumping global variables");
            GlobalVars.WriteDump(*log);
        }
        LogFormat("Exit code = '%s' (%d).\n", ExitCodeName(GetExitStatus()), GetExitStatus());
        LogFormat("\nNimbra log ends (error count = %d).\n", mErrorCount);
    }
    mLog.reset();
    if (!copyToDir)
        return;
    ORN_ASSERT(copyToDir->IsValid());
    CLocalFileSystem& fs = CLocalFileSystem::Get();
    CPath copy = *copyToDir;
    if (copy.Append(mLogFilePath.FileName()).Succeeded() && fs.GetEntryKind(mLogFilePath) == S_FSIsFile)
        (void)fs.CopyFile(mLogFilePath, copy);
}

bool CUpdateWatchApp::StepResult(bool ok, const char* msg, bool quietOnSuccess)
{
    if (!ok)
        ++mErrorCount;
    if (!(ok && quietOnSuccess))
        LogFormat(ok ? "Success: %s\n" : "Failure: %s\n", msg);
    return ok;
}

bool CUpdateWatchApp::StatusStepResult(RStatus status, const char* msg, bool quietOnSuccess)
{
    bool ok = status.Succeeded();
    if (!ok)
        ++mErrorCount;
    if (!(ok && quietOnSuccess))
        LogFormat(ok ? "Success (%s, 0x%08lX): %s\n" : "Failure (%s, 0x%08lX): %s\n", status.Name(),
                  static_cast<unsigned long>(status.Word()), msg);
    return ok;
}

void CUpdateWatchApp::MessageDialog(const char* text, DWord style)
{
    if (mSuppressDialogs) {
        LogText("MessageDialog (suppressed due to -s option):\n", text, "\n");
        return;
    }
    LogText("MessageDialog: displayed\n", text, "\n");
    ::MessageBoxA(nullptr, text, "UpdateWatch", style);
}
