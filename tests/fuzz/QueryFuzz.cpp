// libFuzzer target: ParseQuery in both forms. What it sets must come back from BuildQuery and a URL-form parse,
// but for the names a query cannot carry: the unnamed one and those that begin with "%" (a read-only mark).
#include "FuzzSupport.h"

using namespace Orn;

namespace {

CVarList Named(const CVarList& list)
{
    struct CCopy : CVarList::CVisitor {
        CVarList out;
        bool Visit(const char* name, const char* value) override
        {
            if (*name && *name != '%')
                out.Set(name, value);
            return true;
        }
    } copy;
    list.Visit(copy);
    return copy.out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    // "%a=1 a=2" sets a read-only name again: Set keeps the first value and asserts, as for any caller.
    FuzzSupport::ExpectAssertions({"attempt to modify a read-only variable"});
    if (size == 0)
        return 0;
    CString text = FuzzSupport::Text(data + 1, size - 1);
    CVarList parsed;
    if (parsed.ParseQuery(text, (data[0] & 1) != 0) < parsed.Count())
        FuzzSupport::Fail("fewer pairs counted than variables set", text);
    CVarList named = Named(parsed);
    CString query;
    if (named.BuildQuery(query) != named.Count())
        FuzzSupport::Fail("BuildQuery miscounts", query);
    CVarList again;
    again.ParseQuery(query, true);
    if (FuzzSupport::Flatten(again) != FuzzSupport::Flatten(named))
        FuzzSupport::Fail("query does not parse back", query);
    return 0;
}
