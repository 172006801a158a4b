// The GUI application: message boxes, the GUI main sequence and the Windows program entry.
#include <windows.h>

#include "Application.h"
#include "Debug.h"
#include "FileSystem.h"

namespace Orn {

namespace {
CGUIApplication* cGUIApp = nullptr;
}

bool CBasicResSource::LoadResString(Int id, CString& text) const
{
    char buf[1024];
    int n = ::LoadStringA(static_cast<HINSTANCE>(mResModule), static_cast<UINT>(id), buf, sizeof buf);
    text = n > 0 ? buf : "";
    return n > 0;
}

// The configuration file is looked for beside the program file.
bool CApplication::GetConfigPath(CString& path)
{
    CString name;
    if (!ConfigFileName(name))
        return false;
    CString text("[AppDir]\\");
    text.Append(name);
    CPath resolved;
    if (CLocalFileSystem::Get().ResolvePath(text, resolved).Failed())
        return false;
    path = resolved.Text();
    return true;
}

CGUIApplication::CGUIApplication(const char* name) : CApplication(name)
{
    ORN_ASSERT(! cGUIApp);
    cGUIApp = this;
}

CGUIApplication::~CGUIApplication()
{
    if (cGUIApp == this)
        cGUIApp = nullptr;
}

CGUIApplication* CGUIApplication::Get() { return cGUIApp; }

void CApplication::VReportMessage(bool, const char* format, va_list args)
{
    CString msg;
    msg.VFormat(format, args);
    ::MessageBoxA(nullptr, msg, Name(), MB_OK);
}

void CGUIApplication::ShowUsage()
{
    CString usage, title;
    GetUsageText(usage);
    title.Format("%s: Command-line Usage", Name().Chars());
    ::MessageBoxA(nullptr, usage, title, MB_OK);
}

bool CGUIApplication::GUIMain(void* instance, void*, const char* cmdLine, Int showState)
{
    mInstance = instance;
    SetResModule(instance);
    SetCommandLine(cmdLine);
    if (StartupHandled() || ComServerStepStops())
        return false;
    if (!Run(showState))
        return false;
    MessageLoop();
    EndRun();
    return true;
}

void CGUIApplication::MessageLoop()
{
    MSG msg;
    for (;;) {
        while (::PeekMessageA(&msg, nullptr, 0, 0, PM_REMOVE)) {
            if (msg.message == WM_QUIT)
                return;
            ::TranslateMessage(&msg);
            ::DispatchMessageA(&msg);
        }
        if (!RunIdleTasks())
            ::WaitMessage();
    }
}

Int RunGUIProgram(void* instance, void* prevInstance, const char* cmdLine, Int showState, ApplicationFactory make)
{
    CGlobalDeleteList::Create();
    make();
    CGUIApplication* app = CGUIApplication::Get();
    Int status = 1;
    if (app) {
        app->GUIMain(instance, prevInstance, cmdLine, showState);
        status = app->GetExitStatus();
    }
    CGlobalDeleteList::DeleteAll();
    return status;
}

} // namespace Orn
