// An owning POSIX file descriptor: closed when its owner goes, handed on by moving.
#pragma once

#include <unistd.h>

#include <utility>

class CFileDescriptor {
public:
    CFileDescriptor() = default;
    explicit CFileDescriptor(int fd) : mFd(fd) {}
    ~CFileDescriptor()
    {
        if (mFd >= 0)
            ::close(mFd);
    }
    CFileDescriptor(CFileDescriptor&& other) noexcept : mFd(other.Take()) {}
    CFileDescriptor& operator=(CFileDescriptor&& other) noexcept
    {
        CFileDescriptor old(std::exchange(mFd, other.Take()));
        return *this;
    }

    int Get() const { return mFd; }
    bool IsOpen() const { return mFd >= 0; }
    // Gives up ownership.
    int Take() { return std::exchange(mFd, -1); }

private:
    int mFd = -1;
};
