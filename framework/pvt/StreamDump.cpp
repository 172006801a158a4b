// The stream base's dumps: hexadecimal lines and the 6-bit text encoding of binary data.
#include "Debug.h"
#include "Stream.h"

namespace Orn {

namespace {
// Values 62 and 63 are the caller's; every stream shares this table, so 6-bit encodings must not overlap.
char c6BitAlphabet[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789__";

void AppendHexLine(CString& line, const Byte* bytes, Int count, Int64 offset, const char* prefix)
{
    char cell[32];
    if (prefix)
        line.Append(prefix);
    Str::Format(cell, static_cast<Int>(sizeof cell), "0x%04x: ", static_cast<unsigned>(offset));
    line.Append(cell);
    for (Int i = 0; i < 16; ++i) {
        if (i == 4 || i == 8 || i == 12)
            line.AppendChar(' ');
        Str::Format(cell, static_cast<Int>(sizeof cell), "%02x ", i < count ? bytes[i] : 0);
        line.Append(i < count ? cell : "   ");
    }
    line.Append(" |");
    for (Int i = 0; i < 16; ++i) {
        if (i == 4 || i == 8 || i == 12)
            line.AppendChar(' ');
        char c = ' ';
        if (i < count)
            c = bytes[i] >= 0x20 && bytes[i] <= 0x7E ? static_cast<char>(bytes[i]) : '.';
        line.AppendChar(c);
    }
    line.Append("|\n");
}

} // namespace

bool CStream::HexDump(const void* start, const void* end, const char* prefix)
{
    ORN_ASSERT(start);
    ORN_ASSERT(end);
    ORN_ASSERT(start <= end);
    if (!start || !end || !(start <= end))
        return false;
    const Byte* first = static_cast<const Byte*>(start);
    Int64 total = static_cast<const Byte*>(end) - first;
    for (Int64 offset = 0; offset < total; offset += 16) {
        CString line;
        Int count = total - offset < 16 ? static_cast<Int>(total - offset) : 16;
        AppendHexLine(line, first + offset, count, offset, prefix);
        if (!WriteText(line.Chars()))
            return false;
    }
    return true;
}

namespace {

// Gathers 6-bit characters and breaks the lines.
struct C6BitWriter {
    CString out;
    Int lineLen;
    const char* lineEnd;
    const char* prefix;
    Int column = 0;

    void Put(Int value)
    {
        out.AppendChar(c6BitAlphabet[value & 0x3F]);
        if (lineLen > 0 && lineEnd && prefix && ++column == lineLen) {
            out.Append(lineEnd);
            out.Append(prefix);
            column = 0;
        }
    }

    // Least significant bits first; a partial group ends with its carried bits.
    void PutGroup(const Byte* b, Int count)
    {
        Put(b[0] & 0x3F);
        Put(count > 1 ? ((b[1] & 0x0F) << 2) | (b[0] >> 6) : b[0] >> 6);
        if (count > 1)
            Put(count > 2 ? ((b[2] & 0x03) << 4) | (b[1] >> 4) : b[1] >> 4);
        if (count > 2)
            Put(b[2] >> 2);
    }
};

} // namespace

bool CStream::Encode6Bit(CStream& source, Int lineLen, const char* lineEnd, const char* prefix, const char* a63_64)
{
    ORN_ASSERT(IsWritable());
    ORN_ASSERT(a63_64);
    if (!a63_64)
        return false;
    ORN_ASSERT(Str::Length(a63_64) >= 2);
    ORN_ASSERT(! IsUnicodeEncoding());
    if (!IsWritable() || Str::Length(a63_64) < 2 || IsUnicodeEncoding())
        return false;
    c6BitAlphabet[62] = a63_64[0];
    c6BitAlphabet[63] = a63_64[1];
    C6BitWriter writer{CString(), lineLen, lineEnd, prefix};
    for (;;) {
        Byte group[3];
        Int got = 0;
        if (!source.Read(group, 3, &got))
            return false;
        if (got > 0)
            writer.PutGroup(group, got);
        if (got < 3 || writer.out.Length() >= 1024) {
            if (!WriteText(writer.out.Chars()))
                return false;
            writer.out.Empty();
        }
        if (got < 3)
            return true;
    }
}

} // namespace Orn
