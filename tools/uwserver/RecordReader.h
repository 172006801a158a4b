// Reading a record file line by line through a buffer of bounded size: a line longer than the limit is
// reported as such, never kept whole.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CRecordReader {
public:
    static constexpr std::size_t cMaxLine = 64 * 1024;

    // False with the system's reason in `error`.
    bool Open(const std::string& path, std::string& error);
    // The next line without its line feed, valid until the next call; false at the end of the file (or on a
    // read error, which `error` then names). `tooLong` is set for a line of more than cMaxLine bytes, whose
    // text is then empty.
    bool Next(std::string_view& line, bool& tooLong, std::string& error);
    // The number of the line Next returned last, from 1.
    long long LineNumber() const { return mLineNumber; }

private:
    bool Fill(std::string& error);
    bool EndLine(std::string_view text, bool skipped, std::string_view& line, bool& tooLong);

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> mFile{nullptr, std::fclose};
    std::vector<char> mBuffer;
    std::size_t mStart = 0;
    std::size_t mEnd = 0;
    bool mAtEof = false;
    bool mSkipping = false;
    long long mLineNumber = 0;
};
