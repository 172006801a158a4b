// Test streams: one that takes any mode, reads given bytes, records writes and can fail after N bytes.
#pragma once

#include <cstdio>
#include <string>

#include "MemStream.h"
#include "Stream.h"

namespace OrnTest {

// Reads from `input`, records writes in `bytes`; fails every write that would pass `failAfter` bytes and every
// read once `failReadAfter` bytes have been read.
class CCaptureStream : public Orn::CStream {
public:
    explicit CCaptureStream(Orn::DWord mode = Orn::smWrite, Orn::DWord caps = Orn::smCanRead | Orn::smCanWrite)
    {
        SetOpened(mode, caps);
    }

    std::string bytes;
    std::string input;
    Orn::Int failAfter = -1;
    Orn::Int failReadAfter = -1;

protected:
    bool DoWrite(const void* buf, Orn::Int count) override
    {
        if (failAfter >= 0 && static_cast<Orn::Int>(bytes.size()) + count > failAfter)
            return Fail(Orn::E_DiskFull);
        bytes.append(static_cast<const char*>(buf), static_cast<size_t>(count));
        return true;
    }

    bool DoRead(void* buf, Orn::Int count, Orn::Int& got) override
    {
        if (failReadAfter >= 0 && static_cast<Orn::Int>(mReadPos) >= failReadAfter)
            return Fail(Orn::E_Read);
        got = static_cast<Orn::Int>(input.copy(static_cast<char*>(buf), static_cast<size_t>(count), mReadPos));
        mReadPos += static_cast<size_t>(got);
        return true;
    }

private:
    size_t mReadPos = 0;
};

// "C3 A9 " for the bytes C3 A9.
inline std::string Hex(const std::string& bytes)
{
    std::string out;
    char cell[4];
    for (unsigned char b : bytes)
        out.append(cell, static_cast<size_t>(std::snprintf(cell, sizeof cell, "%02X ", b)));
    return out;
}

// What a memory stream holds.
inline std::string Bytes(const Orn::CMemHandStream& s)
{
    return std::string(reinterpret_cast<const char*>(s.Data()), static_cast<size_t>(s.Size()));
}

} // namespace OrnTest
