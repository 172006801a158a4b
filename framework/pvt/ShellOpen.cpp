// Opening a URL through the shell, with the hook that lets tests watch instead.
#include "ShellOpen.h"

#include "ShellOpenPlatform.h"

namespace Orn {

namespace {
ShellOpenHook cShellOpenHook = nullptr;
}

ShellOpenHook SetShellOpenHook(ShellOpenHook hook)
{
    ShellOpenHook old = cShellOpenHook;
    cShellOpenHook = hook;
    return old;
}

void ShellOpenURL(const char* url)
{
    if (cShellOpenHook)
        cShellOpenHook(url);
    else
        ShellOpenPlatform::Open(url);
}

} // namespace Orn
