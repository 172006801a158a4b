// Native half of the error mapping; there is no Windows error state here.
#include "ErrorPlatform.h"

namespace Orn::ErrorPlatform {

DWord LastError() { return 0; }

void SystemMessage(DWord osError, CString& text) { text.Format("system error %u", static_cast<unsigned>(osError)); }

} // namespace Orn::ErrorPlatform
