// Format templates: text with named items such as "<URL>" or "<Num:04d>", filled one item at a time.
#pragma once

#include <type_traits>

#include "Platform.h"
#include "String.h"

namespace Orn {

// Template construction options.
enum : DWord {
    fmtNoGlobals = 0x1, // do not substitute the global variables into the text at construction
};

// Bounds on filling one item. A value that holds its own item would be filled again without end, and a width
// such as "<Name:2000000000>" would fill past any memory. Real templates hold an item a few times, and the
// longest real value is a request URL, well under a tenth of the length bound.
constexpr Int cMaxItemFills = 1000;
constexpr Int cMaxFilledLength = 0x100000; // characters

// Narrow (CFormat) and wide (CWFormat) templates behave alike.
template <class Ch> class CFormatT {
public:
    using CText = std::conditional_t<std::is_same_v<Ch, char>, CString, CWString>;
    // Appends the formatted value to out; true when that is a replacement. When it returns false the item
    // is dropped from the text (it was already cut out) and no replacement is counted.
    using FormatFunc = bool (*)(const Ch* fmtSpec, const void* item, CText& out);

    // The text between the colon and the close delimiter, decoded.
    struct CFormatSpec {
        Ch conversion = 'd';
        Ch fill = ' ';
        DWord width = 0;
    };

    // delims: two characters, open then close; null means "<>". Global variables are substituted into the
    // text (with these delimiters) unless options has fmtNoGlobals.
    explicit CFormatT(const Ch* text, const Ch* delims = nullptr, DWord options = 0);

    // Replaces every occurrence of the item var (searching the inserted text too, so a value must not hold
    // its own item); true when any replacement was made. A fill that would pass a bound is not made: the
    // item stays in the text, the fill stops and WasCut tells.
    bool Item(const Ch* var, const void* item, FormatFunc fmtFunc);
    // Integer item: conversions d, x, X, o, c; fill "0" or blank and a width, as in "<Num:04d>".
    bool Item(const Ch* var, Int value);
    // String items, narrow or wide: only fill and width apply.
    bool Item(const Ch* var, const char* value);
    bool Item(const Ch* var, const WChar* value);

    const CText& Text() const { return mText; }
    // True once a fill of this template stopped at a bound.
    bool WasCut() const { return mCut; }
    operator const Ch*() const { return mText.Chars(); }

    // Fill ("0" leading), width digits, then one of X c d o u x or the end (conversion left empty).
    static bool DecodeFormatSpec(const Ch* fmtSpecStr, CFormatSpec& fmtSpec);
    // The built-in formatting functions (item points to an Int, a char string or a WChar string).
    static bool FormatInt(const Ch* fmtSpecStr, const void* item, CText& out);
    static bool FormatNarrowString(const Ch* fmtSpecStr, const void* item, CText& out);
    static bool FormatWideString(const Ch* fmtSpecStr, const void* item, CText& out);

private:
    static constexpr Int cMaxSpecLen = 10;

    Int FindItem(Int index, const Ch* var, Ch* fmtSpec, Int& end) const;
    Int ItemEnd(Int afterName, Ch* fmtSpec) const;
    // The first c in [start, end), end -1 meaning the end of the text; -1 when there is none.
    Int FindChar(Ch c, Int start, Int end = -1) const;

    CText mText;
    Ch mOpen;
    Ch mClose;
    bool mCut = false;
};

extern template class CFormatT<char>;
extern template class CFormatT<WChar>;

using CFormat = CFormatT<char>;
using CWFormat = CFormatT<WChar>;

} // namespace Orn
