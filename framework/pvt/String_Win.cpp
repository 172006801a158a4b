// Code-page conversions through the system ANSI code page.
#include <windows.h>

#include "Debug.h"
#include "String.h"

namespace Orn {

Int Str::ToWStr(const char* src, WChar* dst, Int dstSize)
{
    if (!*src) {
        dst[0] = 0;
        return 0;
    }
    Int numChars = ::MultiByteToWideChar(CP_ACP, 0, src, -1, dst, dstSize);
    ORN_ASSERT(numChars > 0);
    return numChars > 0 ? numChars - 1 : 0;
}

Int WStr::ToStr(const WChar* src, char* dst, Int dstSize)
{
    if (!*src) {
        dst[0] = 0;
        return 0;
    }
    Int numChars = ::WideCharToMultiByte(CP_ACP, 0, src, -1, dst, dstSize, nullptr, nullptr);
    ORN_ASSERT(numChars > 0);
    return numChars > 0 ? numChars - 1 : 0;
}

} // namespace Orn
