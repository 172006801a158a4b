// A named mutex that only detects a second instance: it is created, never waited for.
#pragma once

#include "Handle_Win.h"
#include "Platform.h"

namespace Orn {

class CNamedMutex {
public:
    explicit CNamedMutex(const char* mutexName);
    // The last error right after creation; 183 means another process had made it.
    DWord CreationError() const { return mLastError; }
    bool AlreadyExisted() const { return mLastError == ERROR_ALREADY_EXISTS; }

private:
    CKernelHandle mMutex;
    DWord mLastError = 0;
};

} // namespace Orn
