// libFuzzer target: the JSON-like token reader. Every token is one of the codes, and malformed input ends in
// the reader's syntax error, never anything else.
#include "FuzzSupport.h"
#include "JsonTokenizer.h"
#include "StringStream.h"

using namespace Orn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({"\\u unimplemented"});
    if (size == 0)
        return 0;
    CString text = FuzzSupport::Text(data + 1, size - 1);
    CStringStream in(text, smRead);
    CString printed;
    CStringStream out(printed, smWrite);
    CJsonTokenizer reader(in, (data[0] & 1) != 0);
    try {
        for (Int i = 0; i <= text.Length(); ++i) {
            Int token = reader.NextToken();
            if (token != jsonEOF && token != jsonINTEGER && token != jsonSTRING && Str::Find("[]{}:,", char(token)) < 0)
                FuzzSupport::Fail("unknown token code");
            reader.PrintToken(out);
            if (token == jsonEOF)
                return 0;
        }
        FuzzSupport::Fail("more tokens than characters", text);
    } catch (const CJsonTokenizer::CSyntaxError&) {
    }
    return 0;
}
