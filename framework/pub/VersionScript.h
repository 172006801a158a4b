// The reply-script interpreter: it runs the version server's script straight from its text.
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn {

class CVarList;
class COpenURLPolicy;

// The dialog of one `dialog` command: created, filled, run and released within that command.
class IUpdateWatchDialog {
public:
    // Stores the title and the message.
    virtual void SetTexts(const char* title, const char* message) = 0;
    // Stores the width in dialog units.
    virtual void SetWidth(Int width) = 0;
    // False with the reason in `error` when the checkbox cannot be added.
    virtual bool AddCheckbox(const char* text, const char* varName, bool negate, CString& error) = 0;
    // False with the reason in `error` when the button cannot be added.
    virtual bool AddButton(const char* text, const char* label, bool isDefault, bool isClose, CString& error) = 0;
    // Shows the dialog modally; false when it could not be shown.
    virtual bool Run() = 0;
    // Destroys the dialog object.
    virtual void Release() = 0;

protected:
    ~IUpdateWatchDialog() = default; // only Release destroys it
};

// Token kinds; a one-character token's code is its character.
enum : Int {
    tokEndOfScript = 0,
    tokLabel = 1,
    tokIdentifier = 2,
    tokString = 3,
    tokNumber = 4,
    tokComma = ',',
    tokSemicolon = ';',
    tokSlash = '/',
};

class CVersionScriptInterpreter {
public:
    explicit CVersionScriptInterpreter(bool singleStep = false);
    virtual ~CVersionScriptInterpreter();
    CVersionScriptInterpreter(const CVersionScriptInterpreter&) = delete;
    CVersionScriptInterpreter& operator=(const CVersionScriptInterpreter&) = delete;

    // Runs the whole script, writing what it sets to `replyVars` and GlobalVars. False after a script error,
    // which has been reported through ReportError.
    bool Run(const char* script, CVarList* replyVars);

    // For a running dialog: the pressed button's label and the checkbox state. They never throw, because
    // they are called from inside the dialog; a script error they meet ends the run once the dialog is gone.
    void Jump(const char* label);
    void SetVariable(const char* name, const char* value);

    // The message of the last script error.
    const char* ErrorText() const { return mErrorText.Chars(); }
    // The name of a token kind as error messages show it.
    static const char* TokenTypeName(Int type);

protected:
    // Makes the dialog for one `dialog` command; the base class has none. (Not "CreateDialog": <windows.h>
    // defines that name as a macro.)
    virtual IUpdateWatchDialog* NewDialog();
    // A command the language does not know; true when handled, its tokens read up to and including the ";".
    virtual bool RunExtraCommand(const char* name);
    // Whether `open_new` may open the URL.
    virtual bool CheckURL(const char* url);
    // Null-terminated list of names that `set` may write besides the "$" names; null for none.
    virtual const char* const* SettableVariableNames();
    // Asked before each command in single-step mode; false ends the run successfully.
    virtual bool ConfirmStep(const char* step);
    // Shows a script error.
    virtual void ReportError(const char* error);

    // Records the message and abandons the run.
    [[noreturn]] void ScriptError(const char* message);
    // A CheckURL under an open_new policy: true when the page may open; a page over the policy's cap is a
    // script error of its own.
    bool CheckURLPolicy(COpenURLPolicy& policy, const char* url);

    // The tokenizer, for extra commands.
    Int NextToken();
    // Reads the next token, which must be of the given kind.
    void Expect(Int type);
    Int TokenType() const { return mTokenType; }
    const CString& TokenText() const { return mTokenText; }
    Int NumberValue() const { return mNumber; }
    // Where reading of the current token began (white space before it included), as an offset into the running
    // script; 0 when no script runs.
    Int TokenStartOffset() const { return mScript ? static_cast<Int>(mTokenStart - mScript) : 0; }
    // Where the scan stands, just after the current token; 0 when no script runs.
    Int ScanOffset() const { return mScript ? static_cast<Int>(mScan - mScript) : 0; }

private:
    struct CScriptAbort {};
    struct COperand;
    class CRunScope;

    bool Dispatch();
    void ResetScan();
    void RunCommand();
    void RaisePendingError();
    bool ErrorPending() const;
    void CmdSet();
    void CmdGoto();
    void CmdIf();
    void ReadOperand(COperand& op);
    void CmdOpenNew();
    void CmdDialog();
    void ReadDialogOption(IUpdateWatchDialog& dlg);
    void ReadCheckbox(IUpdateWatchDialog& dlg);
    void ReadButton(IUpdateWatchDialog& dlg);
    void DoJump(const char* label);
    void StoreVariable(const char* name, const char* value);
    bool IsSettable(const char* name);
    void ReadWord(const char* begin);
    void ReadString();
    void ReadNumber(const char* begin);
    void SkipComment();
    [[noreturn]] void ErrorNaming(const char* before, const char* name, const char* after);
    CString Excerpt() const;

    const char* mScript = nullptr;
    const char* mScan = nullptr;
    const char* mTokenStart = nullptr;
    Int mTokenType = tokEndOfScript;
    CString mTokenText;
    Int mNumber = 0;
    CVarList* mReplyVars = nullptr;
    bool mSingleStep = false;
    CString mErrorText;
};

// Cuts a reply page down to its script: everything up to and including the first "[START]" and everything from
// the first "[END]" after it. True only if both markers were found; a missing one leaves its end uncut.
bool CutReplyEnvelope(CString& page);

} // namespace Orn
