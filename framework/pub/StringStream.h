// A text stream over a string of the caller's: reads from its start, writes append to it.
#pragma once

#include "Stream.h"

namespace Orn {

class CStringStream : public CStream {
public:
    CStringStream() = default;
    // The string must outlive the stream.
    explicit CStringStream(CString& str, DWord mode = smRead | smWrite);
    bool Open(CString& str, DWord mode = smRead | smWrite);
    // A string cannot hold a NUL byte; writing one fails with E_Write.
    bool IsBinaryAllowed() const override { return false; }

protected:
    bool DoRead(void* buf, Int count, Int& got) override;
    bool DoWrite(const void* buf, Int count) override;

private:
    CString* mString = nullptr;
    Int mReadPos = 0;
};

} // namespace Orn
