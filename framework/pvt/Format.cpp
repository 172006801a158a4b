// Format templates: finding items, decoding their width and conversion, and the integer and string formatting.
#include "Format.h"

#include "Debug.h"
#include "VarList.h"

namespace Orn {

namespace {

// The assertions quote the narrow or wide length call, so each character type has its own check.
bool ValidDelims(const char* delims)
{
    ORN_ASSERT(Str::Length(delims) == 2);
    return Str::Length(delims) == 2;
}

bool ValidDelims(const WChar* delims)
{
    ORN_ASSERT(WStr::Length(delims) == 2);
    return WStr::Length(delims) == 2;
}

bool ValidName(const char* var)
{
    ORN_ASSERT(var && (Str::Length(var) > 0));
    return var && Str::Length(var) > 0;
}

bool ValidName(const WChar* var)
{
    ORN_ASSERT(var && (WStr::Length(var) > 0));
    return var && WStr::Length(var) > 0;
}

void SubstituteGlobals(CString& text, const char* delims) { GlobalVars.Substitute(text, delims); }
void SubstituteGlobals(CWString& text, const WChar* delims) { GlobalVars.Substitute(text, delims); }

// Appends src converted to the template's character type.
void AppendConverted(CString& out, const char* src) { out.Append(src); }
void AppendConverted(CWString& out, const WChar* src) { out.Append(src); }

void AppendConverted(CString& out, const WChar* src)
{
    CString narrow;
    narrow.AssignWide(src);
    out.Append(narrow);
}

void AppendConverted(CWString& out, const char* src)
{
    CWString wide;
    wide.AssignNarrow(src);
    out.Append(wide);
}

bool IsConversion(DWord c) { return c == 'X' || c == 'c' || c == 'd' || c == 'o' || c == 'u' || c == 'x'; }

// Digits of value in the conversion's base, highest first; "bad format character" falls back to base 10.
template <class Ch> void IntDigits(Int value, Ch conversion, Ch* digits)
{
    DWord base = 10;
    const char* set = "0123456789abcdef";
    if (conversion == 'X') {
        base = 16;
        set = "0123456789ABCDEF";
    } else if (conversion == 'x') {
        base = 16;
    } else if (conversion == 'o') {
        base = 8;
    } else if (conversion != 'd') {
        ORN_ASSERT_MSG("bad format character");
    }
    bool negative = conversion == 'd' && value < 0;
    DWord magnitude = negative ? 0u - DWord(value) : DWord(value);
    Ch reversed[34];
    Int n = 0;
    do {
        reversed[n++] = static_cast<Ch>(set[magnitude % base]);
        magnitude /= base;
    } while (magnitude != 0);
    Int len = 0;
    if (negative)
        digits[len++] = '-';
    while (n > 0)
        digits[len++] = reversed[--n];
    digits[len] = 0;
}

} // namespace

template <class Ch> CFormatT<Ch>::CFormatT(const Ch* text, const Ch* delims, DWord options) : mText(text)
{
    mOpen = '<';
    mClose = '>';
    if (delims && ValidDelims(delims)) {
        mOpen = delims[0];
        mClose = delims[1];
    }
    if (!(options & fmtNoGlobals)) {
        const Ch ownDelims[3] = {mOpen, mClose, 0};
        SubstituteGlobals(mText, ownDelims);
    }
}

template <class Ch> Int CFormatT<Ch>::FindChar(Ch c, Int start, Int end) const
{
    if (end < 0 || end > mText.Length())
        end = mText.Length();
    for (Int i = start; i < end; ++i) {
        if (mText[i] == c)
            return i;
    }
    return -1;
}

// Where the item whose name ends before afterName closes (copying what stands between name and close), or -1.
template <class Ch> Int CFormatT<Ch>::ItemEnd(Int afterName, Ch* fmtSpec) const
{
    fmtSpec[0] = 0;
    if (mText[afterName] != ':')
        return mText[afterName] == mClose ? afterName : -1;
    // A close delimiter further on would make the item too long: no need to look past that.
    Int close = FindChar(mClose, afterName + 1, afterName + 2 + cMaxSpecLen);
    Int specLen = close - afterName - 1;
    if (close < 0 || specLen > cMaxSpecLen)
        return -1;
    for (Int i = 0; i < specLen; ++i)
        fmtSpec[i] = mText[afterName + 1 + i];
    fmtSpec[specLen] = 0;
    return close;
}

// Finds the item from index on: where it starts, or -1; end is set to its close delimiter.
template <class Ch> Int CFormatT<Ch>::FindItem(Int index, const Ch* var, Ch* fmtSpec, Int& end) const
{
    ORN_ASSERT(index >= 0);
    ORN_ASSERT(var);
    ORN_ASSERT(fmtSpec);
    if (index < 0 || !var || !fmtSpec)
        return -1;
    Int nameLen = CharTraits<Ch>::Length(var);
    for (Int open = FindChar(mOpen, index); open >= 0;) {
        Int afterName = open + 1 + nameLen;
        Int next = open + 1;
        Int i = 0;
        while (i < nameLen && open + 1 + i < mText.Length() && mText[open + 1 + i] == var[i])
            ++i;
        if (i == nameLen) {
            end = ItemEnd(afterName, fmtSpec);
            if (end >= 0)
                return open;
            next = afterName;
        }
        open = FindChar(mOpen, next);
    }
    return -1;
}

template <class Ch> bool CFormatT<Ch>::Item(const Ch* var, const void* item, FormatFunc fmtFunc)
{
    bool nameOk = ValidName(var);
    ORN_ASSERT(item);
    ORN_ASSERT(fmtFunc);
    if (!nameOk || !item || !fmtFunc)
        return false;
    bool replaced = false;
    Ch fmtSpec[cMaxSpecLen + 1];
    Int end = 0;
    Int fills = 0;
    for (Int index = FindItem(0, var, fmtSpec, end); index >= 0; index = FindItem(index, var, fmtSpec, end)) {
        CText out;
        bool produced = fmtFunc(fmtSpec, item, out);
        Int itemLen = end - index + 1;
        if (fills == cMaxItemFills || Int64(mText.Length()) - itemLen + out.Length() > cMaxFilledLength) {
            mCut = true;
            break;
        }
        ++fills;
        mText.Remove(index, itemLen);
        if (produced) {
            mText.Insert(out, index);
            replaced = true;
        }
    }
    return replaced;
}

template <class Ch> bool CFormatT<Ch>::Item(const Ch* var, Int value) { return Item(var, &value, &FormatInt); }

template <class Ch> bool CFormatT<Ch>::Item(const Ch* var, const char* value)
{
    return Item(var, value, &FormatNarrowString);
}

template <class Ch> bool CFormatT<Ch>::Item(const Ch* var, const WChar* value)
{
    return Item(var, value, &FormatWideString);
}

// Trailing text after the conversion character is ignored.
template <class Ch> bool CFormatT<Ch>::DecodeFormatSpec(const Ch* fmtSpecStr, CFormatSpec& fmtSpec)
{
    ORN_ASSERT(fmtSpecStr);
    if (!fmtSpecStr)
        return false;
    const Ch* p = fmtSpecStr;
    fmtSpec.fill = ' ';
    if (*p == '0') {
        fmtSpec.fill = '0';
        ++p;
    }
    DWord width = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        width = width * 10 + DWord(*p - '0');
    fmtSpec.width = width;
    if (*p != 0 && !IsConversion(DWord(*p)))
        return false;
    fmtSpec.conversion = *p;
    return true;
}

namespace {

// The fill width minus the length times, then the text; the fill therefore goes before any sign. A width
// past the Int range gives no fill, and a fill past the template's length bound stops just above it, which
// is enough for Item to refuse it.
template <class Ch, class CText> void AppendFilled(CText& out, const Ch* text, Ch fill, DWord width)
{
    DWord len = DWord(CharTraits<Ch>::Length(text));
    if (width > len) {
        Int count = Int(width - len);
        out.AppendChar(fill, count > cMaxFilledLength ? cMaxFilledLength + 1 : count);
    }
    out.Append(text);
}

} // namespace

template <class Ch> bool CFormatT<Ch>::FormatInt(const Ch* fmtSpecStr, const void* item, CText& out)
{
    CFormatSpec fmtSpec;
    if (!fmtSpecStr || fmtSpecStr[0] != 0)
        ORN_ASSERT(DecodeFormatSpec(fmtSpecStr,fmtSpec));
    Int value = *static_cast<const Int*>(item);
    Ch digits[40];
    if (fmtSpec.conversion == 'c') {
        digits[0] = static_cast<Ch>(value);
        digits[1] = 0;
    } else {
        IntDigits(value, fmtSpec.conversion, digits);
    }
    AppendFilled(out, digits, fmtSpec.fill, fmtSpec.width);
    return true;
}

template <class Ch> bool CFormatT<Ch>::FormatNarrowString(const Ch* fmtSpecStr, const void* item, CText& out)
{
    CFormatSpec fmtSpec;
    if (!fmtSpecStr || fmtSpecStr[0] != 0)
        ORN_ASSERT(DecodeFormatSpec(fmtSpecStr,fmtSpec));
    CText value;
    AppendConverted(value, static_cast<const char*>(item));
    AppendFilled(out, value.Chars(), fmtSpec.fill, fmtSpec.width);
    return true;
}

template <class Ch> bool CFormatT<Ch>::FormatWideString(const Ch* fmtSpecStr, const void* item, CText& out)
{
    CFormatSpec fmtSpec;
    if (!fmtSpecStr || fmtSpecStr[0] != 0)
        ORN_ASSERT(DecodeFormatSpec(fmtSpecStr,fmtSpec));
    CText value;
    AppendConverted(value, static_cast<const WChar*>(item));
    AppendFilled(out, value.Chars(), fmtSpec.fill, fmtSpec.width);
    return true;
}

template class CFormatT<char>;
template class CFormatT<WChar>;

} // namespace Orn
