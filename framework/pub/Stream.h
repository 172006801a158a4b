// The abstract stream: bytes, text in three encodings, line ends, indentation, checksums and dumps.
#pragma once

#include <cstdarg>

#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

// Stream mode bits, given at opening.
enum : DWord {
    smRead = 0x00000001,           // open for reading
    smWrite = 0x00000002,          // open for writing
    smText = 0x00000004,           // end-of-line translation (see CStream on reading)
    smChecksum = 0x00000008,       // checksum every byte from the opening on
    smCRC = 0x00000010,            // the checksum is CRC-32 rather than a byte sum
    smCountLines = 0x00000020,     // count the line feeds written (and read)
    smUTF16BigEndian = 0x00000040, // UTF-16 with the high byte first
    smNoRead = 0x00000080,         // never read: overrides smRead (write-only file access)
    smEncryption = 0x00000100,     // reserved for an encrypting stream; no stream here accepts it
    smInsistComplete = 0x00000200, // every read past the end throws E_UnexpectedEOF

    // Bits of the file stream.
    fsmCreate = 0x00010000,         // create the file, replacing one that exists
    fsmAppend = 0x00020000,         // open or create the file and write at its end
    fsmCreateFullPath = 0x00040000, // create missing directories of the path first

    // Bits the stream derives itself at opening; callers may not pass them.
    smCanRead = 0x01000000,
    smCanWrite = 0x02000000,
    smCanGetPos = 0x04000000,
    smCanSetPos = 0x08000000,
    smCanGetLength = 0x10000000,
    smCanSetLength = 0x20000000,
    smIsOpen = 0x80000000,
    smDerivedModeBits = 0xFF000000,
};

// Text encodings; only encSystem (8-bit, system code page) is not a Unicode encoding.
enum : Int { encSystem = 0, encUTF8 = 1, encUTF16 = 2 };

// End-of-line types written for a line feed in text mode.
enum : Int { eolCRLF = 0, eolCR = 1, eolLF = 2 };

// Base of all streams. Subclasses open themselves, declare what they can do through the derived mode bits
// and provide the Do* operations. Reading in text mode turns CR LF and a lone CR into one line feed;
// without smText bytes come through unchanged. Push-back and the CR look-ahead are not seen by GetPos.
class CStream {
public:
    // Sees each character written; may change it, swallow it (set it to -1) or decline it (return false).
    class CCharTranslator {
    public:
        virtual ~CCharTranslator() = default;
        virtual bool Translate(Int& ch) = 0;
    };

    CStream() = default;
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;
    virtual ~CStream() = default;

    // ---- State and capabilities
    bool IsOpen() const { return (mMode & smIsOpen) != 0; }
    DWord GetMode() const { return mMode; }
    bool IsReadable() const { return (mMode & smCanRead) != 0; }
    bool IsWritable() const { return (mMode & smCanWrite) != 0; }
    bool CanGetPos() const { return (mMode & smCanGetPos) != 0; }
    bool CanSetPos() const { return (mMode & smCanSetPos) != 0; }
    bool CanGetLength() const { return (mMode & smCanGetLength) != 0; }
    bool CanSetLength() const { return (mMode & smCanSetLength) != 0; }
    // Whether any byte, NUL included, can be stored.
    virtual bool IsBinaryAllowed() const { return true; }
    bool IsUnicodeEncoding() const { return mEncoding != encSystem; }
    bool IsChecksumming() const { return mChecksumming; }

    // The status of the last I/O failure (Ok when there was none).
    RStatus GetStatus() const { return mStatus; }
    void ClearStatus() { mStatus = Ok; }

    // ---- Settings
    void SetEncoding(Int encoding) { mEncoding = encoding; }
    Int GetEncoding() const { return mEncoding; }
    void SetEOLType(Int type) { mEOLType = type; }
    Int GetEOLType() const { return mEOLType; }
    Int GetLineCount() const { return mLineCount; }
    void SetLineCount(Int count) { mLineCount = count; }
    // Indentation written before the first character after a line feed (a line feed included): per level
    // one tab (width 0 or less) or width spaces. The first line of a stream is not indented.
    void SetIndentLevel(Int level) { mIndentLevel = level; }
    Int GetIndentLevel() const { return mIndentLevel; }
    void Indent() { ++mIndentLevel; }
    void Outdent();
    void SetIndentWidth(Int width) { mIndentWidth = width; }
    Int GetIndentWidth() const { return mIndentWidth; }
    // Whether the last character written was a line feed.
    bool IsAtLineStart() const { return mAtLineStart; }
    // Not owned; null removes it.
    void SetTranslator(CCharTranslator* translator) { mTranslator = translator; }
    // The same as opening with smInsistComplete: a read past the end throws E_UnexpectedEOF (an RStatus).
    void SetInsistOnComplete(bool insist);

    // ---- Checksum: a byte sum, or CRC-32 when the mode has smCRC
    void StartChecksum();
    void StopChecksum() { mChecksumming = false; }
    DWord GetChecksum() const;

    // ---- Bytes, without any translation
    // Reads up to count bytes. With got, reaching the end early is success; without, it is a failure
    // (E_UnexpectedEOF).
    bool Read(void* buf, Int count, Int* got = nullptr);
    bool Write(const void* buf, Int count);
    bool ReadByte(Byte& b) { return Read(&b, 1); }
    bool WriteByte(Byte b) { return Write(&b, 1); }
    // 32-bit values, least significant byte first.
    bool ReadInt32(Int& value);
    bool WriteInt32(Int value);
    // The text's bytes and a NUL; read it back with ReadToDelim(text, 0).
    bool WriteCStr(const char* text);

    // Positions and length in bytes; each needs its capability (an assertion otherwise).
    bool GetPos(Int64& pos);
    bool SetPos(Int64 pos);
    bool GetLength(Int64& length);
    bool SetLength(Int64 length);
    bool Flush();
    // Flushes and closes; a closed stream refuses reads and writes with E_NotOpen.
    virtual bool Close();

    // ---- Text output (indentation, translator, line ends and encoding apply)
    // A character: a byte in encSystem, a 16-bit code otherwise.
    bool WriteChar(Int ch);
    // A 16-bit character; only for Unicode encodings.
    bool WriteUnicodeChar(Int ch);
    // Narrow text is in the system code page, wide text UTF-16; a count of -1 writes up to the NUL.
    bool WriteText(const char* text, Int count = -1);
    bool WriteText(const WChar* text, Int count = -1);
    // printf-style; the formatted text must stay under 1999 characters (longer text is cut, and false).
    bool WriteFormat(const char* format, ...) ORN_PRINTF(2, 3);
    bool VWriteFormat(const char* format, va_list args) ORN_PRINTF(2, 0);
    bool WriteFormat(const WChar* format, ...);
    bool VWriteFormat(const WChar* format, va_list args);

    // ---- Text input
    // The next character (line ends translated in text mode), or -1 at the end or on a failure.
    Int ReadChar();
    // Pushes one character back for the next ReadChar.
    bool UnGetChar(Int ch);
    // Reads up to the delimiter (consumed, not stored), the end, or maxLen characters (-1: no limit).
    // False when the stream was already at its end or a read failed.
    bool ReadToDelim(CString& text, Int delim = 0, Int maxLen = -1);
    bool ReadToDelim(CWString& text, Int delim = 0, Int maxLen = -1);
    // One line without its line feed.
    bool ReadLine(CString& line) { return ReadToDelim(line, '\n'); }
    // The rest of the stream; false only when a read failed. NUL characters are dropped (text cannot hold
    // them) by these reads, unless a NUL is the delimiter.
    bool ReadAll(CString& text);
    // Appends a character read from this stream to narrow text, converting it from Unicode if need be.
    void AppendReadChar(CString& text, Int ch) const;

    // ---- Dumps
    // Lines of 16 bytes: offset, hexadecimal and printable characters, each after the optional prefix.
    bool HexDump(const void* start, const void* end, const char* prefix = nullptr);
    // Writes source's remaining bytes six bits to a character; a63_64 gives the characters for 62 and 63.
    // With lineLen > 0 and both texts, lineEnd and then prefix follow every lineLen characters.
    bool Encode6Bit(CStream& source, Int lineLen, const char* lineEnd, const char* prefix, const char* a63_64);

protected:
    // A subclass calls this once it is open: mode is what the caller passed, capabilities the sm*Can* bits.
    void SetOpened(DWord mode, DWord capabilities);
    // Records the status and returns false.
    bool Fail(RStatus status);

    // What a subclass provides; the base version asserts "not implemented for this stream" and fails.
    // DoRead reports in got how many bytes it read (fewer only at the end); failures record a status.
    virtual bool DoRead(void* buf, Int count, Int& got);
    virtual bool DoWrite(const void* buf, Int count);
    virtual bool DoGetPos(Int64& pos);
    virtual bool DoSetPos(Int64 pos);
    virtual bool DoGetLength(Int64& length);
    virtual bool DoSetLength(Int64 length);
    virtual bool DoFlush() { return true; }

    Int mEncoding = encSystem;
    Int mIndentLevel = 0;
    bool mAtLineStart = false;
    Int mUnGetChar = -1;

private:
    bool CheckReadable();
    bool CheckWritable();
    Int ReadRaw(void* buf, Int count);
    bool WriteRaw(const void* buf, Int count);
    void AddToChecksum(const void* buf, Int count);
    Int TakePendingBytes(Byte* out, Int count);

    bool PutChar(Int ch);
    bool PutIndent();
    bool PutLineEnd();
    bool EmitChar(Int ch);
    bool EmitByte(Byte b);
    bool FlushOut();
    bool FinishOut(bool ok);
    bool WriteNarrow(const char* text, Int count);
    bool WriteWide(const WChar* text, Int count);

    Int DecodeChar();
    Int DecodeUTF8(Int lead);
    Int NextDecoded();
    template <class S> bool ReadToDelimT(S& text, Int delim, Int maxLen);

    DWord mMode = 0;
    RStatus mStatus = Ok;
    Int mEOLType = eolCRLF;
    Int mLineCount = 0;
    Int mIndentWidth = 0;
    CCharTranslator* mTranslator = nullptr;
    bool mChecksumming = false;
    DWord mChecksum = 0;
    Int mLookAhead = -1;
    bool mReadFailed = false;
    // Encoded text is gathered here so one write call reaches the device in few pieces.
    Byte mOut[256];
    Int mOutLen = 0;
};

} // namespace Orn
