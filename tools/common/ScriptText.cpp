// Line and column positions in a reply script, the excerpts and findings that show them, and reading script
// files.
#include "ScriptText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "ReplyEncoding.h"

namespace {

// How much of a line an excerpt shows, and how far before the column a cut line starts.
constexpr std::size_t cExcerptWidth = 100;
constexpr std::size_t cExcerptLead = 60;

// A column is a character, whatever its bytes.
std::size_t Columns(const std::string& text, std::size_t from, std::size_t to)
{
    std::size_t columns = 0;
    for (std::size_t i = from; i < to; i += Utf8CharLength(text, i))
        ++columns;
    return columns;
}

} // namespace

bool HasErrors(const std::vector<CScriptFinding>& findings)
{
    return std::any_of(findings.begin(), findings.end(), [](const CScriptFinding& f) { return !f.warning; });
}

void SortFindings(std::vector<CScriptFinding>& findings)
{
    std::stable_sort(findings.begin(), findings.end(),
                     [](const CScriptFinding& a, const CScriptFinding& b) { return a.offset < b.offset; });
    auto same = [](const CScriptFinding& a, const CScriptFinding& b) {
        return a.offset == b.offset && a.warning == b.warning && a.message == b.message;
    };
    findings.erase(std::unique(findings.begin(), findings.end(), same), findings.end());
}

CScriptText::CScriptText(std::string name, std::string text) : mName(std::move(name)), mText(std::move(text))
{
    mLineStarts.push_back(0);
    for (std::size_t i = 0; i < mText.size(); ++i) {
        if (mText[i] == '\r' && i + 1 < mText.size() && mText[i + 1] == '\n')
            ++i;
        if (mText[i] == '\n' || mText[i] == '\r')
            mLineStarts.push_back(i + 1);
    }
}

CScriptText::CPosition CScriptText::PositionOf(std::size_t offset) const
{
    offset = std::min(offset, mText.size());
    auto next = std::upper_bound(mLineStarts.begin(), mLineStarts.end(), offset);
    std::size_t line = static_cast<std::size_t>(next - mLineStarts.begin());
    CPosition pos;
    pos.line = static_cast<int>(line);
    pos.column = static_cast<int>(Columns(mText, mLineStarts[line - 1], offset) + 1);
    return pos;
}

std::string CScriptText::Where(std::size_t offset) const
{
    CPosition pos = PositionOf(offset);
    return mName + ":" + std::to_string(pos.line) + ":" + std::to_string(pos.column);
}

std::size_t CScriptText::LineEnd(std::size_t start) const
{
    std::size_t end = start;
    while (end < mText.size() && mText[end] != '\n' && mText[end] != '\r')
        ++end;
    return end;
}

std::string CScriptText::Excerpt(std::size_t offset) const
{
    offset = std::min(offset, mText.size());
    CPosition pos = PositionOf(offset);
    std::size_t lineStart = mLineStarts[static_cast<std::size_t>(pos.line) - 1];
    std::size_t lineEnd = LineEnd(lineStart);
    // A long line is cut on whole characters.
    std::size_t from = lineStart;
    std::size_t column = static_cast<std::size_t>(pos.column) - 1;
    for (std::size_t skip = column > cExcerptLead + 20 ? column - cExcerptLead : 0; skip > 0; --skip)
        from += Utf8CharLength(mText, from);
    std::string line = from > lineStart ? "..." : "";
    std::string caret(line.size(), ' ');
    std::size_t shown = 0;
    for (std::size_t i = from; i < lineEnd && shown < cExcerptWidth; i += Utf8CharLength(mText, i), ++shown) {
        auto c = static_cast<unsigned char>(mText[i]);
        line += c == '\t' || c >= 0x20 ? mText.substr(i, Utf8CharLength(mText, i)) : "?";
        if (i < offset)
            caret += c == '\t' ? '\t' : ' ';
    }
    return "  " + line + "\n  " + caret + "^\n";
}

std::string CScriptText::Format(const std::vector<CScriptFinding>& findings) const
{
    std::string out;
    for (const CScriptFinding& f : findings) {
        const char* kind = f.warning ? ": warning: " : ": ";
        if (f.offset == CScriptFinding::cWholeFile)
            out += mName + kind + f.message + "\n";
        else
            out += Where(f.offset) + kind + f.message + "\n" + Excerpt(f.offset);
    }
    return out;
}

bool ReadSmallFile(const std::string& path, std::size_t maxBytes, std::string& text, std::string& error)
{
    std::error_code ec;
    if (std::filesystem::is_directory(path, ec)) {
        error = "is a directory";
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        error = std::strerror(errno);
        return false;
    }
    text.clear();
    char buf[4096];
    while (in.read(buf, sizeof buf) || in.gcount() > 0) {
        text.append(buf, static_cast<std::size_t>(in.gcount()));
        if (text.size() > maxBytes) {
            error = "larger than " + std::to_string(maxBytes) + " bytes";
            return false;
        }
    }
    if (in.bad()) {
        error = "read error";
        return false;
    }
    return true;
}
