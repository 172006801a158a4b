// Native half of the file stream: the owned POSIX descriptor.
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "FileStream.h"

namespace Orn {

namespace {

int Fd(std::intptr_t handle) { return static_cast<int>(handle); }

RStatus OpenError(int error)
{
    if (error == ENOENT)
        return E_NotFound;
    return error == EACCES ? E_NoAccess : Failure;
}

RStatus IOError(int error, RStatus fallback) { return error == ENOSPC ? E_DiskFull : fallback; }

} // namespace

RStatus COSFile::Open(const char* path, DWord mode)
{
    Close();
    bool reads = (mode & smRead) && !(mode & smNoRead);
    bool writes = (mode & smWrite) != 0;
    int flags = reads && writes ? O_RDWR : writes ? O_WRONLY : O_RDONLY;
    if (mode & fsmCreate)
        flags |= O_CREAT | O_TRUNC;
    else if (mode & fsmAppend)
        flags |= O_CREAT;
    int fd = ::open(path, flags | O_CLOEXEC, 0666);
    if (fd < 0)
        return OpenError(errno);
    mHandle = fd;
    return Ok;
}

void COSFile::Close()
{
    if (IsOpen())
        ::close(Fd(mHandle));
    mHandle = cInvalid;
}

RStatus COSFile::Read(void* buf, Int count, Int& got)
{
    got = 0;
    ssize_t n;
    do
        n = ::read(Fd(mHandle), buf, static_cast<size_t>(count));
    while (n < 0 && errno == EINTR);
    if (n < 0)
        return IOError(errno, E_Read);
    got = static_cast<Int>(n);
    return Ok;
}

RStatus COSFile::Write(const void* buf, Int count)
{
    const char* p = static_cast<const char*>(buf);
    while (count > 0) {
        ssize_t n = ::write(Fd(mHandle), p, static_cast<size_t>(count));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return IOError(errno, E_Write);
        p += n;
        count -= static_cast<Int>(n);
    }
    return Ok;
}

RStatus COSFile::Seek(Int64 pos) { return ::lseek(Fd(mHandle), pos, SEEK_SET) < 0 ? Failure : Ok; }

RStatus COSFile::Tell(Int64& pos)
{
    off_t at = ::lseek(Fd(mHandle), 0, SEEK_CUR);
    if (at < 0)
        return Failure;
    pos = at;
    return Ok;
}

RStatus COSFile::Size(Int64& size)
{
    struct stat st;
    if (::fstat(Fd(mHandle), &st) != 0)
        return Failure;
    size = st.st_size;
    return Ok;
}

RStatus COSFile::Truncate(Int64 size) { return ::ftruncate(Fd(mHandle), size) == 0 ? Ok : IOError(errno, E_Write); }

void COSFile::MakeDirectory(const char* path) { ::mkdir(path, 0777); }

} // namespace Orn
