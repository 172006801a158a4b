// libFuzzer target: URL, form-field, markup and backslash unescaping of arbitrary text, and the escaping
// round trips: what is escaped unescapes to the same text.
#include "Escape.h"
#include "FuzzSupport.h"
#include "Unescape.h"

using namespace Orn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({});
    const CString text = FuzzSupport::Text(data, size);
    CString out;
    UnescapeURL(out, text);
    FormDecode(out, text);
    out = text;
    UnescapeMarkup(out, meoUnescapeEntityNames | meoUnescapeNumCharRefs);
    out = text;
    Str::Unescape(out);

    CString escaped, back;
    FormEncode(escaped, text);
    FormDecode(back, escaped);
    if (!(back == text.Chars()))
        FuzzSupport::Fail("form round trip", text);
    EscapeURL(escaped, text, size % 2 == 0);
    UnescapeURL(back, escaped);
    if (!(back == text.Chars()))
        FuzzSupport::Fail("URL round trip", text);
    return 0;
}
