// Opening a web page with the shell's "open" verb, which starts the default browser.
#pragma once

namespace Orn {

// Hands the URL to the shell; the outcome is not reported. Natively there is no shell and nothing happens.
void ShellOpenURL(const char* url);

// Test hook: while set, ShellOpenURL gives the URL to the hook instead of the shell. The product never sets it.
using ShellOpenHook = void (*)(const char* url);
// Returns the previous hook.
ShellOpenHook SetShellOpenHook(ShellOpenHook hook);

} // namespace Orn
