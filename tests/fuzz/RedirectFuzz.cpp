// libFuzzer target: where a download's redirect leads ("FROM\nLOCATION"), and that every URL the download rule
// admits splits into an https request, as the download's worker takes for granted.
#include <cstring>

#include "FileDownload.h"
#include "FuzzSupport.h"
#include "OpenURLPolicy.h"
#include "WebPageReader.h"

using namespace Orn;
using FuzzSupport::Fail;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({});
    const CString text = FuzzSupport::Text(data, size);
    Int newline = text.Find("\n");
    const CString from = newline < 0 ? CString("https://dl.example.com/x") : text.Mid(0, newline);
    const CString location = newline < 0 ? text : text.Mid(newline + 1);
    CString to;
    if (!ResolveRedirect(from, location, to))
        return 0;
    // A path goes after from's own scheme and host; anything else stays as it is.
    Int kept = to.Length() - location.Length();
    if (std::strncmp(to, location[0] == '/' ? from.Chars() : "", static_cast<size_t>(kept)) != 0 ||
        !Str::Equal(to.Chars() + kept, location))
        Fail("resolved to another URL", to);
    for (const char* policy : {"any", "hosts:example.com"}) {
        CWebRequest request;
        if (COpenURLPolicy(policy).AdmitsDownload(to) && to.Length() <= MaxGetURLLength &&
            (!SplitWebURL(to, false, request) || !request.secure || request.doPOST))
            Fail("an admitted URL does not split into an https GET", to);
    }
    return 0;
}
