// The reply-script interpreter: the dispatch loop, the commands, jumps and the reply envelope.
#include "VersionScript.h"

#include <cstdlib>
#include <cstring>
#include <memory>

#include "Debug.h"
#include "OpenURLPolicy.h"
#include "ShellOpen.h"
#include "VarList.h"

namespace Orn {

namespace {

// Bounds on resolving "(name)" references in an open_new URL, well above what a browser takes.
constexpr CSubstBounds cURLBounds = {1000, 8192};

// Base-10 value of a variable made of digits and "-" only, clamped to 32 bits as a 32-bit strtol does.
Int NumericValue(const char* value)
{
    long long n = std::strtoll(value, nullptr, 10);
    if (n > 0x7FFFFFFFLL)
        return 0x7FFFFFFF;
    if (n < -0x7FFFFFFFLL - 1)
        return -0x7FFFFFFF - 1;
    return static_cast<Int>(n);
}

bool IsNumericText(const char* value)
{
    for (; *value; ++value) {
        if ((*value < '0' || *value > '9') && *value != '-')
            return false;
    }
    return true;
}

struct CDialogReleaser {
    void operator()(IUpdateWatchDialog* dlg) const { dlg->Release(); }
};
using CDialogHolder = std::unique_ptr<IUpdateWatchDialog, CDialogReleaser>;

} // namespace

// One operand of `if`: a number, or a text (numeric operands count as "" in a text comparison).
struct CVersionScriptInterpreter::COperand {
    bool numeric = false;
    Int number = 0;
    CString text;
};

// Sets the run's pointers and clears them however the run ends.
class CVersionScriptInterpreter::CRunScope {
public:
    CRunScope(CVersionScriptInterpreter& interp, const char* script, CVarList* replyVars) : mInterp(interp)
    {
        mInterp.mScript = script;
        mInterp.mReplyVars = replyVars;
    }
    ~CRunScope()
    {
        mInterp.mScript = nullptr;
        mInterp.mReplyVars = nullptr;
    }
    CRunScope(const CRunScope&) = delete;
    CRunScope& operator=(const CRunScope&) = delete;

private:
    CVersionScriptInterpreter& mInterp;
};

CVersionScriptInterpreter::CVersionScriptInterpreter(bool singleStep) : mSingleStep(singleStep) {}

CVersionScriptInterpreter::~CVersionScriptInterpreter() = default;

// ---- The base class's virtual operations

IUpdateWatchDialog* CVersionScriptInterpreter::NewDialog()
{
    ScriptError("subclass must override to implement dialogs");
}

bool CVersionScriptInterpreter::RunExtraCommand(const char* name)
{
    ORN_ASSERT(name);
    return false;
}

bool CVersionScriptInterpreter::CheckURL(const char* url)
{
    ORN_ASSERT(url);
    return true;
}

bool CVersionScriptInterpreter::CheckURLPolicy(COpenURLPolicy& policy, const char* url)
{
    switch (policy.Admit(url)) {
    case COpenURLPolicy::urlAllowed:
        return true;
    case COpenURLPolicy::urlOverLimit: {
        CString message;
        message.Format("too many pages for 'open_new' (at most %d per run)", MaxPagesPerRun);
        ScriptError(message);
    }
    case COpenURLPolicy::urlRefused:
        break;
    }
    return false;
}

const char* const* CVersionScriptInterpreter::SettableVariableNames() { return nullptr; }

bool CVersionScriptInterpreter::ConfirmStep(const char*) { return true; }

void CVersionScriptInterpreter::ReportError(const char*) {}

// ---- Running

bool CVersionScriptInterpreter::Run(const char* script, CVarList* replyVars)
{
    ORN_ASSERT(script);
    ORN_ASSERT(! mScript);
    ORN_ASSERT(! mReplyVars);
    if (!script || mScript || mReplyVars)
        return false;
    CRunScope scope(*this, script, replyVars);
    mErrorText.Empty();
    try {
        return Dispatch();
    } catch (const CScriptAbort&) {
        CString report("Script error: \"");
        report.Append(mErrorText);
        report.Append("\".\nCurrent token:\n");
        report.Append(Excerpt());
        ReportError(report);
        return false;
    }
}

void CVersionScriptInterpreter::ResetScan()
{
    mScan = mScript;
    mTokenStart = mScript;
    mTokenType = tokEndOfScript;
    mTokenText.Empty();
    mNumber = 0;
}

bool CVersionScriptInterpreter::Dispatch()
{
    ResetScan();
    for (;;) {
        if (mSingleStep) {
            CString step("Remaining script:\n");
            step.Append(Excerpt());
            if (!ConfirmStep(step))
                return true;
        }
        Int type = NextToken();
        while (type == tokLabel)
            type = NextToken();
        if (type == tokEndOfScript)
            return true;
        if (type != tokIdentifier)
            ScriptError("expected command name (missing semicolon?)");
        RunCommand();
        RaisePendingError();
    }
}

void CVersionScriptInterpreter::RunCommand()
{
    CString name = mTokenText;
    if (name == "set")
        CmdSet();
    else if (name == "goto")
        CmdGoto();
    else if (name == "if")
        CmdIf();
    else if (name == "open_new")
        CmdOpenNew();
    else if (name == "dialog")
        CmdDialog();
    else if (!RunExtraCommand(name))
        ScriptError("unknown command");
}

void CVersionScriptInterpreter::ScriptError(const char* message)
{
    mErrorText = message;
    throw CScriptAbort{};
}

void CVersionScriptInterpreter::ErrorNaming(const char* before, const char* name, const char* after)
{
    CString message(before);
    message.Append(name);
    message.Append(after);
    ScriptError(message);
}

// An error met by Jump or SetVariable waits in the error text until the command that caused it returns.
bool CVersionScriptInterpreter::ErrorPending() const { return mScript && !mErrorText.IsEmpty(); }

void CVersionScriptInterpreter::RaisePendingError()
{
    if (ErrorPending())
        throw CScriptAbort{};
}

// ---- Variables and jumps

bool CVersionScriptInterpreter::IsSettable(const char* name)
{
    if (name[0] == '$')
        return true;
    const char* const* names = SettableVariableNames();
    for (; names && *names; ++names) {
        if (Str::Equal(*names, name))
            return true;
    }
    return false;
}

void CVersionScriptInterpreter::StoreVariable(const char* name, const char* value)
{
    ORN_ASSERT(name);
    ORN_ASSERT(value);
    if (!name || !value)
        return;
    if (!IsSettable(name))
        ErrorNaming("illegal variable (", name, ") for 'set' command");
    if (mReplyVars)
        mReplyVars->Set(name, value);
    GlobalVars.Set(name, value);
}

void CVersionScriptInterpreter::SetVariable(const char* name, const char* value)
{
    // Nothing is stored after a script error, so a checkbox whose button failed to jump stays unwritten.
    if (ErrorPending())
        return;
    try {
        StoreVariable(name, value);
    } catch (const CScriptAbort&) {
        // Left pending for the dispatch loop.
    }
}

// Labels are searched from the start every time; the first one with the name wins.
void CVersionScriptInterpreter::DoJump(const char* label)
{
    ORN_ASSERT(! Str::Equal(label,"next"));
    ResetScan();
    if (Str::Equal(label, "exit")) {
        mScan = mScript + Str::Length(mScript);
        return;
    }
    for (;;) {
        Int type = NextToken();
        if (type == tokLabel && mTokenText == label)
            return;
        if (type == tokEndOfScript)
            ErrorNaming("can't find label (", label, ") for jump");
    }
}

void CVersionScriptInterpreter::Jump(const char* label)
{
    if (!mScript || ErrorPending())
        return;
    try {
        DoJump(label ? label : "");
    } catch (const CScriptAbort&) {
        // Left pending for the dispatch loop.
    }
}

// ---- Commands. Each reads its whole syntax before it acts, so a malformed command changes nothing.

void CVersionScriptInterpreter::CmdSet()
{
    Expect(tokIdentifier);
    CString name = mTokenText;
    Expect(tokComma);
    CString value;
    Int type = NextToken();
    if (type == tokString)
        value = mTokenText;
    else if (type == tokNumber)
        value.Format("%d", mNumber);
    else
        ScriptError("bad token type for value in 'set' command");
    Expect(tokSemicolon);
    StoreVariable(name, value);
}

void CVersionScriptInterpreter::CmdGoto()
{
    Expect(tokIdentifier);
    CString label = mTokenText;
    Expect(tokSemicolon);
    if (label != "next")
        DoJump(label);
}

void CVersionScriptInterpreter::ReadOperand(COperand& op)
{
    Int type = NextToken();
    if (type == tokNumber) {
        op.numeric = true;
        op.number = mNumber;
    } else if (type == tokString) {
        op.text = mTokenText;
    } else if (type == tokIdentifier) {
        if (!GlobalVars.GetValue(mTokenText, op.text))
            ErrorNaming("undefined variable (", mTokenText, ") for 'if' command");
        op.numeric = IsNumericText(op.text);
        if (op.numeric)
            op.number = NumericValue(op.text);
    } else {
        ScriptError("expected number or variable name");
    }
}

void CVersionScriptInterpreter::CmdIf()
{
    COperand left, right;
    ReadOperand(left);
    Expect(tokComma);
    ReadOperand(right);
    CString labels[3];
    for (CString& label : labels) {
        Expect(tokComma);
        Expect(tokIdentifier);
        label = mTokenText;
    }
    Expect(tokSemicolon);
    Int order = 0;
    if (left.numeric && right.numeric)
        order = left.number < right.number ? -1 : (left.number > right.number ? 1 : 0);
    else
        order = std::strcmp(left.numeric ? "" : left.text.Chars(), right.numeric ? "" : right.text.Chars());
    const CString& target = labels[order < 0 ? 0 : (order == 0 ? 1 : 2)];
    if (target != "next")
        DoJump(target);
}

void CVersionScriptInterpreter::CmdOpenNew()
{
    Expect(tokString);
    const CString written = mTokenText;
    Expect(tokSemicolon);
    CString url = written;
    if (!GlobalVars.SubstituteBounded(url, "()", cURLBounds))
        ErrorNaming("illegal URL (", written, ") for 'open_new' command");
    if (!CheckURL(url))
        ErrorNaming("illegal URL (", url, ") for 'open_new' command");
    ShellOpenURL(url);
}

// The dialog is made as soon as its texts are known; the holder releases it however the command ends.
void CVersionScriptInterpreter::CmdDialog()
{
    Expect(tokString);
    CString title = mTokenText;
    Expect(tokComma);
    Expect(tokString);
    CString message = mTokenText;
    while (NextToken() == tokString)
        message.Append(mTokenText);
    CDialogHolder dlg(NewDialog());
    ORN_ASSERT(dlg);
    if (!dlg)
        ScriptError("subclass must override to implement dialogs");
    dlg->SetTexts(title, message);
    while (mTokenType == tokComma) {
        ReadDialogOption(*dlg);
        NextToken();
    }
    if (mTokenType != tokSemicolon)
        ScriptError("expected semicolon");
    dlg->Run();
}

void CVersionScriptInterpreter::ReadDialogOption(IUpdateWatchDialog& dlg)
{
    if (NextToken() != tokIdentifier)
        ScriptError("expected option keyword");
    CString keyword = mTokenText;
    if (keyword == "width") {
        Expect(tokComma);
        Expect(tokNumber);
        dlg.SetWidth(mNumber);
    } else if (keyword == "checkbox") {
        ReadCheckbox(dlg);
    } else if (keyword == "button") {
        ReadButton(dlg);
    } else {
        ErrorNaming("unknown dialog option (", keyword, ")");
    }
}

void CVersionScriptInterpreter::ReadCheckbox(IUpdateWatchDialog& dlg)
{
    Expect(tokComma);
    Expect(tokString);
    CString text = mTokenText;
    Expect(tokComma);
    Expect(tokIdentifier);
    bool negate = mTokenText == "neg";
    if (negate) {
        Expect(tokComma);
        Expect(tokIdentifier);
    }
    CString error;
    if (!dlg.AddCheckbox(text, mTokenText, negate, error))
        ScriptError(error);
}

void CVersionScriptInterpreter::ReadButton(IUpdateWatchDialog& dlg)
{
    Expect(tokComma);
    bool isDefault = false, isClose = false;
    for (;;) {
        Int type = NextToken();
        if (type == tokString)
            break;
        if (type != tokIdentifier)
            ScriptError("expected button text");
        if (mTokenText == "def")
            isDefault = true;
        else if (mTokenText == "close")
            isClose = true;
        else
            ScriptError("expected button text, def, or close");
        Expect(tokComma);
    }
    CString text = mTokenText;
    Expect(tokComma);
    Expect(tokIdentifier);
    CString error;
    if (!dlg.AddButton(text, mTokenText, isDefault, isClose, error))
        ScriptError(error);
}

// ---- The reply envelope

bool CutReplyEnvelope(CString& page)
{
    static const char cStartMarker[] = "[START]";
    Int start = page.Find(cStartMarker);
    if (start >= 0)
        page.Remove(0, start + Str::Length(cStartMarker));
    Int end = page.Find("[END]");
    if (end >= 0)
        page.Remove(end);
    return start >= 0 && end >= 0;
}

} // namespace Orn
