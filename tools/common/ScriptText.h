// A reply script as its author sees it: the file it came from, lines and columns, excerpts, and the findings
// the tools report about it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

// Something the tools say about a script, at a byte offset of its file (or about the whole file).
struct CScriptFinding {
    static constexpr std::size_t cWholeFile = static_cast<std::size_t>(-1);

    std::size_t offset = 0;
    bool warning = false;
    std::string message;
};

bool HasErrors(const std::vector<CScriptFinding>& findings);
// In the order of the file, findings about the whole file last; exact repeats dropped.
void SortFindings(std::vector<CScriptFinding>& findings);

class CScriptText {
public:
    // Line and column count from 1; a column counts characters of the UTF-8 text, a tab as one.
    struct CPosition {
        int line = 1;
        int column = 1;
    };

    CScriptText(std::string name, std::string text);

    const std::string& Name() const { return mName; }
    const std::string& Text() const { return mText; }

    // A line ends at "\n", "\r\n" or a lone "\r".
    CPosition PositionOf(std::size_t offset) const;
    // "NAME:LINE:COLUMN".
    std::string Where(std::size_t offset) const;
    // The line that holds the offset and a caret under it, each ending in "\n". A long line is cut around the
    // column, and control characters show as "?" so that the excerpt stays on its two lines.
    std::string Excerpt(std::size_t offset) const;
    // "NAME:LINE:COLUMN: message" (or "...: warning: message") and the excerpt, for each finding; "NAME: message"
    // for one about the whole file.
    std::string Format(const std::vector<CScriptFinding>& findings) const;

private:
    std::size_t LineEnd(std::size_t start) const;

    std::string mName;
    std::string mText;
    std::vector<std::size_t> mLineStarts;
};

// Reads a whole file of at most maxBytes; false with the reason in `error`.
bool ReadSmallFile(const std::string& path, std::size_t maxBytes, std::string& text, std::string& error);
