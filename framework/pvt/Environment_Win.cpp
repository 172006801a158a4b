// Windows environment variables of this process.
#include "Environment.h"

#include <windows.h>

#include "Debug.h"

namespace Orn {

bool GetEnvVariable(const char* varName, CString& value)
{
    value.Empty();
    ORN_ASSERT(varName);
    if (!varName)
        return false;
    ::SetLastError(0);
    // The value may change size between the calls; ask again until the buffer is big enough.
    DWORD size = ::GetEnvironmentVariableA(varName, nullptr, 0);
    while (size > 0) {
        char* buf = value.Lock(static_cast<Int>(size));
        DWORD got = ::GetEnvironmentVariableA(varName, buf, size);
        value.Unlock();
        if (got < size)
            return true;
        size = got;
    }
    // A defined empty variable also reports length 0, but leaves another last error.
    value.Empty();
    return ::GetLastError() != ERROR_ENVVAR_NOT_FOUND;
}

bool SetEnvVariable(const char* varName, const char* value)
{
    ORN_ASSERT(varName);
    ORN_ASSERT(value);
    if (!varName || !value)
        return false;
    if (!::SetEnvironmentVariableA(varName, value)) {
        ORN_ASSERT_MSG("::SetEnvironmentVariableA(varName,value)");
        return false;
    }
    return true;
}

} // namespace Orn
