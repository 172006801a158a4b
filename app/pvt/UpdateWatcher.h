// The product's reply-script interpreter: its message boxes, the settings a script may change, its dialog.
#pragma once

#include "VersionScript.h"

class CNBVersionScriptInterpreter : public Orn::CVersionScriptInterpreter {
public:
    // With singleStep, every command waits for the user's go-ahead.
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
};
