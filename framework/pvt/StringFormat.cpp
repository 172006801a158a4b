// printf-style formatting for Str:: and WStr::: the framework's own, so that every build formats alike and a
// program carries no C library formatter with its floating-point machinery.
#include <climits>
#include <cstddef>
#include <cstdint>

#include "String.h"

namespace Orn {

namespace {

// Writes what fits into the caller's buffer and counts everything, as vsnprintf does.
template <class Ch> class CFormatSink {
public:
    CFormatSink(Ch* buf, Int size) : mBuf(buf), mSize(size > 0 ? size : 0) {}

    void Put(Ch c)
    {
        if (mCount + 1 < mSize)
            mBuf[mCount] = c;
        ++mCount;
    }
    void Repeat(Ch c, Int64 n)
    {
        for (; n > 0 && mCount + 1 < mSize; --n)
            Put(c);
        if (n > 0)
            mCount += n;
    }
    // Terminates the text; a count past the Int range reads as INT_MAX, which no buffer holds.
    Int Finish()
    {
        if (mSize > 0)
            mBuf[mCount < mSize ? mCount : mSize - 1] = 0;
        return mCount > INT_MAX ? INT_MAX : static_cast<Int>(mCount);
    }

private:
    Ch* mBuf;
    Int64 mSize;
    Int64 mCount = 0;
};

enum class ArgSize { normal, hh, h, l, ll, z, j, t };

struct CSpec {
    bool left = false;
    bool plus = false;
    bool space = false;
    bool alt = false;
    bool zero = false;
    Int width = 0;
    Int precision = -1; // none
    ArgSize size = ArgSize::normal;
};

// va_list cannot be passed on by reference everywhere; a copy in a struct can.
struct CArgs {
    va_list list;
};

// Digits as a number; one past the Int range reads as INT_MAX.
template <class Ch> Int ReadNumber(const Ch*& p)
{
    Int64 n = 0;
    for (; *p >= '0' && *p <= '9'; ++p) {
        n = n * 10 + (*p - '0');
        if (n > INT_MAX)
            n = INT_MAX;
    }
    return static_cast<Int>(n);
}

template <class Ch> ArgSize ReadSize(const Ch*& p)
{
    const Ch c = *p;
    if (c != 'h' && c != 'l' && c != 'z' && c != 'j' && c != 't')
        return ArgSize::normal;
    ++p;
    if ((c == 'h' || c == 'l') && *p == c) {
        ++p;
        return c == 'h' ? ArgSize::hh : ArgSize::ll;
    }
    switch (c) {
    case 'h': return ArgSize::h;
    case 'l': return ArgSize::l;
    case 'z': return ArgSize::z;
    case 'j': return ArgSize::j;
    default: return ArgSize::t;
    }
}

template <class Ch> void ReadFlags(const Ch*& p, CSpec& spec)
{
    for (;; ++p) {
        if (*p == '-')
            spec.left = true;
        else if (*p == '+')
            spec.plus = true;
        else if (*p == ' ')
            spec.space = true;
        else if (*p == '#')
            spec.alt = true;
        else if (*p == '0')
            spec.zero = true;
        else
            return;
    }
}

// Flags, width, precision and length; the conversion character is left at p.
template <class Ch> CSpec ReadSpec(const Ch*& p, CArgs& args)
{
    CSpec spec;
    ReadFlags(p, spec);
    if (*p == '*') {
        ++p;
        Int width = va_arg(args.list, int);
        spec.left = spec.left || width < 0;
        spec.width = width < 0 ? (width == INT_MIN ? INT_MAX : -width) : width;
    } else {
        spec.width = ReadNumber(p);
    }
    if (*p == '.') {
        ++p;
        if (*p == '*') {
            ++p;
            Int precision = va_arg(args.list, int);
            spec.precision = precision < 0 ? -1 : precision;
        } else {
            spec.precision = ReadNumber(p);
        }
    }
    spec.size = ReadSize(p);
    return spec;
}

// The argument of d or i, as its sign and magnitude.
unsigned long long ReadSigned(ArgSize size, CArgs& args, bool& negative)
{
    long long v = 0;
    switch (size) {
    case ArgSize::hh: v = static_cast<signed char>(va_arg(args.list, int)); break;
    case ArgSize::h: v = static_cast<short>(va_arg(args.list, int)); break;
    case ArgSize::l: v = va_arg(args.list, long); break;
    case ArgSize::ll: v = va_arg(args.list, long long); break;
    case ArgSize::j: v = va_arg(args.list, std::intmax_t); break;
    case ArgSize::z:
    case ArgSize::t: v = va_arg(args.list, std::ptrdiff_t); break;
    default: v = va_arg(args.list, int); break;
    }
    negative = v < 0;
    return negative ? 0ull - static_cast<unsigned long long>(v) : static_cast<unsigned long long>(v);
}

unsigned long long ReadUnsigned(ArgSize size, CArgs& args)
{
    switch (size) {
    case ArgSize::hh: return static_cast<unsigned char>(va_arg(args.list, unsigned));
    case ArgSize::h: return static_cast<unsigned short>(va_arg(args.list, unsigned));
    case ArgSize::l: return va_arg(args.list, unsigned long);
    case ArgSize::ll: return va_arg(args.list, unsigned long long);
    case ArgSize::j: return va_arg(args.list, std::uintmax_t);
    case ArgSize::z:
    case ArgSize::t: return va_arg(args.list, std::size_t);
    default: return va_arg(args.list, unsigned);
    }
}

// Sign or base prefix, zeros up to the precision, digits, all padded to the width.
template <class Ch>
void PutInteger(CFormatSink<Ch>& out, const CSpec& spec, Ch conversion, unsigned long long value, bool negative)
{
    unsigned base = conversion == 'o' ? 8 : (conversion == 'x' || conversion == 'X') ? 16 : 10;
    const char* digitChars = conversion == 'X' ? "0123456789ABCDEF" : "0123456789abcdef";
    const char* prefix = spec.alt && base == 16 && value != 0 ? (conversion == 'X' ? "0X" : "0x") : "";
    char digits[24];
    Int count = 0;
    for (; value != 0; value /= base)
        digits[count++] = digitChars[value % base];
    Int64 precision = spec.precision < 0 ? 1 : spec.precision;
    if (spec.alt && base == 8 && precision <= count)
        precision = count + 1; // the first digit is a zero
    bool isSigned = conversion == 'd' || conversion == 'i';
    char sign = negative ? '-' : !isSigned ? 0 : spec.plus ? '+' : spec.space ? ' ' : 0;
    Int64 zeros = precision > count ? precision - count : 0;
    Int64 length = (sign ? 1 : 0) + Str::Length(prefix) + zeros + count;
    Int64 pad = spec.width > length ? spec.width - length : 0;
    if (spec.zero && !spec.left && spec.precision < 0) {
        zeros += pad;
        pad = 0;
    }
    if (!spec.left)
        out.Repeat(' ', pad);
    if (sign)
        out.Put(sign);
    for (; *prefix; ++prefix)
        out.Put(*prefix);
    out.Repeat('0', zeros);
    while (count > 0)
        out.Put(digits[--count]);
    if (spec.left)
        out.Repeat(' ', pad);
}

template <class Ch> void PutPadded(CFormatSink<Ch>& out, const CSpec& spec, const Ch* text, Int64 length)
{
    Int64 pad = spec.width > length ? spec.width - length : 0;
    if (!spec.left)
        out.Repeat(' ', pad);
    for (Int64 i = 0; i < length; ++i)
        out.Put(text[i]);
    if (spec.left)
        out.Repeat(' ', pad);
}

template <class Ch> const Ch* NullText();
template <> const char* NullText<char>() { return "(null)"; }
template <> const WChar* NullText<WChar>() { return L"(null)"; }

// s and c take the format's own character type; in a wide format an explicit l says the same. A string is read
// no further than the precision.
template <class Ch> bool PutTextArg(CFormatSink<Ch>& out, const CSpec& spec, Ch conversion, CArgs& args)
{
    if (spec.size != ArgSize::normal && (sizeof(Ch) == 1 || spec.size != ArgSize::l))
        return false;
    if (conversion == 'c') {
        const Ch ch = static_cast<Ch>(va_arg(args.list, int));
        PutPadded(out, spec, &ch, 1);
        return true;
    }
    const Ch* text = va_arg(args.list, const Ch*);
    if (!text)
        text = NullText<Ch>();
    Int64 length = 0;
    while ((spec.precision < 0 || length < spec.precision) && text[length])
        ++length;
    PutPadded(out, spec, text, length);
    return true;
}

// One conversion after its '%'; false when it is none this formatter knows, which is then copied as written.
template <class Ch> bool PutConversion(CFormatSink<Ch>& out, const CSpec& spec, Ch conversion, CArgs& args)
{
    switch (conversion) {
    case '%': out.Put('%'); return true;
    case 'd':
    case 'i': {
        bool negative = false;
        unsigned long long magnitude = ReadSigned(spec.size, args, negative);
        PutInteger(out, spec, conversion, magnitude, negative);
        return true;
    }
    case 'u':
    case 'o':
    case 'x':
    case 'X': PutInteger(out, spec, conversion, ReadUnsigned(spec.size, args), false); return true;
    case 'c':
    case 's': return PutTextArg(out, spec, conversion, args);
    default: return false;
    }
}

template <class Ch> Int FormatT(Ch* buf, Int bufSize, const Ch* format, va_list list)
{
    CFormatSink<Ch> out(buf, bufSize);
    CArgs args;
    va_copy(args.list, list);
    for (const Ch* p = format; *p;) {
        if (*p != '%') {
            out.Put(*p++);
            continue;
        }
        const Ch* start = p++;
        CSpec spec = ReadSpec(p, args);
        if (*p && PutConversion(out, spec, *p, args)) {
            ++p;
            continue;
        }
        for (p = *p ? p + 1 : p; start < p; ++start)
            out.Put(*start);
    }
    va_end(args.list);
    return out.Finish();
}

} // namespace

Int Str::VFormat(char* buf, Int bufSize, const char* format, va_list args)
{
    return FormatT(buf, bufSize, format, args);
}

Int Str::Format(char* buf, Int bufSize, const char* format, ...)
{
    va_list args;
    va_start(args, format);
    Int n = VFormat(buf, bufSize, format, args);
    va_end(args);
    return n;
}

Int WStr::VFormat(WChar* buf, Int bufSize, const WChar* format, va_list args)
{
    return FormatT(buf, bufSize, format, args);
}

Int WStr::Format(WChar* buf, Int bufSize, const WChar* format, ...)
{
    va_list args;
    va_start(args, format);
    Int n = VFormat(buf, bufSize, format, args);
    va_end(args);
    return n;
}

} // namespace Orn
