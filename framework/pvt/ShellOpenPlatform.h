// The platform half of opening a URL (ShellOpen_Win.cpp, ShellOpen_Posix.cpp).
#pragma once

namespace Orn::ShellOpenPlatform {

void Open(const char* url);

} // namespace Orn::ShellOpenPlatform
