// A reply script as its author sees it: the file it came from, lines and columns, and excerpts.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class CScriptText {
public:
    // Line and column count from 1; a column counts bytes, a tab as one.
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

private:
    std::size_t LineEnd(std::size_t start) const;

    std::string mName;
    std::string mText;
    std::vector<std::size_t> mLineStarts;
};

// Reads a whole file of at most maxBytes; false with the reason in `error`.
bool ReadSmallFile(const std::string& path, std::size_t maxBytes, std::string& text, std::string& error);
