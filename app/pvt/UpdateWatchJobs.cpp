// The three jobs: the version check, a local script run, and a version send from a parameter file.
#include <windows.h>

#include "Debug.h"
#include "Escape.h"
#include "FileStream.h"
#include "Format.h"
#include "RegKey.h"
#include "UpdateWatch.h"
#include "UpdateWatcher.h"
#include "VersionRequest.h"
#include "VarList.h"
#include "VersionScript.h"

using namespace Orn;

namespace {

// The usage counters and facts that the product may send besides the core parameters.
const char* const cAppVarNames[] = {
    "EqAction", "EqBrailleLang", "EqContent", "EqDisabilityTarget", "EqElemMath", "EqHiNode", "EqLang",
    "EqLineBreak", "EqMTEF", "EqMaxNode", "EqRTL", "EqSpeak", "EqSpeechStyle", "EqSubjectArea", "EqTotal", "IEJVM",
    "IEVer", "MathZoom", "MenuAction", "MenuSpeak", "MenuTotal", "NoTTS", "Notify", "Pages1252", "PagesHiEq",
    "PagesHTML4", "PagesHTML5", "PagesLocal", "PagesMathJax", "PagesMathJaxAndNB", "PagesMaxEq", "PagesPrinted",
    "PagesTotal", "PagesUTF16", "PagesUTF8", "PagesXHTML", "PagesXML", "SunJVMVer", nullptr,
};

const char* const cProductKey = "HKEY_CURRENT_USER\\SOFTWARE\\Vantrel\\VRNB3";
const Int cTimeoutSeconds = 30;

void DumpSection(CStream* log, const char* name, const CVarList& vars)
{
    if (!log)
        return;
    CLogSection section(log, name);
    vars.WriteDump(*log);
}

// A refused certificate, an unknown scheme or a refused signed reply is also said in plain words, and which key
// signed a reply that passed, for a vendor that is changing keys.
void LogCheckCause(CUpdateWatchApp& app, RStatus status, const CUpdateWatcher& watcher)
{
    const char* cause = CertificateFailureCause(status);
    const char* scheme = GlobalVars.Find("VersionScheme");
    if (cause)
        app.LogFormat("The version server's certificate was refused: %s.\n", cause);
    else if (status == E_InternetBadScheme)
        app.LogText("Unknown VersionScheme (", scheme ? scheme : "", "): only \"http\" and \"https\" are known.\n");
    else if (watcher.ReplyCheck() != rcSigned)
        app.LogText("Signed reply check failed: ", ReplyCheckText(watcher.ReplyCheck()), ".\n");
    else if (watcher.IsVerifiedReply())
        app.LogFormat("Signed reply check passed: signed with key %d of %d.\n", watcher.ReplyKeyIndex() + 1,
                      watcher.ReplyKeyCount());
}

// A message around a path from the command line, which may be longer than a formatted text can be.
CString Named(const char* before, const char* path, const char* after)
{
    CString text(before);
    text.Append(path);
    text.Append(after);
    return text;
}

} // namespace

bool CUpdateWatchApp::RunScript(const char* script, CVarList& replyVars)
{
    CNBVersionScriptInterpreter interpreter(mSingleStep);
    // Only a reply that a check vouches for may install; a local script file never does.
    interpreter.SetReplyTrust(mReplySigned, mReplyOverHttps);
    return StepResult(interpreter.Run(script, &replyVars), "run script");
}

void CUpdateWatchApp::LogURLInfo(const CString& url)
{
    CLogSection section(Log(), "URL info");
    CString unescaped;
    UnescapeURL(unescaped, url);
    CFormat info("URL = \"<URL>\".\nURL length = <LEN>.\nURL (unescaped) = \"<URL_ESC>\".\n", nullptr, fmtNoGlobals);
    info.Item("URL", url.Chars());
    info.Item("LEN", url.Length());
    info.Item("URL_ESC", unescaped.Chars());
    LogText(info);
    if (info.WasCut())
        LogCut("URL info");
}

bool CUpdateWatchApp::DoVersionCheck(const CVarList& appVars, const CVarList* overrideVars, CString& replyPage,
                                     bool overrideOnly)
{
    if (mVerbose) {
        DumpSection(Log(), "Dump of app-specific version request parameters", appVars);
        if (overrideVars)
            DumpSection(Log(), "Dump of override version request parameters", *overrideVars);
    }
    CUpdateWatcher watcher(cAppVarNames);
    RStatus status;
    CString url;
    // Deliberately the program's own product version (the version it installs), not the installed one.
    (void)watcher.CheckWithTimeout(status, true, "NBW", mOwnProductVersion, "EN", appVars, replyPage, url,
                                   overrideVars, overrideOnly, cTimeoutSeconds);
    bool ok = StatusStepResult(status, "Do version check");
    mReplySigned = ok && watcher.IsVerifiedReply();
    mReplyOverHttps = ok && watcher.Request().secure;
    LogCheckCause(*this, status, watcher);
    if (mVerbose) {
        LogURLInfo(url);
        if (ok) {
            CLogSection section(Log(), "Script");
            LogText(replyPage);
        }
    }
    return ok;
}

bool CUpdateWatchApp::StoreReply(const CVarList& replyVars)
{
    CRegKey productKey, resultKey;
    // Created, not only opened, so that a machine without the installed product's key keeps its reply too.
    if (!productKey.OpenRooted(cProductKey, CRegKey::regCreate))
        return false;
    (void)productKey.DeleteKey("UWResult"); // absent the first time
    if (!resultKey.OpenRelative(productKey, "UWResult", CRegKey::regCreate))
        return false;
    struct Writer : CVarList::CVisitor {
        CRegKey& key;
        explicit Writer(CRegKey& k) : key(k) {}
        bool Visit(const char* name, const char* value) override { return key.SetString(name, value); }
    } writer(resultKey);
    return replyVars.Visit(writer);
}

bool CUpdateWatchApp::CheckWithAppVars(const char* appVarsText, const char* overrideText)
{
    CVarList appVars;
    appVars.ParseQuery(appVarsText, false);
    CString notify;
    if (GlobalVars.GetValue("Notify", notify))
        appVars.Set("Notify", notify);
    CVarList overrides;
    if (overrideText)
        overrides.ParseQuery(overrideText, false);
    CString reply;
    if (!DoVersionCheck(appVars, overrideText ? &overrides : nullptr, reply, false))
        return false;
    CVarList replyVars;
    if (!RunScript(reply, replyVars))
        return false;
    // The script has run and the check has done its work: a failed store is logged, not a failed check.
    StepResult(StoreReply(replyVars), "Store reply variables", true);
    return true;
}

void CUpdateWatchApp::RunScriptFile(const char* path)
{
    CFileStream file(path, smRead | smText);
    if (!file.IsOpen()) {
        MessageDialog(Named("Can't open script file (", path, ").\n"), MB_OK);
        return;
    }
    CString script;
    file.ReadAll(script);
    if (script.IsEmpty()) {
        MessageDialog("can't read script.", MB_OK);
        return;
    }
    CVarList replyVars;
    if (RunScript(script, replyVars))
        DumpSection(Log(), "Dumping reply variables", replyVars);
}

bool CUpdateWatchApp::ReadParamFile(const char* path, CVarList& params)
{
    CFileStream file(path, smRead | smText);
    if (!file.IsOpen())
        return false;
    CString line;
    while (file.ReadLine(line)) {
        Int eq = line.Find("=");
        if (eq >= 1)
            params.Set(line.Mid(0, eq), line.Chars() + eq + 1);
    }
    return true;
}

bool CUpdateWatchApp::CheckFromParamFile(const char* path, CString& replyPage, bool run)
{
    CVarList params;
    if (!ReadParamFile(path, params)) {
        MessageDialog(Named("Can't open version params file (", path, ").\n"), MB_OK);
        return false;
    }
    if (!DoVersionCheck(params, nullptr, replyPage, true))
        return false;
    if (!run)
        return true;
    CVarList replyVars;
    if (!RunScript(replyPage, replyVars))
        return false;
    DumpSection(Log(), "Dumping variables set by version script", replyVars);
    return true;
}

void CUpdateWatchApp::VersionCheckJob(const CString& appVarsText)
{
    mSingleStep = TestOption("step");
    CString overrides;
    bool haveOverrides = TestOptionValue("over", overrides);
    bool ok = CheckWithAppVars(appVarsText, haveOverrides ? overrides.Chars() : nullptr);
    if (!StepResult(ok, "Version check"))
        SetExitCode(exitBadUpdateWatch);
}

void CUpdateWatchApp::ScriptJob(const CString& path)
{
    mSingleStep = TestOption("step");
    RunScriptFile(path);
}

void CUpdateWatchApp::VersionSendJob(const CString& paramsPath)
{
    CString outPath;
    bool haveOut = TestOptionValue("out", outPath);
    bool norun = TestOption("norun");
    if (!norun)
        mSingleStep = TestOption("step");
    CString reply;
    bool ok = CheckFromParamFile(paramsPath, reply, !norun);
    if (!StepResult(ok, "Version send")) {
        SetExitCode(exitBadUpdateWatch);
        return;
    }
    if (!haveOut)
        return;
    CFileStream out(outPath, smWrite | smText | fsmCreate);
    if (out.IsOpen())
        out.WriteText(reply);
}
