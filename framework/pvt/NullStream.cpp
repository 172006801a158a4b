// The null stream: every write succeeds and goes nowhere; every read is at the end.
#include "NullStream.h"

namespace Orn {

CNullStream::CNullStream(DWord mode) { SetOpened(mode, smCanRead | smCanWrite); }

bool CNullStream::DoRead(void*, Int, Int& got)
{
    got = 0;
    return true;
}

bool CNullStream::DoWrite(const void*, Int) { return true; }

} // namespace Orn
