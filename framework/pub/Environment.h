// The process's environment variables.
#pragma once

#include "String.h"

namespace Orn {

// The variable's value; false (and value emptied) when it is not defined. A defined empty variable is true.
bool GetEnvVariable(const char* varName, CString& value);
// Defines or replaces a variable of this process; a platform failure is an assertion and false.
bool SetEnvVariable(const char* varName, const char* value);

} // namespace Orn
