// A stream over an operating-system file: buffered reads, unbuffered writes.
#pragma once

#include <cstdint>
#include <memory>

#include "Stream.h"

namespace Orn {

// Owns one open file: a HANDLE on Windows, a descriptor elsewhere. Positions are absolute.
class COSFile {
public:
    COSFile() = default;
    COSFile(const COSFile&) = delete;
    COSFile& operator=(const COSFile&) = delete;
    ~COSFile() { Close(); }

    bool IsOpen() const { return mHandle != cInvalid; }
    // Opens by the stream mode (smRead, smWrite, smNoRead, fsmCreate, fsmAppend); the OS error as a status.
    RStatus Open(const char* path, DWord mode);
    void Close();
    RStatus Read(void* buf, Int count, Int& got);
    RStatus Write(const void* buf, Int count);
    RStatus Seek(Int64 pos);
    RStatus Tell(Int64& pos);
    RStatus Size(Int64& size);
    // Sets the size and keeps the position.
    RStatus Truncate(Int64 size);
    // The raw handle (a HANDLE on Windows) for platform calls that write the file themselves.
    std::intptr_t Native() const { return mHandle; }

    // Creates one directory; failure (it exists, or a drive name) is left to the open that follows.
    static void MakeDirectory(const char* path);

private:
    static constexpr std::intptr_t cInvalid = -1; // INVALID_HANDLE_VALUE and the invalid descriptor alike
    std::intptr_t mHandle = cInvalid;
};

class CFileStream : public CStream {
public:
    CFileStream() = default;
    // Opens at once; IsOpen() and GetStatus() tell how it went.
    CFileStream(const char* path, DWord mode);
    ~CFileStream() override;

    // Mode: smRead and/or smWrite with the sm* text bits, plus fsmCreate (create or replace), fsmAppend
    // (open or create, write at the end) and fsmCreateFullPath. Without either file bit the file must exist.
    RStatus Open(const char* path, DWord mode);
    bool Close() override;
    const CString& Path() const { return mPath; }
    // The raw handle, for platform calls that write the file themselves (crash dumps).
    std::intptr_t NativeHandle() const { return mFile.Native(); }

protected:
    bool DoRead(void* buf, Int count, Int& got) override;
    bool DoWrite(const void* buf, Int count) override;
    bool DoGetPos(Int64& pos) override;
    bool DoSetPos(Int64 pos) override;
    bool DoGetLength(Int64& length) override;
    bool DoSetLength(Int64 length) override;

private:
    bool Check(RStatus status);
    bool DropReadBuffer();
    static void CreateParentDirectories(const char* path);

    static constexpr Int cReadBufSize = 4096;
    COSFile mFile;
    CString mPath;
    std::unique_ptr<Byte[]> mReadBuf;
    Int mReadPos = 0;
    Int mReadLen = 0;
};

} // namespace Orn
