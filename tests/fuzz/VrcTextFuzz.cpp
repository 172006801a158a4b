// libFuzzer target: the text form of a configuration file, as mkconfig reads it. A text without errors must
// compile to a binary file that loads back to the same list, as mkconfig promises.
#include <string>
#include <unistd.h>

#include "FuzzSupport.h"
#include "StringStream.h"

using namespace Orn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({});
    CString text = FuzzSupport::Text(data, size);
    CString errors;
    CStringStream input(text, smRead);
    CStringStream errorStream(errors, smWrite);
    CVarList parsed;
    FuzzSupport::CheckStatus(parsed.Parse(input, errorStream));
    if (!errors.IsEmpty())
        return 0;
    const std::string path = "/tmp/vrc_text_fuzz_" + std::to_string(getpid()) + ".vrc";
    CVarList loaded;
    if (!(parsed.Save(path.c_str()) == Ok) || !(loaded.Load(path.c_str()) == Ok) ||
        FuzzSupport::Flatten(loaded) != FuzzSupport::Flatten(parsed))
        FuzzSupport::Fail("an accepted text does not compile to a file that loads back", text);
    return 0;
}
