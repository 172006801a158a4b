// A stream that writes the same bytes to two other streams.
#pragma once

#include "Stream.h"

namespace Orn {

// Text settings (encoding, line ends, indentation) are the dual stream's own; both targets receive its
// bytes unchanged. The targets must outlive it.
class CDualStream : public CStream {
public:
    CDualStream(CStream& first, CStream& second, DWord mode = smWrite);

protected:
    bool DoWrite(const void* buf, Int count) override;
    bool DoFlush() override;

private:
    CStream& mFirst;
    CStream& mSecond;
};

} // namespace Orn
