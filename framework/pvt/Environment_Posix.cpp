// Native environment variables through the C library.
#include "Environment.h"

#include <cstdlib>

#include "Debug.h"

namespace Orn {

bool GetEnvVariable(const char* varName, CString& value)
{
    value.Empty();
    ORN_ASSERT(varName);
    const char* found = varName ? std::getenv(varName) : nullptr;
    if (!found)
        return false;
    value = found;
    return true;
}

bool SetEnvVariable(const char* varName, const char* value)
{
    ORN_ASSERT(varName);
    ORN_ASSERT(value);
    if (!varName || !value)
        return false;
    if (::setenv(varName, value, 1) != 0) {
        ORN_ASSERT_MSG("::setenv(varName,value,1) == 0");
        return false;
    }
    return true;
}

} // namespace Orn
