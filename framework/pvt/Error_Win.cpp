// Windows half of the error mapping.
#include <windows.h>

#include "ErrorPlatform.h"

namespace Orn::ErrorPlatform {

DWord LastError() { return ::GetLastError(); }

void SystemMessage(DWord osError, CString& text)
{
    char buf[512] = {0};
    DWORD n = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, osError, 0, buf,
                               sizeof buf, nullptr);
    while (n > 0 && (buf[n - 1] == '\n' || buf[n - 1] == '\r'))
        buf[--n] = 0;
    text = buf;
}

} // namespace Orn::ErrorPlatform
