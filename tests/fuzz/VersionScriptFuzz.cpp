// libFuzzer target: arbitrary bytes run as a reply script, with dialogs that press buttons the input chooses.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "Debug.h"
#include "ShellOpen.h"
#include "VarList.h"
#include "VersionScript.h"

using namespace Orn;

namespace {

constexpr int cMaxSteps = 1000;
const char* const cSettable[] = {"DoUpdateWatchs", "UpdateWatchMenuItem", "UpdateWatchFreq", "ShowTips",
                                 "ShowTipsMenuItem", "SplashScreen", "CommandMenu", "LastTip", nullptr};

[[noreturn]] void Fail(const char* what, const char* detail)
{
    std::fprintf(stderr, "version script fuzz: %s: %s\n", what, detail);
    std::abort();
}

// A script may trip these by design (an unnamed token kind in a message, a button labelled "next"); any other
// assertion is a fault of the interpreter.
void OnAssert(const char* expr, const char*, Int)
{
    if (!Str::Equal(expr, "unknown tokenType") && !Str::Equal(expr, "! Str::Equal(label,\"next\")"))
        Fail("assertion", expr);
}

void OnShellOpen(const char* url)
{
    if (!url)
        Fail("shell open", "null URL");
}

// Picks choices from the input bytes, round and round, so every run of one input goes the same way.
class CChoices {
public:
    CChoices(const std::uint8_t* data, size_t size) : mData(data), mSize(size) {}
    unsigned Next()
    {
        if (mSize == 0)
            return 0;
        unsigned value = mData[mPos % mSize] ^ static_cast<unsigned>(mPos / mSize);
        mPos += 7;
        return value;
    }

private:
    const std::uint8_t* mData;
    size_t mSize;
    size_t mPos = 0;
};

class CFuzzInterpreter;

// Keeps up to three buttons and one checkbox, and presses a button (or closes) as the input chooses.
class CFuzzDialog final : public IUpdateWatchDialog {
public:
    CFuzzDialog(CFuzzInterpreter& interp, unsigned choice) : mInterp(interp), mChoice(choice) {}
    void SetTexts(const char*, const char*) override {}
    void SetWidth(Int) override {}
    bool AddCheckbox(const char*, const char* varName, bool negate, CString& error) override
    {
        if (!mVar.IsEmpty()) {
            error = "only one checkbox allowed";
            return false;
        }
        mVar = varName;
        mNegate = negate;
        return true;
    }
    bool AddButton(const char*, const char* label, bool, bool, CString& error) override
    {
        if (mCount == 3) {
            error = "too many buttons";
            return false;
        }
        mLabels[mCount++] = label;
        return true;
    }
    bool Run() override;
    void Release() override { delete this; }

private:
    CFuzzInterpreter& mInterp;
    unsigned mChoice;
    CString mVar;
    bool mNegate = false;
    CString mLabels[3];
    int mCount = 0;
};

class CFuzzInterpreter : public CVersionScriptInterpreter {
public:
    explicit CFuzzInterpreter(CChoices& choices) : CVersionScriptInterpreter(true), mChoices(choices) {}
    int Reports() const { return mReports; }

protected:
    IUpdateWatchDialog* NewDialog() override { return new CFuzzDialog(*this, mChoices.Next()); }
    bool CheckURL(const char* url) override { return Str::Length(url) % 3 != 0; }
    const char* const* SettableVariableNames() override { return cSettable; }
    bool ConfirmStep(const char* step) override
    {
        if (Str::Length(step) > 18 + 20)
            Fail("step text too long", step);
        return ++mSteps <= cMaxSteps;
    }
    void ReportError(const char*) override { ++mReports; }

private:
    CChoices& mChoices;
    int mSteps = 0;
    int mReports = 0;
};

bool CFuzzDialog::Run()
{
    unsigned press = mChoice % 4; // 3 is the close box: slot 0, as the reply dialog does
    mInterp.Jump(press < unsigned(mCount) ? mLabels[press].Chars() : "");
    if (!mVar.IsEmpty())
        mInterp.SetVariable(mVar, ((mChoice >> 2) & 1) != mNegate ? "1" : "0");
    return true;
}

// Every reply variable must hold the same value in GlobalVars, as `set` writes both.
class CReplyChecker : public CVarList::CVisitor {
public:
    bool Visit(const char* name, const char* value) override
    {
        CString global;
        if (!GlobalVars.GetValue(name, global) || !(global == value))
            Fail("reply variable differs from GlobalVars", name);
        return true;
    }
};

void SeedGlobals()
{
    GlobalVars.Clear();
    GlobalVars.Set("VersionDomain", "versions.example.com");
    GlobalVars.Set("ShowTips", "1");
    GlobalVars.Set("Count", "-12");
    GlobalVars.Set("Path", "(VersionDomain)/x");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    static const bool hooked = (SetAssertHook(OnAssert), SetShellOpenHook(OnShellOpen), true);
    (void)hooked;
    std::vector<char> script(data, data + size);
    script.push_back(0);
    SeedGlobals();
    CVarList reply;
    CChoices choices(data, size);
    CFuzzInterpreter interp(choices);
    bool ok = interp.Run(script.data(), &reply);
    if (ok != (interp.Reports() == 0) || interp.Reports() > 1)
        Fail("result and reports disagree", ok ? "true" : "false");
    CReplyChecker checker;
    reply.Visit(checker);
    return 0;
}
