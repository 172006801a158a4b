// Backslash unescaping of narrow text.
#include "Unescape.h"

namespace Orn::Str {

namespace {

// Decodes the escape whose letter is at `p` (just after the backslash) into `out`; the characters consumed.
Int DecodeEscape(const char* p, char& out)
{
    switch (p[0]) {
    case 'n': out = '\n'; return 1;
    case 'r': out = '\r'; return 1;
    case 't': out = '\t'; return 1;
    case 'x': {
        Int hi = HexValue(p[1]);
        Int lo = hi < 0 ? -1 : HexValue(p[2]);
        if (lo >= 0 && (hi != 0 || lo != 0)) {
            out = static_cast<char>(hi * 16 + lo);
            return 3;
        }
        out = 'x';
        return 1;
    }
    default: out = p[0]; return 1; // \\ \" \' and every unknown escape
    }
}

} // namespace

void Unescape(CString& text)
{
    if (Str::Find(text.Chars(), '\\') < 0)
        return;
    // Decoding never lengthens the text, so it is done in place.
    char* buf = text.Lock(text.Length());
    Int out = 0;
    for (Int in = 0; buf[in] != 0;) {
        if (buf[in] != '\\' || buf[in + 1] == 0) {
            buf[out++] = buf[in++];
            continue;
        }
        char decoded = 0;
        in += 1 + DecodeEscape(buf + in + 1, decoded);
        buf[out++] = decoded;
    }
    buf[out] = 0;
    text.Unlock();
}

} // namespace Orn::Str
