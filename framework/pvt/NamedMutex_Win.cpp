// The single-instance mutex.
#include "NamedMutex_Win.h"

#include "Debug.h"

namespace Orn {

CNamedMutex::CNamedMutex(const char* mutexName)
{
    ORN_ASSERT(mutexName);
    if (!mutexName)
        return;
    HANDLE handle = ::CreateMutexA(nullptr, FALSE, mutexName);
    mLastError = ::GetLastError();
    if (handle == nullptr)
        ORN_ASSERT_MSG("(mMutex = ::CreateMutexA(0,0,mutexName)) != 0");
    mMutex.Reset(handle);
}

} // namespace Orn
