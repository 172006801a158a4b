// Reading one line of the server's record: a JSON object with the request's time, path, parameters, status
// and reply. Members the report does not use are skipped whatever they hold, so the record may grow.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct CRecordLine {
    std::string_view time; // "2024-05-01T12:00:00.123Z"
    std::string_view path;
    std::string_view reply; // empty when the record says null
    int status = 0;
    std::vector<std::pair<std::string_view, std::string_view>> params; // in the record's order

    // The value of the first parameter of that name; empty when there is none.
    std::string_view Param(std::string_view name) const;
};

class CRecordParser {
public:
    // Reads one line (without its line feed) into `out`, whose texts stay valid until the next call; false with
    // the reason in `why` for a line that is not a record.
    bool Parse(std::string_view line, CRecordLine& out, std::string& why);

private:
    bool Fail(const char* why);
    bool ParseMember(CRecordLine& out);
    bool ParseParams(CRecordLine& out);
    bool ParseString(std::string_view& text);
    bool ParseEscape();
    bool ParseNumber(int& value);
    bool SkipValue(int depth);
    bool SkipContainer(char close, int depth);
    bool Take(char c);
    void SkipBlanks();

    std::string_view mLine;
    std::size_t mAt = 0;
    std::string mDecoded; // texts with escapes, never reallocated while a line is read
    const char* mWhy = nullptr;
};
