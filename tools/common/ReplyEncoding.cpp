// UTF-8 reply files to the program's Windows-1252 text and back, and the escapes of string literals.
#include "ReplyEncoding.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace {

// Windows-1252 from 0x80 to 0x9F; 0 where the code page has no character.
const char32_t cHighBytes[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,
    0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A,
    0x0153, 0,      0x017E, 0x0178,
};

char32_t CodePointOf(unsigned char byte)
{
    if (byte < 0x80 || byte >= 0xA0 || cHighBytes[byte - 0x80] == 0)
        return byte;
    return cHighBytes[byte - 0x80];
}

// The Windows-1252 byte of a code point, or -1 when the code page has none.
int ByteOf(char32_t cp)
{
    if (cp < 0x80 || (cp >= 0xA0 && cp <= 0xFF))
        return static_cast<int>(cp);
    const char32_t* found = std::find(std::begin(cHighBytes), std::end(cHighBytes), cp);
    return found == std::end(cHighBytes) ? -1 : static_cast<int>(0x80 + (found - cHighBytes));
}

void AppendUtf8(std::string& out, char32_t cp)
{
    if (cp < 0x80) {
        out += static_cast<char>(cp);
        return;
    }
    const unsigned lead[] = {0, 0xC0, 0xE0, 0xF0};
    int extra = cp < 0x800 ? 1 : (cp < 0x10000 ? 2 : 3);
    out += static_cast<char>(lead[extra] | (cp >> (6 * extra)));
    for (int shift = 6 * (extra - 1); shift >= 0; shift -= 6)
        out += static_cast<char>(0x80 | ((cp >> shift) & 0x3F));
}

// The code point of the UTF-8 sequence at `at` and its length; -1, with length 1, for a malformed one.
long DecodeUtf8(const std::string& s, std::size_t at, std::size_t& length)
{
    auto byte = [&](std::size_t i) -> unsigned {
        return at + i < s.size() ? static_cast<unsigned char>(s[at + i]) : 0;
    };
    unsigned lead = byte(0);
    length = 1;
    if (lead < 0x80)
        return static_cast<long>(lead);
    std::size_t extra = lead >= 0xF0 ? 3 : (lead >= 0xE0 ? 2 : 1);
    long cp = static_cast<long>(lead & (0x3F >> extra));
    if (lead < 0xC2 || lead > 0xF4)
        return -1;
    for (std::size_t i = 1; i <= extra; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return -1;
        cp = (cp << 6) | static_cast<long>(byte(i) & 0x3F);
    }
    const long shortest[] = {0, 0x80, 0x800, 0x10000};
    if (cp < shortest[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
        return -1;
    length = extra + 1;
    return cp;
}

std::string Hex(unsigned value, int digits)
{
    char buf[16];
    std::snprintf(buf, sizeof buf, "%0*X", digits, value);
    return buf;
}

// "'ü' (U+00FC)", or only "U+0085" for a character that would not show.
std::string Named(char32_t cp)
{
    std::string code = "U+" + Hex(static_cast<unsigned>(cp), 4);
    if (cp < 0x20 || (cp >= 0x7F && cp < 0xA0))
        return code;
    std::string shown;
    AppendUtf8(shown, cp);
    return "'" + shown + "' (" + code + ")";
}

std::string NotUtf8(unsigned char byte)
{
    std::string message = "byte 0x" + Hex(byte, 2) + " is not UTF-8: save the file as UTF-8";
    char32_t meant = CodePointOf(byte);
    if (byte >= 0xA0 || meant != byte)
        message += " (in Windows-1252 it is " + Named(meant) + ", which a string may also hold as \\x" +
                   Hex(byte, 2) + ")";
    return message;
}

std::string NotShown(char32_t cp)
{
    return Named(cp) + " is not a Windows-1252 character, and the program shows no others";
}

bool IsHex(char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; }

// The escape's letter at `at` and the digits it takes, as far as the string goes: what the program shows.
std::string EscapeText(const std::string& text, std::size_t at, std::size_t end, std::size_t digits)
{
    return text.substr(at, std::min(1 + digits, end - at));
}

bool AllHex(const std::string& digits)
{
    return std::all_of(digits.begin(), digits.end(), [](char c) { return IsHex(c); });
}

// The problem of the escape whose letter is at `at`, or "" for one the program knows.
std::string EscapeProblem(const std::string& text, std::size_t at, std::size_t end)
{
    auto c = static_cast<unsigned char>(text[at]);
    if (c == '\\' || c == '"' || c == '\'' || c == 'n' || c == 'r' || c == 't')
        return "";
    if (c < 0x20)
        return "a backslash before a line end or a control character stands for nothing: remove it";
    std::string written = Utf8FromProgramText(EscapeText(text, at, end, c == 'x' ? 2 : (c == 'u' ? 4 : 0)));
    std::string unknown = "unknown escape '\\" + written + "' (the program would show '" + written + "'): ";
    if (c == 'x' && written.size() == 3 && AllHex(written.substr(1)))
        return written == "x00" ? "'\\x00' cannot be written: the program's text would end there" : "";
    if (c == 'x')
        return unknown + "\\x takes two hexadecimal digits, such as \\xFC for 'ü'";
    if (c == 'u' && written.size() == 5 && AllHex(written.substr(1))) {
        auto cp = static_cast<char32_t>(std::stoul(written.substr(1), nullptr, 16));
        int byte = ByteOf(cp);
        if (byte <= 0)
            return unknown + NotShown(cp);
        return unknown + "write " + Named(cp) + " itself, or \\x" + Hex(static_cast<unsigned>(byte), 2);
    }
    return unknown + "a backslash before another character stands for nothing; '\\\\' is a backslash";
}

} // namespace

std::size_t CProgramText::FileOffset(std::size_t offset) const
{
    return fileOffsets[std::min(offset, fileOffsets.size() - 1)];
}

CProgramText ToProgramText(const std::string& utf8)
{
    CProgramText out;
    std::size_t at = utf8.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
    while (at < utf8.size()) {
        std::size_t length = 1;
        long cp = DecodeUtf8(utf8, at, length);
        int byte = cp < 0 ? -1 : ByteOf(static_cast<char32_t>(cp));
        if (cp < 0)
            out.findings.push_back({at, false, NotUtf8(static_cast<unsigned char>(utf8[at]))});
        else if (byte < 0)
            out.findings.push_back({at, false, NotShown(static_cast<char32_t>(cp))});
        out.text += byte < 0 ? '?' : static_cast<char>(byte);
        out.fileOffsets.push_back(at);
        at += length;
    }
    out.fileOffsets.push_back(utf8.size());
    return out;
}

std::size_t Utf8CharLength(const std::string& text, std::size_t at)
{
    std::size_t length = 1;
    (void)DecodeUtf8(text, at, length);
    return length;
}

std::string Utf8FromProgramText(const std::string& text)
{
    std::string out;
    for (char c : text)
        AppendUtf8(out, CodePointOf(static_cast<unsigned char>(c)));
    return out;
}

void CheckEscapes(const std::string& text, std::size_t begin, std::size_t end, std::vector<CScriptFinding>& findings)
{
    for (std::size_t i = begin; i + 1 < end; ++i) {
        if (text[i] != '\\')
            continue;
        std::string problem = EscapeProblem(text, i + 1, end);
        if (!problem.empty())
            findings.push_back({i, false, problem});
        ++i;
    }
}
