// The stream base: state, capabilities, checksums, byte I/O and positions.
#include "Stream.h"

#include <initializer_list>

#include "Debug.h"

namespace Orn {

namespace {

constexpr DWord CrcEntry(DWord n)
{
    for (Int k = 0; k < 8; ++k)
        n = (n & 1) ? 0xEDB88320u ^ (n >> 1) : n >> 1;
    return n;
}

struct CrcTable {
    DWord entry[256];
    constexpr CrcTable() : entry()
    {
        for (DWord i = 0; i < 256; ++i)
            entry[i] = CrcEntry(i);
    }
};

constexpr CrcTable cCrcTable;

} // namespace

// ---- State

void CStream::SetOpened(DWord mode, DWord capabilities)
{
    mMode = (mode & ~smDerivedModeBits) | (capabilities & smDerivedModeBits) | smIsOpen;
    if (mode & smNoRead)
        mMode &= ~DWord(smCanRead);
    mStatus = Ok;
    mChecksumming = (mode & smChecksum) != 0;
    mChecksum = 0;
    mUnGetChar = -1;
    mLookAhead = -1;
    mAtLineStart = false;
    mLineCount = 0;
    mOutLen = 0;
}

bool CStream::Fail(RStatus status)
{
    mStatus = status;
    return false;
}

void CStream::Outdent()
{
    ORN_ASSERT(mIndentLevel > 0);
    if (mIndentLevel > 0)
        --mIndentLevel;
}

void CStream::SetInsistOnComplete(bool insist)
{
    mMode = insist ? (mMode | smInsistComplete) : (mMode & ~DWord(smInsistComplete));
}

bool CStream::CheckReadable()
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    ORN_ASSERT(IsReadable());
    return IsReadable();
}

bool CStream::CheckWritable()
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    ORN_ASSERT(IsWritable());
    return IsWritable();
}

// ---- Checksum

void CStream::StartChecksum()
{
    ORN_ASSERT(! IsChecksumming());
    if (mChecksumming)
        return; // the running checksum goes on
    mChecksumming = true;
    mChecksum = 0;
}

DWord CStream::GetChecksum() const
{
    ORN_ASSERT(IsChecksumming());
    return mChecksum;
}

void CStream::AddToChecksum(const void* buf, Int count)
{
    if (!mChecksumming)
        return;
    const Byte* p = static_cast<const Byte*>(buf);
    if (mMode & smCRC) {
        DWord c = ~mChecksum;
        for (Int i = 0; i < count; ++i)
            c = cCrcTable.entry[(c ^ p[i]) & 0xFF] ^ (c >> 8);
        mChecksum = ~c;
    } else {
        for (Int i = 0; i < count; ++i)
            mChecksum += p[i];
    }
}

// ---- Default operations

bool CStream::DoRead(void*, Int, Int&)
{
    ORN_ASSERT_MSG("not implemented for this stream");
    return Fail(Failure);
}

bool CStream::DoWrite(const void*, Int)
{
    ORN_ASSERT_MSG("not implemented for this stream");
    return Fail(Failure);
}

bool CStream::DoGetPos(Int64&)
{
    ORN_ASSERT_MSG("not implemented for this stream");
    return Fail(Failure);
}

bool CStream::DoSetPos(Int64)
{
    ORN_ASSERT_MSG("not implemented for this stream");
    return Fail(Failure);
}

bool CStream::DoGetLength(Int64&)
{
    ORN_ASSERT_MSG("not implemented for this stream");
    return Fail(Failure);
}

bool CStream::DoSetLength(Int64)
{
    ORN_ASSERT_MSG("not implemented for this stream");
    return Fail(Failure);
}

// ---- Bytes

// -1 on a failure; a short count only at the end, which throws in a stream that insists on complete reads.
Int CStream::ReadRaw(void* buf, Int count)
{
    Int got = 0;
    if (count > 0 && !DoRead(buf, count, got)) {
        mReadFailed = true;
        return -1;
    }
    AddToChecksum(buf, got);
    if (got < count && (mMode & smInsistComplete))
        throw E_UnexpectedEOF;
    return got;
}

bool CStream::WriteRaw(const void* buf, Int count)
{
    if (count <= 0)
        return true;
    if (!DoWrite(buf, count))
        return false;
    AddToChecksum(buf, count);
    return true;
}

// A character pushed back (or looked ahead) in 8-bit text is still a byte of the stream.
Int CStream::TakePendingBytes(Byte* out, Int count)
{
    Int n = 0;
    for (Int* pending : {&mUnGetChar, &mLookAhead}) {
        if (*pending == -1 || n == count)
            continue;
        ORN_ASSERT(! IsUnicodeEncoding());
        out[n++] = static_cast<Byte>(*pending);
        *pending = -1;
    }
    return n;
}

bool CStream::Read(void* buf, Int count, Int* got)
{
    if (!CheckReadable())
        return false;
    ORN_ASSERT(count >= 0);
    Byte* out = static_cast<Byte*>(buf);
    Int done = count > 0 ? TakePendingBytes(out, count) : 0;
    Int n = ReadRaw(out + done, count - done);
    if (n < 0)
        return false;
    done += n;
    if (got)
        *got = done;
    else if (done < count)
        return Fail(E_UnexpectedEOF);
    return true;
}

bool CStream::Write(const void* buf, Int count)
{
    if (!CheckWritable())
        return false;
    ORN_ASSERT(count >= 0);
    return FlushOut() && WriteRaw(buf, count);
}

bool CStream::ReadInt32(Int& value)
{
    Byte b[4];
    if (!Read(b, 4))
        return false;
    value = static_cast<Int>(DWord(b[0]) | DWord(b[1]) << 8 | DWord(b[2]) << 16 | DWord(b[3]) << 24);
    return true;
}

bool CStream::WriteInt32(Int value)
{
    DWord v = static_cast<DWord>(value);
    Byte b[4] = {Byte(v), Byte(v >> 8), Byte(v >> 16), Byte(v >> 24)};
    return Write(b, 4);
}

bool CStream::WriteCStr(const char* text)
{
    ORN_ASSERT(text);
    ORN_ASSERT(IsBinaryAllowed());
    if (!text)
        return false;
    return Write(text, Str::Length(text) + 1);
}

// ---- Position and length

bool CStream::GetPos(Int64& pos)
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    ORN_ASSERT(CanGetPos());
    return CanGetPos() && FlushOut() && DoGetPos(pos);
}

bool CStream::SetPos(Int64 pos)
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    ORN_ASSERT(CanSetPos());
    if (!CanSetPos() || !FlushOut())
        return false;
    mUnGetChar = -1;
    mLookAhead = -1;
    return DoSetPos(pos);
}

bool CStream::GetLength(Int64& length)
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    ORN_ASSERT(CanGetLength());
    return CanGetLength() && FlushOut() && DoGetLength(length);
}

bool CStream::SetLength(Int64 length)
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    ORN_ASSERT(CanSetLength());
    return CanSetLength() && FlushOut() && DoSetLength(length);
}

bool CStream::Flush()
{
    if (!IsOpen())
        return Fail(E_NotOpen);
    return FlushOut() && DoFlush();
}

bool CStream::Close()
{
    if (!IsOpen())
        return true;
    bool ok = FlushOut() && DoFlush();
    mMode = 0;
    mUnGetChar = -1;
    mLookAhead = -1;
    mChecksumming = false;
    return ok;
}

} // namespace Orn
