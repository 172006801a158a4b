// Platform detection and the framework's basic integer types; the only place that tests the compiler's target.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#define ORN_WINDOWS 1
#else
#define ORN_WINDOWS 0
#endif

// printf-style checking of a format and its arguments (the framework formats as C99 says): the positions of the
// format and of the first argument, counting a member function's object as the first.
#if defined(__clang__)
#define ORN_PRINTF(formatPos, firstArg) __attribute__((format(printf, formatPos, firstArg)))
#else
#define ORN_PRINTF(formatPos, firstArg) __attribute__((format(gnu_printf, formatPos, firstArg)))
#endif

namespace Orn {

using Int = std::int32_t;
using DWord = std::uint32_t;
using Byte = std::uint8_t;
using Int64 = std::int64_t;
// Wide text is 16-bit UTF-16 on Windows; natively wchar_t is wider but only ever holds 16-bit values here.
using WChar = wchar_t;

} // namespace Orn
