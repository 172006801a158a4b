// A program that installs the framework's crash handler and then crashes as asked: "-access" writes through
// a null pointer, "-assert" fails an assertion (there is no debugger, so it raises the code-1 exception).
#include <windows.h>

#include "Application.h"
#include "CrashHandler_Win.h"
#include "Debug.h"

using namespace Orn;

namespace {

int* volatile cNowhere = nullptr;

class CCrashVictim : public CGUIApplication {
public:
    CCrashVictim() : CGUIApplication("CrashVictim") {}

    bool Run(Int) override
    {
        CCrashHandler handler("E2ECrash");
        if (TestOption("access"))
            *cNowhere = 1;
        else if (TestOption("assert"))
            AssertFailed("deliberate failure", "pvt/CrashVictim", 7);
        SetExitStatus(3); // only when nothing crashed
        return false;
    }
};

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE prevInstance, LPSTR cmdLine, int showState)
{
    return RunGUIProgram(instance, prevInstance, cmdLine, showState,
                         []() -> CApplication* { return new CCrashVictim; });
}
