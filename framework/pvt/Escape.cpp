// Percent-escaping of URL text, form-field encoding, and markup character references.
#include "Escape.h"

#include <cstring>

#include "Debug.h"

namespace Orn {

namespace {

bool TestBits(DWord value, DWord bits) { return (value & bits) != 0; }

// Index of ch among the special characters, or -1.
Int SpecialIndex(const char* specials, char ch)
{
    for (Int i = 0; specials && specials[i]; ++i) {
        if (specials[i] == ch)
            return i;
    }
    return -1;
}

bool SpecialsMatch(const char* specials, const char* replacements)
{
    return (!specials && !replacements) ||
           (specials && replacements && Str::Length(specials) == Str::Length(replacements));
}

// Writes the decoding of the "%" at p; returns the characters consumed.
Int UnescapePercent(const char* p, char* out, Int& n)
{
    Int hi = Str::HexValue(static_cast<unsigned char>(p[1]));
    Int lo = hi < 0 ? -1 : Str::HexValue(static_cast<unsigned char>(p[2]));
    if (lo >= 0) {
        out[n++] = static_cast<char>(hi * 16 + lo);
        return 3;
    }
    // Not an escape: keep "%" and what was read after it, and go on behind them.
    Int kept = hi < 0 ? 2 : 3;
    Int i = 0;
    for (; i < kept && p[i]; ++i)
        out[n++] = p[i];
    return i;
}

} // namespace

bool Ch::IsUnreserved(char ch)
{
    return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '-' ||
           ch == '.' || ch == '_';
}

bool Ch::IsURLSafe(char ch)
{
    unsigned char c = static_cast<unsigned char>(ch);
    return c >= 33 && c <= 126 && !std::strchr("#/:?@[]!$&'()*+,;=%", c);
}

void EscapeURL(CString& str, const char* src, bool strict, const char* specials, const char* replacements)
{
    ORN_ASSERT(src);
    ORN_ASSERT(SpecialsMatch(specials, replacements));
    if (!src || !SpecialsMatch(specials, replacements)) {
        str.Empty();
        return;
    }
    CString source(src); // src may be str's own buffer
    char* out = str.Lock(3 * source.Length() + 1);
    Int n = 0;
    for (const char* p = source.Chars(); *p; ++p) {
        Int special = SpecialIndex(specials, *p);
        if (special >= 0) {
            out[n++] = replacements[special];
        } else if (Ch::IsURLSafe(*p) && (!strict || Ch::IsUnreserved(*p))) {
            out[n++] = *p;
        } else {
            out[n++] = '%';
            Str::ByteToHex(static_cast<unsigned char>(*p), out + n);
            n += 2;
        }
    }
    out[n] = 0;
    str.Unlock();
}

void UnescapeURL(CString& str, const char* src, const char* specials, const char* replacements)
{
    ORN_ASSERT(src);
    ORN_ASSERT(SpecialsMatch(specials, replacements));
    if (!src || !SpecialsMatch(specials, replacements)) {
        str.Empty();
        return;
    }
    CString source(src);
    char* out = str.Lock(source.Length() + 1);
    Int n = 0;
    for (const char* p = source.Chars(); *p;) {
        Int special = SpecialIndex(specials, *p);
        if (special >= 0) {
            out[n++] = replacements[special];
            ++p;
        } else if (*p == '%') {
            p += UnescapePercent(p, out, n);
        } else {
            out[n++] = *p++;
        }
    }
    out[n] = 0;
    str.Unlock();
}

void EscapeURLComponent(CString& str, const char* src, Int component, DWord options, bool strict)
{
    ORN_ASSERT(component==Ch::uriQuery);
    bool plus = TestBits(options, ueoSpaceAsPlus);
    EscapeURL(str, src, strict, plus ? " " : nullptr, plus ? "+" : nullptr);
}

void UnescapeURLComponent(CString& str, const char* src, Int component, DWord options)
{
    ORN_ASSERT(component==Ch::uriQuery);
    bool plus = TestBits(options, ueoSpaceAsPlus);
    UnescapeURL(str, src, plus ? "+" : nullptr, plus ? " " : nullptr);
}

void FormEncode(CString& str, const char* src) { EscapeURLComponent(str, src, Ch::uriQuery, ueoSpaceAsPlus, true); }

void FormDecode(CString& str, const char* src) { UnescapeURLComponent(str, src, Ch::uriQuery, ueoSpaceAsPlus); }

Int LookupEntity(const CEntityRow* table, const char* entityName)
{
    ORN_ASSERT(table);
    ORN_ASSERT(entityName);
    if (!table || !entityName)
        return 0;
    for (const CEntityRow* row = table; row->name; ++row) {
        if (row->name[0] == entityName[0] && Str::Equal(row->name, entityName))
            return row->code;
    }
    return 0;
}

const char* EntityNameForCode(const CEntityRow* table, Int code)
{
    for (const CEntityRow* row = table; row && row->name; ++row) {
        if (row->code == code)
            return row->name;
    }
    return nullptr;
}

namespace {

bool NeedsEscaping(Int ch, DWord options)
{
    return (TestBits(options, meoEscapeApos) && ch == '\'') || (TestBits(options, meoEscapeQuot) && ch == '"') ||
           (TestBits(options, meoEscapeMarkup) && (ch == '&' || ch == '<' || ch == '>')) ||
           (TestBits(options, meoEscapeNonText) && (ch < 32 || ch >= 255));
}

} // namespace

bool EscapeMarkupChar(Int ch, DWord options, CString& out)
{
    ORN_ASSERT(ch > 0);
    ORN_ASSERT(TestBits(options,DWord(meoAllEscapeTypes)));
    ORN_ASSERT(! (TestBits(options,DWord(meoHexNumCharRefs)) && TestBits(options,DWord(meoDecNumCharRefs))));
    ORN_ASSERT(TestBits(options,DWord(meoEscapingOptionsMask)));
    ORN_ASSERT(! TestBits(options,DWord(meoUnescapingOptionsMask)));
    ORN_ASSERT(! TestBits(options,DWord(meoEntityNamesOnly)));
    if (ch <= 0 || !NeedsEscaping(ch, options))
        return false;
    const char* name = TestBits(options, meoEntityNames) ? EntityNameForCode(EntityTable, ch) : nullptr;
    CString ref;
    if (name)
        ref.Format("&%s;", name);
    else if (TestBits(options, meoHexNumCharRefs))
        ref.Format("&#x%x;", static_cast<unsigned>(ch));
    else {
        ORN_ASSERT(TestBits(options,DWord(meoDecNumCharRefs)));
        ref.Format("&#%d;", ch);
    }
    out.Append(ref);
    return true;
}

namespace {

// The code of a numeric reference body ("#123" or "#x7B"), or 0 when it is not one.
Int NumericReferenceCode(const WChar* body, Int len)
{
    bool hex = len > 1 && (body[1] == 'x' || body[1] == 'X');
    Int i = hex ? 2 : 1;
    if (i >= len)
        return 0;
    Int code = 0;
    for (; i < len; ++i) {
        Int digit = Str::HexValue(body[i]);
        if (digit < 0 || (!hex && digit > 9))
            return 0;
        code = code * (hex ? 16 : 10) + digit;
        if (code > 0xFFFF)
            return 0;
    }
    return code;
}

// The code of an entity name from the table, or 0.
Int NamedReferenceCode(const WChar* body, Int len)
{
    char name[16];
    if (len >= Int(sizeof(name)))
        return 0;
    for (Int i = 0; i < len; ++i) {
        if (body[i] <= ' ' || body[i] > '~')
            return 0;
        name[i] = static_cast<char>(body[i]);
    }
    name[len] = 0;
    return LookupEntity(EntityTable, name);
}

// The code of the reference that starts with the "&" at pos, and its length through ";" (0 when none).
Int ParseReference(const CWString& text, Int pos, DWord options, Int& code)
{
    const Int maxBody = 12; // longer than any name or 16-bit reference
    Int semi = pos + 1;
    while (semi < text.Length() && semi - pos - 1 <= maxBody && text[semi] != ';')
        ++semi;
    if (semi >= text.Length() || text[semi] != ';' || semi == pos + 1)
        return 0;
    const WChar* body = text.Chars() + pos + 1;
    Int len = semi - pos - 1;
    if (body[0] == '#')
        code = TestBits(options, meoUnescapeNumCharRefs) ? NumericReferenceCode(body, len) : 0;
    else
        code = TestBits(options, meoUnescapeEntityNames) ? NamedReferenceCode(body, len) : 0;
    return code > 0 ? len + 2 : 0;
}

} // namespace

Int UnescapeMarkup(CWString& text, DWord options)
{
    Int count = 0;
    for (Int pos = text.Find(L"&", 0); pos >= 0; pos = text.Find(L"&", pos + 1)) {
        Int code = 0;
        Int len = ParseReference(text, pos, options, code);
        if (len == 0)
            continue;
        const WChar decoded[2] = {static_cast<WChar>(code), 0};
        text.Remove(pos, len);
        text.Insert(decoded, pos);
        ++count;
    }
    return count;
}

Int UnescapeMarkup(CString& text, DWord options)
{
    CWString wide;
    wide.AssignNarrow(text);
    Int count = UnescapeMarkup(wide, options);
    if (count > 0)
        text = wide.Chars();
    return count;
}

} // namespace Orn
