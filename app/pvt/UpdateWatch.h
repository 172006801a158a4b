// The UpdateWatch application: one version check (or a tester's job) from defaults to exit code.
#pragma once

#include <memory>

#include "Application.h"
#include "LogStream.h"
#include "Path.h"
#include "String.h"
#include "VarList.h"
#include "Version.h"

// Exit codes; their names are what the log prints.
enum ExitCode : Orn::Int { exitOk = 0, exitFailure = 1, exitBadCmdLine = 2, exitBadUpdateWatch = 3 };

// "exitOk" ... "exitBadUpdateWatch"; any other value asserts and gives "(unknown)".
const char* ExitCodeName(Orn::Int code);

class CUpdateWatchApp : public Orn::CGUIApplication {
public:
    CUpdateWatchApp();
    ~CUpdateWatchApp() override;

    static CUpdateWatchApp* Get();

    bool GetConfigPath(Orn::CString& path) override;
    // Runs the whole job; always false, the outcome is in the exit code.
    bool Run(Orn::Int showState) override;

    // Step logging: counts failures and writes "Success: ..." / "Failure: ..." lines.
    bool StepResult(bool ok, const char* msg, bool quietOnSuccess = false);
    bool StatusStepResult(Orn::RStatus status, const char* msg, bool quietOnSuccess = false);
    // Shows a message box, or only logs it when dialogs are suppressed.
    void MessageDialog(const char* text, Orn::DWord style);
    // printf-style text into the log, if one is open; only for texts of bounded length.
    void LogFormat(const char* format, ...) ORN_PRINTF(2, 3);
    // Texts written as they are, one after the other, whatever their length.
    void LogText(const char* text, const char* more = "", const char* end = "");
    // A text of any length kept on the current line: its line ends and tabs are written as \r, \n and \t.
    void LogInline(const char* text);
    // The line that tells that a text was cut at a substitution bound; what names the text.
    void LogCut(const char* what);
    // The open log, or null.
    Orn::CStream* Log() const;

    bool SuppressDialogs() const { return mSuppressDialogs; }
    bool Verbose() const { return mVerbose; }
    bool SingleStep() const { return mSingleStep; }
    const Orn::CVersion& OwnProductVersion() const { return mOwnProductVersion; }
    const Orn::CVersion& InstalledVersion() const { return mInstalledVersion; }

private:
    void SetDefaults();
    Orn::RStatus ReadConfiguration();
    void LoadRegistryValues();
    // Reads the options; false when no job option was found.
    bool ReadOptions(Orn::CString& jobOption, Orn::CString& jobValue);
    void CrashIfAsked();
    // The exit code only moves away from exitOk.
    void SetExitCode(ExitCode code);

    bool OpenLog(const char* filename, bool fixedName);
    // Writes the trailer and deletes the log; copies the file to copyToDir when one is given.
    void CloseLog(const Orn::CPath* copyToDir = nullptr);
    // Stock-taking before the job; false when the job must be skipped.
    bool TakeStock();
    bool GetOwnVersion();
    bool InitInstallationDirectories();
    // The product version text without the blank that stood before its build date; only the log line is
    // trimmed, ProductVersion keeps the text as the version resource gives it.
    static void DropTrailingBlanks(Orn::CString& text);
    void CheckInstalledProduct();

    // The jobs, after their job option; each reads its own further options.
    void VersionCheckJob(const Orn::CString& appVarsText);
    void ScriptJob(const Orn::CString& path);
    void VersionSendJob(const Orn::CString& paramsPath);

    // Runs a reply script with the product interpreter; logged as the step "run script".
    bool RunScript(const char* script, Orn::CVarList& replyVars);
    // Makes the request and receives the reply script; logged as the step "Do version check".
    bool DoVersionCheck(const Orn::CVarList& appVars, const Orn::CVarList* overrideVars, Orn::CString& replyPage,
                        bool overrideOnly);
    void LogURLInfo(const Orn::CString& url);
    // Request, reply script and storing the reply under "UWResult".
    bool CheckWithAppVars(const char* appVarsText, const char* overrideText);
    bool StoreReply(const Orn::CVarList& replyVars);
    void RunScriptFile(const char* path);
    bool ReadParamFile(const char* path, Orn::CVarList& params);
    bool CheckFromParamFile(const char* path, Orn::CString& replyPage, bool run);

    Orn::CPath mLogFilePath;
    Orn::CPath mInstallSourceFolder;
    Orn::Int mErrorCount = 0;
    bool mSuppressDialogs = false;
    bool mVerbose = false;
    bool mSpare1 = false;
    bool mSpare2 = false;
    Orn::CVersion mOwnProductVersion;
    Orn::CString mOwnProductVersionText;
    Orn::CVersion mInstalledVersion;
    Orn::CPath mServerPath;
    bool mSingleStep = false;
    // What the last check vouches for about its reply: signed (and verified), fetched over https.
    bool mReplySigned = false;
    bool mReplyOverHttps = false;
    std::unique_ptr<CLogStream> mLog;
};
