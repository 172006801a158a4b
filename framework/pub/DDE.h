// Opening a web page in a running browser over DDE.
#pragma once

#include "Platform.h"

namespace Orn {

// Asks the browser to open url in the window windowId and then to bring that window to the front; true when
// it accepted both. Where there is no DDE the answer is always false.
bool DDEOpenURL(const char* url, Int windowId);

} // namespace Orn
