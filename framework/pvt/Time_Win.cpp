// Windows half of time conversion: the C runtime's explicit 64-bit functions, whatever time_t is.
#include <time.h>

#include "TimePlatform.h"

namespace Orn::TimePlatform {

Int64 Now() { return static_cast<Int64>(::_time64(nullptr)); }

Int64 MakeLocal(std::tm& fields) { return static_cast<Int64>(::_mktime64(&fields)); }

bool BreakDownLocal(Int64 seconds, std::tm& fields)
{
    __time64_t t = static_cast<__time64_t>(seconds);
    return ::_localtime64_s(&fields, &t) == 0;
}

} // namespace Orn::TimePlatform
