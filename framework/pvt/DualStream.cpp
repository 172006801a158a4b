// The dual stream: each write goes to both targets, even when the first one fails.
#include "DualStream.h"

namespace Orn {

CDualStream::CDualStream(CStream& first, CStream& second, DWord mode) : mFirst(first), mSecond(second)
{
    SetOpened(mode & ~DWord(smRead), smCanWrite);
}

bool CDualStream::DoWrite(const void* buf, Int count)
{
    bool first = mFirst.Write(buf, count);
    bool second = mSecond.Write(buf, count);
    if (!first)
        return Fail(mFirst.GetStatus());
    return second || Fail(mSecond.GetStatus());
}

bool CDualStream::DoFlush()
{
    bool first = mFirst.Flush();
    bool second = mSecond.Flush();
    return first && second;
}

} // namespace Orn
