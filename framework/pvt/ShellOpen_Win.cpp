// Windows half of opening a URL: ShellExecuteA with the "open" verb.
#include <windows.h>

#include <shellapi.h>

#include "ShellOpenPlatform.h"

namespace Orn::ShellOpenPlatform {

// A page that fails to open is not an error of the caller, so the result is not looked at.
void Open(const char* url) { ::ShellExecuteA(nullptr, "open", url, nullptr, nullptr, SW_SHOWNORMAL); }

} // namespace Orn::ShellOpenPlatform
