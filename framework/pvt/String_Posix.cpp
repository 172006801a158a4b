// Code-page conversions for the native build: the system code page is taken to be Latin-1.
#include "Debug.h"
#include "String.h"

namespace Orn {

Int Str::ToWStr(const char* src, WChar* dst, Int dstSize)
{
    Int n = 0;
    for (; src[n] && n < dstSize - 1; ++n)
        dst[n] = static_cast<WChar>(static_cast<unsigned char>(src[n]));
    dst[n] = 0;
    ORN_ASSERT(n > 0 || !*src);
    return n;
}

Int WStr::ToStr(const WChar* src, char* dst, Int dstSize)
{
    Int n = 0;
    for (; src[n] && n < dstSize - 1; ++n)
        dst[n] = src[n] <= 0xFF ? static_cast<char>(src[n]) : '?';
    dst[n] = 0;
    ORN_ASSERT(n > 0 || !*src);
    return n;
}

} // namespace Orn
