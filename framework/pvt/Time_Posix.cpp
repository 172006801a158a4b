// POSIX half of time conversion: time_t is 64-bit here.
#include "TimePlatform.h"

namespace Orn::TimePlatform {

Int64 Now() { return static_cast<Int64>(std::time(nullptr)); }

Int64 MakeLocal(std::tm& fields) { return static_cast<Int64>(std::mktime(&fields)); }

bool BreakDownLocal(Int64 seconds, std::tm& fields)
{
    std::time_t t = static_cast<std::time_t>(seconds);
    return ::localtime_r(&t, &fields) != nullptr;
}

} // namespace Orn::TimePlatform
