// Windows half of the file stream: the owned file HANDLE.
#include <windows.h>

#include "FileStream.h"

namespace Orn {

namespace {

HANDLE H(std::intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

RStatus LastError() { return StatusFromOSError(::GetLastError()); }

} // namespace

RStatus COSFile::Open(const char* path, DWord mode)
{
    Close();
    bool reads = (mode & smRead) && !(mode & smNoRead);
    DWORD access = (reads ? GENERIC_READ : 0) | ((mode & smWrite) ? GENERIC_WRITE : 0);
    // Readers let a writer go on (a log being read while written); a writer lets others read only.
    DWORD share = (mode & smWrite) ? FILE_SHARE_READ : FILE_SHARE_READ | FILE_SHARE_WRITE;
    DWORD disposition = (mode & fsmCreate) ? CREATE_ALWAYS : (mode & fsmAppend) ? OPEN_ALWAYS : OPEN_EXISTING;
    HANDLE h = ::CreateFileA(path, access, share, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (h == INVALID_HANDLE_VALUE)
        return LastError();
    mHandle = reinterpret_cast<std::intptr_t>(h);
    return Ok;
}

void COSFile::Close()
{
    if (IsOpen())
        ::CloseHandle(H(mHandle));
    mHandle = cInvalid;
}

RStatus COSFile::Read(void* buf, Int count, Int& got)
{
    DWORD n = 0;
    got = 0;
    if (!::ReadFile(H(mHandle), buf, static_cast<DWORD>(count), &n, nullptr))
        return LastError();
    got = static_cast<Int>(n);
    return Ok;
}

RStatus COSFile::Write(const void* buf, Int count)
{
    const char* p = static_cast<const char*>(buf);
    while (count > 0) {
        DWORD n = 0;
        if (!::WriteFile(H(mHandle), p, static_cast<DWORD>(count), &n, nullptr))
            return LastError();
        if (n == 0)
            return E_Write;
        p += n;
        count -= static_cast<Int>(n);
    }
    return Ok;
}

RStatus COSFile::Seek(Int64 pos)
{
    LARGE_INTEGER to;
    to.QuadPart = pos;
    return ::SetFilePointerEx(H(mHandle), to, nullptr, FILE_BEGIN) ? Ok : LastError();
}

RStatus COSFile::Tell(Int64& pos)
{
    LARGE_INTEGER zero, now;
    zero.QuadPart = 0;
    if (!::SetFilePointerEx(H(mHandle), zero, &now, FILE_CURRENT))
        return LastError();
    pos = now.QuadPart;
    return Ok;
}

RStatus COSFile::Size(Int64& size)
{
    LARGE_INTEGER li;
    if (!::GetFileSizeEx(H(mHandle), &li))
        return LastError();
    size = li.QuadPart;
    return Ok;
}

RStatus COSFile::Truncate(Int64 size)
{
    Int64 pos = 0;
    RStatus result = Tell(pos);
    if (result.Succeeded())
        result = Seek(size);
    if (result.Succeeded() && !::SetEndOfFile(H(mHandle)))
        result = LastError();
    RStatus back = Seek(pos);
    return result.Failed() ? result : back;
}

void COSFile::MakeDirectory(const char* path) { ::CreateDirectoryA(path, nullptr); }

} // namespace Orn
