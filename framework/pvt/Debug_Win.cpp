// Windows half of assertion reporting: debugger output, message box and the code-1 exception.
#include <windows.h>

#include <cstdlib>
#include <cxxabi.h>
#include <typeinfo>

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

// The C++ runtime's terminate handler, defined here so that the program does not link the runtime's own: its
// name demangler alone is a tenth of the shipped program. It names the exception's type in its mangled form
// and aborts, as the runtime's does.
namespace __gnu_cxx {

void __verbose_terminate_handler()
{
    const std::type_info* type = abi::__cxa_current_exception_type();
    if (!type) {
        ::OutputDebugStringA("terminate called without an active exception\n");
    } else {
        ::OutputDebugStringA("terminate called after throwing an instance of '");
        ::OutputDebugStringA(type->name());
        ::OutputDebugStringA("'\n");
    }
    std::abort();
}

} // namespace __gnu_cxx
