// libFuzzer target: arbitrary bytes as a reply file through the page rules that uwserver and uwscript check
// apply: the conversion from UTF-8, the script check and its explanations, escapes, markers, comments, the size.
#include <string>

#include "FuzzSupport.h"
#include "ReplyEncoding.h"
#include "ReplyPage.h"
#include "ScriptTokens.h"

using FuzzSupport::Fail;

namespace {

// The tokens' kinds and texts: what the interpreter reads, whatever lies between them.
std::string Meaning(const std::string& script)
{
    std::string meaning;
    for (const CScriptToken& t : ReadScriptTokens(script).list)
        meaning += std::to_string(t.type) + ":" + t.text + "\n";
    return meaning;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    const std::string file(reinterpret_cast<const char*>(data), size);
    CReplyPage page = PrepareReplyPage(file, ESigning::either);
    for (const CScriptFinding& f : page.findings) {
        if (f.offset != CScriptFinding::cWholeFile && f.offset > file.size())
            Fail("finding past the end of the file", f.message.c_str());
    }
    (void)CScriptText("f", file).Format(page.findings);
    CProgramText program = ToProgramText(file);
    if (program.findings.empty() && ToProgramText(Utf8FromProgramText(program.text)).text != program.text)
        Fail("Windows-1252 to UTF-8 and back changed the text");
    if (!page.Servable())
        return 0;
    // What is served means what was checked, and it passes the rules again as it stands.
    if (Meaning(page.script) != Meaning(program.text))
        Fail("the served script reads otherwise than the file", page.script.c_str());
    CReplyPage again = PrepareReplyPage(Utf8FromProgramText(page.script), ESigning::either);
    if (!again.Servable() || again.script != page.script)
        Fail("the served script does not pass as it is", page.script.c_str());
    return 0;
}
