// The tools' interpreter: errors and assertions recorded with their positions, dialogs handed to the tool.
#include "ToolInterpreter.h"

#include "Debug.h"
#include "SettableNames.h"

using namespace Orn;

namespace {

// The framework's assertion hook is a plain function, so the running interpreter is found through this.
CToolInterpreter* cAsserting = nullptr;

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

} // namespace

// Records assertions for the length of one run, as a test would, instead of letting them end the process;
// their report text stays off standard error.
class CToolInterpreter::CAssertScope {
public:
    explicit CAssertScope(CToolInterpreter& interp)
        : mOuter(cAsserting), mOldAssert(SetAssertHook(OnAssert)), mOldOutput(SetDebugOutputHook(OnOutput))
    {
        cAsserting = &interp;
    }
    ~CAssertScope()
    {
        cAsserting = mOuter;
        SetAssertHook(mOldAssert);
        SetDebugOutputHook(mOldOutput);
    }
    CAssertScope(const CAssertScope&) = delete;
    CAssertScope& operator=(const CAssertScope&) = delete;

private:
    static void OnAssert(const char* expr, const char*, Int)
    {
        if (cAsserting)
            cAsserting->mAssertions.push_back({cAsserting->TokenOffset(), expr});
    }
    static void OnOutput(const char*) {}

    CToolInterpreter* mOuter;
    AssertHook mOldAssert;
    DebugOutputHook mOldOutput;
};

bool CToolInterpreter::RunScript(const std::string& script)
{
    mHasError = false;
    mError = CEvent();
    mAssertions.clear();
    mReplyVars.Clear();
    // The program reads its open_new policy when a run starts; so does the tool, from the globals given.
    mURLPolicy = COpenURLPolicy(GlobalVars.Find("OpenURLPolicy"));
    CAssertScope asserts(*this);
    mRunning = script.c_str();
    bool ok = false;
    try {
        ok = Run(mRunning, &mReplyVars);
    } catch (...) {
        mRunning = nullptr;
        throw;
    }
    mRunning = nullptr;
    return ok;
}

std::size_t CToolInterpreter::TokenOffset() const
{
    if (!mRunning)
        return 0;
    std::size_t offset = static_cast<std::size_t>(TokenStartOffset());
    while (IsBlank(mRunning[offset]))
        ++offset;
    return offset;
}

void CToolInterpreter::ShowDialog(CToolDialog&) {}

void CToolInterpreter::OpenURL(const std::string&) {}

EInstallResult CToolInterpreter::Install(const CInstallRequest&) { return irStarted; }

IUpdateWatchDialog* CToolInterpreter::NewDialog() { return new CToolDialog(*this); }

bool CToolInterpreter::CheckURL(const char* url)
{
    if (!CVersionScriptInterpreter::CheckURL(url) || !CheckURLPolicy(mURLPolicy, url))
        return false;
    OpenURL(url);
    return true;
}

const char* const* CToolInterpreter::SettableVariableNames() { return ProductSettableNames; }

void CToolInterpreter::ReportError(const char*)
{
    mHasError = true;
    mError.offset = TokenOffset();
    mError.message = ErrorText();
}

bool CToolDialog::AddButton(const char* text, const char* label, bool isDefault, bool isClose, CString& error)
{
    Int slot = mButtonCount;
    if (!CReplyDialogModel::AddButton(text, label, isDefault, isClose, error))
        return false;
    mLabelOffsets[slot] = mTool.TokenOffset();
    return true;
}

bool CToolDialog::Run()
{
    mTool.ShowDialog(*this);
    return true;
}

void CToolDialog::Press(Int slot, bool checked)
{
    mTool.Jump(mButtons[slot].label);
    if (mHasCheckbox)
        mTool.SetVariable(mCheckboxVar, checked != mNegate ? "1" : "0");
}
