// Windows half of assertion reporting: debugger output, message box and the code-1 exception.
#include <windows.h>

#include "DebugPlatform.h"

namespace Orn::DebugPlatform {

void Output(const char* text) { ::OutputDebugStringA(text); }
void Output(const WChar* text) { ::OutputDebugStringW(text); }
void Break() { ::DebugBreak(); }

bool QuitPending()
{
    MSG msg;
    return ::PeekMessageA(&msg, nullptr, WM_QUIT, WM_QUIT, PM_NOREMOVE) != 0;
}

bool DebuggerAttached() { return ::IsDebuggerPresent() != 0; }

Choice AskAbortRetryIgnore(const char* text, const char* title)
{
    int answer = ::MessageBoxA(nullptr, text, title,
                               MB_ABORTRETRYIGNORE | MB_ICONEXCLAMATION | MB_SYSTEMMODAL | MB_TOPMOST);
    if (answer == IDABORT)
        return Choice::Abort;
    return answer == IDRETRY ? Choice::Retry : Choice::Ignore;
}

void RaiseAssertException() { ::RaiseException(1, 0, 0, nullptr); }

void ExitProcess(Int status) { ::ExitProcess(static_cast<UINT>(status)); }

} // namespace Orn::DebugPlatform
