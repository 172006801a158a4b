// libFuzzer target: version texts in the three styles, build dates, and time texts. A version that parses
// formats to a text that parses and formats to the same text (a negative stage, read from "beta -200", is not
// written, so the version itself may differ).
#include "FuzzSupport.h"
#include "Time.h"
#include "Version.h"

using namespace Orn;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    // The third of four numbers must be a byte, and time texts are checked character by character.
    FuzzSupport::ExpectAssertions({"(temp>=0) && (temp<= 0xFF)", "str[2] == '/'", "str[5] == '/'",
                                   "str[10] == ' '", "str[13] == ':'", "str[16] == ':'", "String too short.",
                                   "(year >= 1970) && (year <= 2038)"});
    if (size == 0)
        return 0;
    const Int style = data[0] % 3;
    CString text = FuzzSupport::Text(data + 1, size - 1);
    CVersion version;
    if (version.Parse(text, style)) {
        CString formatted;
        version.Format(formatted, style);
        CVersion again;
        CString reformatted;
        if (!again.Parse(formatted, style) || (again.Format(reformatted, style), !(reformatted == formatted)))
            FuzzSupport::Fail("version does not read back", formatted);
    }
    CString dated = text;
    (void)CVersion::SplitBuildDate(dated);
    CString shown;
    (void)CTime::FromText(text).Format(shown);
    return 0;
}
