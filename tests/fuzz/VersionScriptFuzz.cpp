// libFuzzer target: arbitrary bytes run as a reply script through the interpreter as the tools run it (the
// program's settable names, dialog rules and open_new policy), pressing the buttons the input chooses.
#include <string>

#include "FuzzSupport.h"
#include "ToolInterpreter.h"

using namespace Orn;
using FuzzSupport::Fail;

namespace {

constexpr int cMaxSteps = 1000;

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

// Single steps, so that a script that loops ends after a number of them.
class CFuzzInterpreter : public CToolInterpreter {
public:
    explicit CFuzzInterpreter(CChoices& choices) : CToolInterpreter(true), mChoices(choices) {}

protected:
    // A button, or the close box (the close button's slot), and the checkbox as the input chooses.
    void ShowDialog(CToolDialog& dlg) override
    {
        unsigned choice = mChoices.Next();
        dlg.Press(choice % 4 == 3 ? dlg.CloseButton() : static_cast<Int>(choice % 4), ((choice >> 2) & 1) != 0);
    }
    bool ConfirmStep(const char* step) override
    {
        if (Str::Length(step) > 18 + 20)
            Fail("step text too long", step);
        return ++mSteps <= cMaxSteps;
    }

private:
    CChoices& mChoices;
    int mSteps = 0;
};

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
    GlobalVars.Set("OpenURLPolicy", "web");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    SeedGlobals();
    CChoices choices(data, size);
    CFuzzInterpreter interp(choices);
    bool ok = interp.RunScript(std::string(reinterpret_cast<const char*>(data), size));
    if (ok == interp.HasError())
        Fail("result and report disagree", ok ? "true" : "false");
    // A script may trip these by design: an unnamed token kind in a message, a button labelled "next".
    for (const CToolInterpreter::CEvent& assertion : interp.Assertions()) {
        if (assertion.message != "unknown tokenType" && assertion.message != "! Str::Equal(label,\"next\")")
            Fail("assertion", assertion.message.c_str());
    }
    CReplyChecker checker;
    interp.ReplyVars().Visit(checker);
    return 0;
}
