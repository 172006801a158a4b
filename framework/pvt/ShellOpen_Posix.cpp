// Native half of opening a URL: the portable build has no shell to hand pages to.
#include "ShellOpenPlatform.h"

namespace Orn::ShellOpenPlatform {

void Open(const char*) {}

} // namespace Orn::ShellOpenPlatform
