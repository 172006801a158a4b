// The reply-script interpreter as the tools run it: the program's own interpreter class with its settable
// names and dialog rules, where the tool takes the place of the windows, the shell and the message boxes.
#pragma once

#include <string>
#include <vector>

#include "InstallCommand.h"
#include "OpenURLPolicy.h"
#include "ReplyDialogModel.h"
#include "VarList.h"

class CToolDialog;

class CToolInterpreter : public CInstallingInterpreter {
public:
    // Where something happened in the script: a byte offset and a message.
    struct CEvent {
        std::size_t offset = 0;
        std::string message;
    };

    // The reply counts as signed and fetched over https, so that install is judged by its arguments: a tool
    // that runs a script as a check would, sets that from the globals (SetReplyTrustFromGlobals).
    explicit CToolInterpreter(bool singleStep = false) : CInstallingInterpreter(singleStep)
    {
        SetReplyTrust(true, true);
    }

    // Runs a script (up to its first NUL, as the program would). Assertions that would end the program are
    // recorded instead of ending this process.
    bool RunScript(const std::string& script);
    // The script error of the last run, if it had one.
    bool HasError() const { return mHasError; }
    const CEvent& Error() const { return mError; }
    const std::vector<CEvent>& Assertions() const { return mAssertions; }
    // What the last run set, in the order first set.
    const Orn::CVarList& ReplyVars() const { return mReplyVars; }

    // The offset of the current token's first character (after any white space).
    std::size_t TokenOffset() const;

protected:
    friend class CToolDialog;
    // A `dialog` command shows its dialog; the base does nothing and presses nothing.
    virtual void ShowDialog(CToolDialog& dlg);
    // A URL that `open_new` hands to the shell.
    virtual void OpenURL(const std::string& url);
    // An install: nothing is downloaded; the base says the installer started.
    EInstallResult Install(const CInstallRequest& request) override;

    Orn::IUpdateWatchDialog* NewDialog() override;
    bool CheckURL(const char* url) override;
    const char* const* SettableVariableNames() override;
    void ReportError(const char* report) override;

private:
    class CAssertScope;

    const char* mRunning = nullptr;
    bool mHasError = false;
    CEvent mError;
    std::vector<CEvent> mAssertions;
    Orn::CVarList mReplyVars;
    Orn::COpenURLPolicy mURLPolicy{nullptr};
};

// The dialog of one `dialog` command as a tool sees it.
class CToolDialog final : public CReplyDialogModel {
public:
    explicit CToolDialog(CToolInterpreter& interpreter) : CReplyDialogModel(&interpreter), mTool(interpreter) {}

    bool AddButton(const char* text, const char* label, bool isDefault, bool isClose, Orn::CString& error) override;
    bool Run() override;
    void Release() override { delete this; }

    // The texts as the dialog shows them, "<name>" references filled in.
    std::string Title() const { return Shown(mTitle).Chars(); }
    std::string Message() const { return Shown(mMessage).Chars(); }
    std::string CheckboxText() const { return Shown(mCheckboxText).Chars(); }
    std::string ButtonText(Orn::Int i) const { return Shown(mButtons[i].text).Chars(); }

    Orn::Int Width() const { return mWidth; }
    bool HasCheckbox() const { return mHasCheckbox; }
    std::string CheckboxVar() const { return mCheckboxVar.Chars(); }
    bool Negated() const { return mNegate; }
    bool InitiallyChecked() const { return InitialCheckState(); }
    Orn::Int ButtonCount() const { return mButtonCount; }
    std::string ButtonLabel(Orn::Int i) const { return mButtons[i].label.Chars(); }
    // Where each button's label is written in the script.
    std::size_t LabelOffset(Orn::Int i) const { return mLabelOffsets[i]; }
    // Without a `def` or `close` button these fall back to the first slot, as the program does.
    Orn::Int DefaultButton() const { return mDefaultButton < 0 ? 0 : mDefaultButton; }
    Orn::Int CloseButton() const { return mCloseButton < 0 ? 0 : mCloseButton; }

    // What the program does when the dialog ends: jump to the slot's label, then store the checkbox.
    void Press(Orn::Int slot, bool checked);

private:
    ~CToolDialog() = default;

    CToolInterpreter& mTool;
    std::size_t mLabelOffsets[cMaxButtons] = {};
};

// Keeps GlobalVars as they were before a tool's runs changed them.
class CGlobalVarsSnapshot {
public:
    CGlobalVarsSnapshot() : mSaved(Orn::GlobalVars) {}
    ~CGlobalVarsSnapshot() { Orn::GlobalVars = mSaved; }
    CGlobalVarsSnapshot(const CGlobalVarsSnapshot&) = delete;
    CGlobalVarsSnapshot& operator=(const CGlobalVarsSnapshot&) = delete;

private:
    Orn::CVarList mSaved;
};
