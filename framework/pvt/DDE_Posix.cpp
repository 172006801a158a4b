// Without DDE no browser can be asked.
#include "DDE.h"

namespace Orn {

bool DDEOpenURL(const char*, Int) { return false; }

} // namespace Orn
