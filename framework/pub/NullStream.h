// A stream that discards what is written and reads as empty.
#pragma once

#include "Stream.h"

namespace Orn {

class CNullStream : public CStream {
public:
    // Open from construction.
    explicit CNullStream(DWord mode = smRead | smWrite);

protected:
    bool DoRead(void* buf, Int count, Int& got) override;
    bool DoWrite(const void* buf, Int count) override;
};

} // namespace Orn
