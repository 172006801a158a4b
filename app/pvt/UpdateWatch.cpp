// The run of UpdateWatch: defaults, configuration, registry, single-instance test, options, log, stock-taking,
// job and exit code.
#include "UpdateWatch.h"

#include <windows.h>

#include <initializer_list>

#include "Debug.h"
#include "FileSystem.h"
#include "NamedMutex_Win.h"
#include "RegKey.h"
#include "VarList.h"

using namespace Orn;

namespace {

// Made before the entry runs, so a second instance is known before anything else happens.
CNamedMutex cInstanceMutex("VRL:UpdateWatch");

// Stays null: storing through it is the program's deliberate crash, used to exercise crash handling.
int* volatile cCrashSwitch = nullptr;

const char* const cVersionDomain = "versioncheck.vantrel.com";
const char* const cVRLWebSite = "www.vantrel.com";
const char* const cLogFileName = "Nimbra Version Check.log";

// Later keys win: machine-wide before per-user, company before product.
const char* const cSettingsKeys[] = {
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel",
    "HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel\\VRNB3",
    "HKEY_CURRENT_USER\\SOFTWARE\\Vantrel",
    "HKEY_CURRENT_USER\\SOFTWARE\\Vantrel\\VRNB3",
};

// The running program file.
CString ProgramFile()
{
    char name[MAX_PATH + 1] = {0};
    ::GetModuleFileNameA(nullptr, name, MAX_PATH);
    return name;
}

} // namespace

const char* ExitCodeName(Int code)
{
    switch (code) {
    case exitOk: return "exitOk";
    case exitFailure: return "exitFailure";
    case exitBadCmdLine: return "exitBadCmdLine";
    case exitBadUpdateWatch: return "exitBadUpdateWatch";
    default: ORN_ASSERT_MSG("unknown exit code"); return "(unknown)";
    }
}

CUpdateWatchApp::CUpdateWatchApp() : CGUIApplication("UpdateWatch") {}

CUpdateWatchApp::~CUpdateWatchApp() { CloseLog(); }

CUpdateWatchApp* CUpdateWatchApp::Get() { return static_cast<CUpdateWatchApp*>(CGUIApplication::Get()); }

bool CUpdateWatchApp::GetConfigPath(CString& path)
{
    CPath resolved;
    if (CLocalFileSystem::Get().ResolvePath("[AppDir]\\nimbra.vrc", resolved).Failed())
        return false;
    path = resolved.Text();
    return true;
}

void CUpdateWatchApp::SetExitCode(ExitCode code)
{
    if (GetExitStatus() == exitOk)
        SetExitStatus(code);
}

void CUpdateWatchApp::SetDefaults()
{
    GlobalVars.Set("VersionDomain", cVersionDomain);
    GlobalVars.Set("VRLWebSite", cVRLWebSite);
    GlobalVars.Set("ProductName", "UpdateWatch");
    GlobalVars.Set("Notify", "X");
}

RStatus CUpdateWatchApp::ReadConfiguration()
{
    CString path;
    if (!GetConfigPath(path)) {
        ORN_ASSERT_MSG("GetConfigPath(path)");
        return Failure;
    }
    CVarList config;
    RStatus status = config.Load(path);
    if (status.Failed())
        return status;
    const char* major = config.Find("VRCMajVersion");
    if (!major || !Str::Equal(major, "3"))
        return E_Version;
    GlobalVars.AddAll(config);
    return Ok;
}

void CUpdateWatchApp::LoadRegistryValues()
{
    // A missing key is normal and skipped without a word.
    for (const char* key : cSettingsKeys)
        (void)LoadGlobalsFromRegistry(key);
}

void CUpdateWatchApp::CrashIfAsked()
{
    if (TestOption("crash") || GlobalVars.Find("Crash"))
        *cCrashSwitch = 1;
}

bool CUpdateWatchApp::ReadOptions(CString& jobOption, CString& jobValue)
{
    mSuppressDialogs = TestOption("s");
    mVerbose = TestOption("verbose");
    CrashIfAsked();
    for (const char* job : {"v", "script", "vsend"}) {
        if (TestOptionValue(job, jobValue)) {
            jobOption = job;
            return true;
        }
    }
    return false;
}

bool CUpdateWatchApp::Run(Int)
{
    SetDefaults();
    CFileVersionInfo fvi;
    if (!CVersion::GetVersionInfo(ProgramFile(), fvi))
        ORN_ASSERT_MSG("CVersion::GetVersionInfo(fvi)");
    DropTrailingBlanks(fvi.mProductVersionStr);
    GlobalVars.Set("ProductVersion", fvi.mProductVersionStr);
    if (ReadConfiguration().Failed()) {
        SetExitCode(exitFailure);
        return false;
    }
    LoadRegistryValues();
    if (cInstanceMutex.AlreadyExisted()) {
        MessageDialog("UpdateWatch is already running.", 0);
        return false;
    }
    CString jobOption, jobValue;
    if (!ReadOptions(jobOption, jobValue)) {
        SetExitCode(exitBadCmdLine);
        return false;
    }
    OpenLog(cLogFileName, true);
    if (!TakeStock())
        return false;
    if (jobOption == "v")
        VersionCheckJob(jobValue);
    else if (jobOption == "script")
        ScriptJob(jobValue);
    else
        VersionSendJob(jobValue);
    return false;
}

int WINAPI WinMain(HINSTANCE instance, HINSTANCE prevInstance, LPSTR cmdLine, int showState)
{
    return RunGUIProgram(instance, prevInstance, cmdLine, showState,
                         []() -> CApplication* { return new CUpdateWatchApp; });
}
