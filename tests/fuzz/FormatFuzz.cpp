// libFuzzer target: substitution of a variable list and item fills of a template. The input is split at line
// feeds into a text, then names and values. Whatever the values hold, both end within their bounds.
#include <vector>

#include "Format.h"
#include "FuzzSupport.h"

using namespace Orn;

namespace {

std::vector<CString> Parts(const CString& text)
{
    std::vector<CString> parts(1);
    for (Int i = 0; i < text.Length(); ++i) {
        if (text[i] == '\n')
            parts.emplace_back();
        else
            parts.back().AppendChar(text[i]);
    }
    return parts;
}

void CheckLength(Int before, Int after, Int bound, const char* what)
{
    if (after > before && after > bound)
        FuzzSupport::Fail(what, "text grew past its bound");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({"bad format character", "DecodeFormatSpec(fmtSpecStr,fmtSpec)"});
    std::vector<CString> parts = Parts(FuzzSupport::Text(data, size));
    CVarList vars;
    for (size_t i = 1; i + 1 < parts.size(); i += 2) {
        const char* name = parts[i].IsEmpty() ? "x" : parts[i].Chars();
        if (!vars.IsReadOnly(name[0] == '%' ? name + 1 : name)) // setting it again is a program error
            vars.Set(name, parts[i + 1]);
    }
    CString text = parts[0];
    vars.Substitute(text);
    CheckLength(parts[0].Length(), text.Length(), cMaxSubstLength, "substitution");

    CFormat format(parts[0], nullptr, fmtNoGlobals);
    const char* name = parts.size() > 1 && !parts[1].IsEmpty() ? parts[1].Chars() : "N";
    format.Item(name, parts.size() > 2 ? parts[2].Chars() : "");
    format.Item(name, static_cast<Int>(size));
    CheckLength(parts[0].Length(), format.Text().Length(), cMaxFilledLength, "item fill");
    CWFormat wide(L"<N>", nullptr, fmtNoGlobals);
    wide.Item(L"N", parts.back().Chars());
    return 0;
}
