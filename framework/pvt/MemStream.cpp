// Memory streams: a view of the caller's bytes and a growable owned buffer.
#include "MemStream.h"

#include <climits>
#include <cstring>

#include "Debug.h"

namespace Orn {

namespace {

constexpr DWord cPosCaps = smCanGetPos | smCanSetPos | smCanGetLength;

bool ModeAllowed(DWord mode)
{
    ORN_ASSERT((mode & (smEncryption | smNoRead | smUTF16BigEndian)) == 0);
    return (mode & (smEncryption | smNoRead | smUTF16BigEndian)) == 0;
}

// Copies what is left from pos on; a position past the end reads nothing.
Int CopyOut(const Byte* data, Int64 size, Int64& pos, void* buf, Int count)
{
    Int64 left = pos < size ? size - pos : 0;
    Int n = left < count ? static_cast<Int>(left) : count;
    if (n > 0)
        std::memcpy(buf, data + pos, static_cast<size_t>(n));
    pos += n;
    return n;
}

} // namespace

// ---- CMemStream

CMemStream::CMemStream(const void* data, Int size, DWord mode) { Open(data, size, mode); }

bool CMemStream::Open(const void* data, Int size, DWord mode)
{
    ORN_ASSERT(data || size == 0);
    ORN_ASSERT((mode & smWrite) == 0);
    if (!ModeAllowed(mode) || (mode & smWrite) || (!data && size != 0))
        return Fail(E_BadArgument);
    mData = static_cast<const Byte*>(data);
    mSize = size;
    mPos = 0;
    SetOpened(mode, smCanRead | cPosCaps);
    return true;
}

bool CMemStream::DoRead(void* buf, Int count, Int& got)
{
    got = CopyOut(mData, mSize, mPos, buf, count);
    return true;
}

bool CMemStream::DoGetPos(Int64& pos)
{
    pos = mPos;
    return true;
}

bool CMemStream::DoSetPos(Int64 pos)
{
    if (pos < 0 || pos > mSize)
        return Fail(E_BadArgument);
    mPos = pos;
    return true;
}

bool CMemStream::DoGetLength(Int64& length)
{
    length = mSize;
    return true;
}

// ---- CMemHandStream

CMemHandStream::CMemHandStream(DWord mode) { Open(mode); }

bool CMemHandStream::Open(DWord mode)
{
    if (!ModeAllowed(mode))
        return Fail(E_BadArgument);
    mBuf.Clear();
    mPos = 0;
    DWord caps = cPosCaps | smCanSetLength;
    caps |= (mode & smRead) ? DWord(smCanRead) : 0;
    caps |= (mode & smWrite) ? DWord(smCanWrite) : 0;
    SetOpened(mode, caps);
    return true;
}

bool CMemHandStream::DoRead(void* buf, Int count, Int& got)
{
    got = CopyOut(mBuf.Data(), mBuf.Size(), mPos, buf, count);
    return true;
}

bool CMemHandStream::DoWrite(const void* buf, Int count)
{
    Int64 end = mPos + count;
    if (end > INT_MAX)
        return Fail(E_TooMuchData);
    if (end > mBuf.Size())
        mBuf.Resize(static_cast<Int>(end));
    std::memcpy(mBuf.Data() + mPos, buf, static_cast<size_t>(count));
    mPos = end;
    return true;
}

bool CMemHandStream::DoGetPos(Int64& pos)
{
    pos = mPos;
    return true;
}

bool CMemHandStream::DoSetPos(Int64 pos)
{
    if (pos < 0 || pos > mBuf.Size())
        return Fail(E_BadArgument);
    mPos = pos;
    return true;
}

bool CMemHandStream::DoGetLength(Int64& length)
{
    length = mBuf.Size();
    return true;
}

bool CMemHandStream::DoSetLength(Int64 length)
{
    if (length < 0)
        return Fail(E_BadArgument);
    if (length > INT_MAX)
        return Fail(E_TooMuchData);
    mBuf.Resize(static_cast<Int>(length));
    if (mPos > length)
        mPos = length;
    return true;
}

} // namespace Orn
