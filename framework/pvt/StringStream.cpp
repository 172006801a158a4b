// The string stream: reads from the string's start, writes append to its end.
#include "StringStream.h"

#include <cstring>

namespace Orn {

CStringStream::CStringStream(CString& str, DWord mode) { Open(str, mode); }

bool CStringStream::Open(CString& str, DWord mode)
{
    mString = &str;
    mReadPos = 0;
    DWord caps = (mode & smRead) ? DWord(smCanRead) : 0;
    caps |= (mode & smWrite) ? DWord(smCanWrite) : 0;
    SetOpened(mode, caps);
    return true;
}

// A string cut shorter than what was already read has nothing left; the position never moves back.
bool CStringStream::DoRead(void* buf, Int count, Int& got)
{
    Int left = mString->Length() - mReadPos;
    if (left < 0)
        left = 0;
    got = left < count ? left : count;
    if (got > 0)
        std::memcpy(buf, mString->Chars() + mReadPos, static_cast<size_t>(got));
    mReadPos += got;
    return true;
}

bool CStringStream::DoWrite(const void* buf, Int count)
{
    if (std::memchr(buf, 0, static_cast<size_t>(count)))
        return Fail(E_Write);
    // Exactly count bytes: the caller's bytes need not be terminated.
    mString->Append(static_cast<const char*>(buf), count);
    return true;
}

} // namespace Orn
