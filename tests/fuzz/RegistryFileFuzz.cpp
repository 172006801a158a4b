// libFuzzer target: the tree registry's text form. A text that reads must write a text that reads back and
// writes the same again.
#include "ErrorHandler.h"
#include "FuzzSupport.h"
#include "Registry.h"
#include "StringStream.h"

using namespace Orn;

namespace {

CString Written(CMemRegistry& registry)
{
    CString text;
    CStringStream out(text, smWrite);
    if (!(registry.Write(out) == Ok))
        FuzzSupport::Fail("a tree that was read does not write");
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({});
    static CIgnoreErrorHandler quiet;
    SetErrorHandler(&quiet);
    CString text = FuzzSupport::Text(data, size);
    CStringStream in(text, smRead);
    CMemRegistry registry;
    RStatus status = registry.Read(in);
    FuzzSupport::CheckStatus(status);
    if (status.Failed())
        return 0;
    CString first = Written(registry);
    CMemRegistry again;
    CStringStream in2(first, smRead);
    if (!(again.Read(in2) == Ok) || !(Written(again) == first.Chars()))
        FuzzSupport::Fail("written tree does not read back the same", first);
    return 0;
}
