// The platform half of time conversion (Time_Win.cpp, Time_Posix.cpp): 64-bit seconds on every target.
#pragma once

#include <ctime>

#include "Platform.h"

namespace Orn::TimePlatform {

Int64 Now();
// mktime with 64-bit seconds; -1 when the fields cannot be represented.
Int64 MakeLocal(std::tm& fields);
// localtime with 64-bit seconds; false when the time cannot be broken down.
bool BreakDownLocal(Int64 seconds, std::tm& fields);

} // namespace Orn::TimePlatform
