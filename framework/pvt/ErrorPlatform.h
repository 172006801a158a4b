// The platform half of the error mapping: the last error and the system's text for an error number.
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn::ErrorPlatform {

DWord LastError();
void SystemMessage(DWord osError, CString& text);

} // namespace Orn::ErrorPlatform
