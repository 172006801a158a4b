// Streams over memory: a read-only view of the caller's bytes, and a growable buffer of its own.
#pragma once

#include "Array.h"
#include "Stream.h"

namespace Orn {

// Reads the caller's bytes, which must outlive the stream.
class CMemStream : public CStream {
public:
    CMemStream() = default;
    CMemStream(const void* data, Int size, DWord mode = smRead);
    // Mode: smRead with the text bits; smEncryption, smNoRead and smUTF16BigEndian are refused.
    bool Open(const void* data, Int size, DWord mode = smRead);

protected:
    bool DoRead(void* buf, Int count, Int& got) override;
    bool DoGetPos(Int64& pos) override;
    bool DoSetPos(Int64 pos) override;
    bool DoGetLength(Int64& length) override;

private:
    const Byte* mData = nullptr;
    Int64 mSize = 0;
    Int64 mPos = 0;
};

// Reads and writes a buffer that grows as it is written, up to INT_MAX bytes; open from construction.
class CMemHandStream : public CStream {
public:
    // Mode: smRead and smWrite with the text bits; the same bits as CMemStream are refused.
    explicit CMemHandStream(DWord mode = smRead | smWrite);
    // Starts again with an empty buffer.
    bool Open(DWord mode = smRead | smWrite);

    const Byte* Data() const { return mBuf.Data(); }
    Int Size() const { return mBuf.Size(); }

protected:
    bool DoRead(void* buf, Int count, Int& got) override;
    bool DoWrite(const void* buf, Int count) override;
    bool DoGetPos(Int64& pos) override;
    bool DoSetPos(Int64 pos) override;
    bool DoGetLength(Int64& length) override;
    bool DoSetLength(Int64 length) override;

private:
    CArray<Byte> mBuf;
    Int64 mPos = 0;
};

} // namespace Orn
