// The product's reply-script interpreter: its message boxes, the settings a script may change, its dialog.
#pragma once

#include "InstallCommand.h"
#include "OpenURLPolicy.h"

class CNBVersionScriptInterpreter : public CInstallingInterpreter {
public:
    // With singleStep, every command waits for the user's go-ahead. The open_new policy is read here, from
    // the global variable OpenURLPolicy; an unknown value is logged.
    explicit CNBVersionScriptInterpreter(bool singleStep);

protected:
    // A reply dialog bound to this interpreter; the base class releases it.
    Orn::IUpdateWatchDialog* NewDialog() override;
    // The product settings a script may write besides its "$" names.
    const char* const* SettableVariableNames() override;
    // Yes/No box; true only for Yes.
    bool ConfirmStep(const char* step) override;
    // Stop-icon box with the script error.
    void ReportError(const char* error) override;
    // The open_new policy; a page over the cap is a script error of its own.
    bool CheckURL(const char* url) override;
    // Download, verification and start of the installer, with a progress window.
    EInstallResult Install(const CInstallRequest& request) override;

private:
    Orn::COpenURLPolicy mURLPolicy;
};
