// Stock-taking before the job: own version, installation directories, the installed product.
#include "FileSystem.h"
#include "RegKey.h"
#include "UpdateWatch.h"

using namespace Orn;

namespace {
const char* const cProductClassKey = "HKEY_CLASSES_ROOT\\CLSID\\{5C1E8D1A-3B7F-4E62-9A0D-7F2B6C4E1A93}";
}

bool CUpdateWatchApp::TakeStock()
{
    CPath dir;
    if (!StatusStepResult(CLocalFileSystem::Get().GetSpecialDirectory("AppDir", dir),
                          "Could not get UpdateWatch.exe's directory", true))
        return false;
    mInstallSourceFolder = dir;
    LogText("Install source folder = '", mInstallSourceFolder.DisplayText(), "'.\n");
    if (!GetOwnVersion() || !InitInstallationDirectories())
        return false;
    CheckInstalledProduct();
    return true;
}

bool CUpdateWatchApp::GetOwnVersion()
{
    CLogSection section(Log(), "Getting version of UpdateWatch.exe");
    CPath exe = mInstallSourceFolder;
    if (!StatusStepResult(exe.Append("UpdateWatch.exe"), "Append 'UpdateWatch'", true))
        return false;
    CFileVersionInfo fvi;
    // Only the reading can fail the step; a version text that does not parse is logged as it is.
    if (!StepResult(CVersion::GetVersionInfo(exe.Chars(), fvi), "Get UpdateWatch's product version.", true))
        return false;
    if (fvi.mProductVersion.IsValid())
        mOwnProductVersion = fvi.mProductVersion;
    mOwnProductVersionText = fvi.mProductVersionStr;
    DropTrailingBlanks(mOwnProductVersionText);
    LogFormat("The version of Nimbra currently being installed (UpdateWatch's product version) = '%s'.\n",
              mOwnProductVersionText.Chars());
    return true;
}

// "3.1 (20250101)" loses its date and keeps the blank before it.
void CUpdateWatchApp::DropTrailingBlanks(CString& text)
{
    Int end = text.Length();
    while (end > 0 && text[end - 1] == ' ')
        --end;
    text.Remove(end);
}

bool CUpdateWatchApp::InitInstallationDirectories()
{
    CLogSection section(Log(), "Initializing installation directories");
    CPath dir;
    if (!StatusStepResult(CLocalFileSystem::Get().GetSpecialDirectory("WinProgramFilesDir", dir),
                          "Get 'Program Files' directory", true))
        return false;
    LogText("'Program Files' directory = '", dir.DisplayText(), "'.\n");
    // The message names the product while the component is the program's own name; kept as it is.
    return StatusStepResult(dir.Append("Vantrel"), "Append 'Vantrel'", true) &&
           StatusStepResult(dir.Append("UpdateWatch"), "Append 'Nimbra'", true);
}

void CUpdateWatchApp::CheckInstalledProduct()
{
    CLogSection section(Log(), "Check if Nimbra already installed");
    CRegKey classKey;
    if (StepResult(classKey.OpenRooted(cProductClassKey), "Open CLSID key", true)) {
        CRegKey versionKey, serverKey;
        CString text;
        if (StepResult(versionKey.OpenRelative(classKey, "InstalledVersion"), "Open InstalledVersion key", true) &&
            StepResult(versionKey.GetString("", text), "Read InstalledVersion default value", true)) {
            LogText("InstalledVersion = '", text, "'.\n");
            StepResult(mInstalledVersion.Parse(text), "Convert InstalledVersion value", true);
        }
        if (StepResult(serverKey.OpenRelative(classKey, "InprocServer32"), "Open InprocServer32 key", true) &&
            StepResult(serverKey.GetString("", text), "Read InprocServer32 default value", true)) {
            LogText("server path from InprocServer32 key = '", text, "'.\n");
            if (!text.IsEmpty())
                mServerPath = CPath(text);
        }
    }
    LogFormat(mInstalledVersion.IsValid() ? "Nimbra already installed.\n" : "Nimbra not installed.\n");
}
