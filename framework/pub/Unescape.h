// Backslash escapes in text, as the reply scripts write them inside string literals.
#pragma once

#include "String.h"

namespace Orn::Str {

// Replaces backslash escapes in place. Understood: \\ \" \' \n (10) \r (13) \t (9) and \xHH (exactly two
// hexadecimal digits, either case, giving a byte other than zero). Any other backslash keeps just the
// character after it ("\q" gives "q", and "\x4g" gives "x4g"). A zero byte cannot be written, because the text
// ends at the first zero. A backslash that ends the text stays as it is.
void Unescape(CString& text);

} // namespace Orn::Str
