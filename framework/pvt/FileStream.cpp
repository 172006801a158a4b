// The file stream's portable half: opening rules, the read buffer and positions over the owned OS file.
#include "FileStream.h"

#include "Debug.h"

namespace Orn {

namespace {

bool IsDelimiter(char c) { return c == '/' || (ORN_WINDOWS && c == '\\'); }

// Create-or-replace and append both write; a mode that asks for nothing reads.
DWord NormalizedMode(DWord mode)
{
    if (mode & (fsmCreate | fsmAppend))
        mode |= smWrite;
    if (!(mode & (smRead | smWrite)))
        mode |= smRead;
    return mode;
}

} // namespace

CFileStream::CFileStream(const char* path, DWord mode) { (void)Open(path, mode); }

CFileStream::~CFileStream() { CFileStream::Close(); }

bool CFileStream::Check(RStatus status) { return status.Succeeded() || Fail(status); }

void CFileStream::CreateParentDirectories(const char* path)
{
    Int len = Str::Length(path);
    for (Int i = 1; i < len; ++i)
        if (IsDelimiter(path[i]) && !IsDelimiter(path[i - 1]))
            COSFile::MakeDirectory(CString(path, i).Chars());
}

RStatus CFileStream::Open(const char* path, DWord mode)
{
    ORN_ASSERT(path);
    ORN_ASSERT((mode & smDerivedModeBits) == 0);
    if (!path || (mode & smDerivedModeBits) != 0) {
        Fail(E_BadArgument);
        return E_BadArgument;
    }
    if (IsOpen())
        return E_AlreadyOpen;
    mode = NormalizedMode(mode);
    if (mode & fsmCreateFullPath)
        CreateParentDirectories(path);
    RStatus result = mFile.Open(path, mode);
    Int64 size = 0;
    if (result.Succeeded() && (mode & fsmAppend) && (result = mFile.Size(size)).Succeeded())
        result = mFile.Seek(size);
    if (result.Failed()) {
        mFile.Close();
        Fail(result);
        return result;
    }
    mPath = path;
    mReadPos = mReadLen = 0;
    DWord caps = smCanGetPos | smCanSetPos | smCanGetLength | smCanSetLength;
    caps |= (mode & smRead) ? DWord(smCanRead) : 0;
    caps |= (mode & smWrite) ? DWord(smCanWrite) : 0;
    SetOpened(mode, caps);
    return Ok;
}

bool CFileStream::Close()
{
    bool ok = CStream::Close();
    mFile.Close();
    mReadPos = mReadLen = 0;
    return ok;
}

bool CFileStream::DoRead(void* buf, Int count, Int& got)
{
    Byte* out = static_cast<Byte*>(buf);
    got = 0;
    while (got < count) {
        if (mReadPos == mReadLen) {
            if (!mReadBuf)
                mReadBuf.reset(new Byte[cReadBufSize]);
            mReadPos = mReadLen = 0;
            if (!Check(mFile.Read(mReadBuf.get(), cReadBufSize, mReadLen)))
                return false;
            if (mReadLen == 0)
                break;
        }
        Int n = mReadLen - mReadPos < count - got ? mReadLen - mReadPos : count - got;
        for (Int i = 0; i < n; ++i)
            out[got + i] = mReadBuf[mReadPos + i];
        mReadPos += n;
        got += n;
    }
    return true;
}

// Moves the file back over bytes read ahead, so the file position is the stream's again.
bool CFileStream::DropReadBuffer()
{
    Int unread = mReadLen - mReadPos;
    mReadPos = mReadLen = 0;
    if (unread == 0)
        return true;
    Int64 pos = 0;
    return Check(mFile.Tell(pos)) && Check(mFile.Seek(pos - unread));
}

bool CFileStream::DoWrite(const void* buf, Int count) { return DropReadBuffer() && Check(mFile.Write(buf, count)); }

bool CFileStream::DoGetPos(Int64& pos)
{
    if (!Check(mFile.Tell(pos)))
        return false;
    pos -= mReadLen - mReadPos;
    return true;
}

bool CFileStream::DoSetPos(Int64 pos)
{
    mReadPos = mReadLen = 0;
    return Check(mFile.Seek(pos));
}

bool CFileStream::DoGetLength(Int64& length) { return Check(mFile.Size(length)); }

bool CFileStream::DoSetLength(Int64 length) { return DropReadBuffer() && Check(mFile.Truncate(length)); }

} // namespace Orn
