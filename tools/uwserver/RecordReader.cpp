// The record reader: a buffer twice the longest line, refilled as lines are taken from it.
#include "RecordReader.h"

#include <cerrno>
#include <cstring>

bool CRecordReader::Open(const std::string& path, std::string& error)
{
    mFile.reset(std::fopen(path.c_str(), "rb"));
    if (!mFile) {
        error = std::strerror(errno);
        return false;
    }
    mBuffer.resize(2 * cMaxLine);
    return true;
}

// Moves the unread rest to the front and reads after it; false when nothing more can come.
bool CRecordReader::Fill(std::string& error)
{
    if (mAtEof)
        return false;
    std::memmove(mBuffer.data(), mBuffer.data() + mStart, mEnd - mStart);
    mEnd -= mStart;
    mStart = 0;
    std::size_t got = std::fread(mBuffer.data() + mEnd, 1, mBuffer.size() - mEnd, mFile.get());
    mEnd += got;
    if (got == 0) {
        mAtEof = true;
        if (std::ferror(mFile.get()))
            error = std::strerror(errno);
    }
    return got > 0;
}

bool CRecordReader::Next(std::string_view& line, bool& tooLong, std::string& error)
{
    for (;;) {
        const char* from = mBuffer.data() + mStart;
        const char* feed = static_cast<const char*>(std::memchr(from, '\n', mEnd - mStart));
        std::size_t length = feed ? static_cast<std::size_t>(feed - from) : mEnd - mStart;
        if (length > cMaxLine)
            mSkipping = true;
        if (mSkipping) {
            // Drop what there is of this line; it ends at a line feed or at the end of the file.
            mStart = feed ? mStart + length + 1 : mEnd;
            if (feed || !Fill(error))
                return EndLine({}, true, line, tooLong);
            continue;
        }
        if (feed || (mAtEof && length > 0)) {
            mStart += length + (feed ? 1 : 0);
            return EndLine(std::string_view(from, length), false, line, tooLong);
        }
        // A last line without a line feed is still a line.
        if (!Fill(error) && mStart == mEnd)
            return false;
    }
}

bool CRecordReader::EndLine(std::string_view text, bool skipped, std::string_view& line, bool& tooLong)
{
    ++mLineNumber;
    mSkipping = false;
    line = text;
    tooLong = skipped;
    return true;
}
