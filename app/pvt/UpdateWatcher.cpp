// The product's reply-script interpreter: message boxes, settable names and the reply dialog.
#include "UpdateWatcher.h"

#include <windows.h>

#include "Installer.h"
#include "UpdateWatch.h"
#include "VarList.h"
#include "VersionDialog.h"
#include "SettableNames.h"

using namespace Orn;

namespace {

const char* const cBoxTitle = "UpdateWatch";

} // namespace

CNBVersionScriptInterpreter::CNBVersionScriptInterpreter(bool singleStep)
    : CInstallingInterpreter(singleStep), mURLPolicy(GlobalVars.Find("OpenURLPolicy"))
{
    CUpdateWatchApp* app = CUpdateWatchApp::Get();
    if (!mURLPolicy.Known() && app)
        app->LogText("Unknown OpenURLPolicy (", GlobalVars.Find("OpenURLPolicy"), "): treated as \"web\".\n");
}

IUpdateWatchDialog* CNBVersionScriptInterpreter::NewDialog() { return new CNBVersionReplyDlg(this); }

const char* const* CNBVersionScriptInterpreter::SettableVariableNames() { return ProductSettableNames; }

bool CNBVersionScriptInterpreter::ConfirmStep(const char* step)
{
    CString text;
    text.Format("Single step:\n%s\nDo you want to continue?", step);
    return ::MessageBoxA(nullptr, text, cBoxTitle, MB_YESNO) == IDYES;
}

// The box is for the user; the log keeps its text, message and excerpt, on one line for support.
void CNBVersionScriptInterpreter::ReportError(const char* error)
{
    ::MessageBoxA(nullptr, error, cBoxTitle, MB_ICONSTOP | MB_OK);
    CUpdateWatchApp* app = CUpdateWatchApp::Get();
    if (!app)
        return;
    app->LogInline(error);
    app->LogText("\n");
}

bool CNBVersionScriptInterpreter::CheckURL(const char* url) { return CheckURLPolicy(mURLPolicy, url); }

EInstallResult CNBVersionScriptInterpreter::Install(const CInstallRequest& request) { return RunInstall(request); }
