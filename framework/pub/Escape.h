// Percent-escaping of URL query text, form-field encoding, and markup character references.
#pragma once

#include <cstdint>

#include "Platform.h"
#include "String.h"

namespace Orn {

namespace Ch {

// URL components; the escaping entry points support only the query.
enum UriComponent : Int { uriScheme = 0, uriAuthority = 1, uriPath = 2, uriQuery = 3, uriFragment = 4 };

// ASCII letters, digits, "-", "." and "_" (the tilde is deliberately left out).
bool IsUnreserved(char ch);
// 33..126 except the URL delimiters "#/:?@[]!$&'()*+,;=" and "%".
bool IsURLSafe(char ch);

} // namespace Ch

// URL component escaping options.
enum : DWord {
    ueoSpaceAsPlus = 0x1, // a space is written as "+" and "+" read as a space
};

// Percent-escapes src into str: a special character becomes the replacement at its index; a safe character
// (with strict, also unreserved) is copied; anything else becomes "%XX". src may be str's own text.
void EscapeURL(CString& str, const char* src, bool strict, const char* specials = nullptr,
               const char* replacements = nullptr);
// Undoes "%XX" and the special characters; a "%" without two hex digits is kept as it stands. "%00" ends
// the text, which cannot hold a zero byte.
void UnescapeURL(CString& str, const char* src, const char* specials = nullptr, const char* replacements = nullptr);

// Escaping of one URL component (only Ch::uriQuery); options are ueo... bits.
void EscapeURLComponent(CString& str, const char* src, Int component, DWord options, bool strict);
void UnescapeURLComponent(CString& str, const char* src, Int component, DWord options);

// Form-field (x-www-form-urlencoded) text: the strict query escaping with space as "+".
void FormEncode(CString& str, const char* src);
void FormDecode(CString& str, const char* src);

// Markup escaping options: escape types in the low byte, what to escape in the middle, unescaping on top.
enum : DWord {
    meoEntityNames = 0x1,
    meoHexNumCharRefs = 0x2,
    meoDecNumCharRefs = 0x4,
    meoAllEscapeTypes = 0x7,
    meoEscapeApos = 0x100,
    meoEscapeQuot = 0x200,
    meoEscapeMarkup = 0x400,   // "&", "<" and ">"
    meoEscapeNonText = 0x800,  // below 32, and 255 up
    meoEntityNamesOnly = 0x10000,
    meoEscapingOptionsMask = 0x00FFFF00,
    meoUnescapeEntityNames = 0x01000000,
    meoUnescapeNumCharRefs = 0x02000000,
    meoUnescapingOptionsMask = 0xFF000000,
};

// One row of the entity-name table; the table ends with a row whose name is null.
struct CEntityRow {
    const char* name;
    std::uint16_t code;
};

// The XML names, the HTML 4 set, then the Latin-1 letters ending with "yuml".
extern const CEntityRow EntityTable[];
constexpr Int EntityTableRows = 253;

// The code of the first row named exactly entityName, or 0.
Int LookupEntity(const CEntityRow* table, const char* entityName);
// The name of the first row with the code, or null.
const char* EntityNameForCode(const CEntityRow* table, Int code);

// Appends ch as "&name;", "&#xhh;" or "&#ddd;" when the options say it needs escaping; false otherwise.
bool EscapeMarkupChar(Int ch, DWord options, CString& out);

// Replaces table "&name;" (meoUnescapeEntityNames) and "&#NNN;"/"&#xHH;" 1..0xFFFF (meoUnescapeNumCharRefs); a count.
Int UnescapeMarkup(CWString& text, DWord options);
// The narrow form goes through wide text in the system code page.
Int UnescapeMarkup(CString& text, DWord options);

} // namespace Orn
