// The rules a reply page keeps, applied once for the server and the check alike.
#include "ReplyPage.h"

#include "ReplyEncoding.h"
#include "ScriptCheck.h"
#include "ScriptTokens.h"
#include "SignedReply.h"
#include "VersionScript.h"

namespace {

const char cStart[] = "[START]";
const char cEnd[] = "[END]\n";
// "[SIG]", the signature's digits, "[/SIG]" and a line feed.
constexpr std::size_t cSignatureBlock = sizeof Orn::SignatureStartMarker - 1 + 2 * Orn::ReplySignatureBytes +
                                        sizeof Orn::SignatureEndMarker - 1 + 1;

// A marker in a string would cut the script short where the program takes it out of the page; one in a comment
// goes with the comment.
void FindMarkers(const std::string& text, const std::vector<CScriptToken>& tokens,
                 std::vector<CScriptFinding>& findings)
{
    const struct {
        const char* marker;
        const char* escaped;
    } markers[] = {{"[START]", "[\\x53TART]"}, {"[END]", "[\\x45ND]"}};
    for (const CScriptToken& t : tokens) {
        for (const auto& m : markers) {
            std::size_t at = t.type == Orn::tokString ? text.find(m.marker, t.offset) : std::string::npos;
            if (at < t.end)
                findings.push_back({at, false, std::string("the string holds \"") + m.marker +
                                                   "\", which would cut the script short in the reply page (write it "
                                                   "as \"" + m.escaped + "\")"});
        }
    }
}

// Not knowing whether the page will be signed, a script that fits only unsigned is worth a warning.
void CheckSize(std::size_t size, ESigning signing, std::vector<CScriptFinding>& findings)
{
    bool signedPage = signing == ESigning::signed_ || (signing == ESigning::either && size <= MaxServedScript(false));
    std::size_t limit = MaxServedScript(signedPage);
    if (size <= limit)
        return;
    bool warning = signing == ESigning::either && signedPage;
    std::string message = std::string(warning ? "served signed (uwserver --sign-key), " : "") + "the script takes " +
                          std::to_string(size) + " bytes without its comments, over the " + std::to_string(limit) +
                          " that a " + (signedPage ? "signed " : "") + "reply page of at most " +
                          std::to_string(cMaxReplyPage) + " bytes leaves it";
    findings.push_back({CScriptFinding::cWholeFile, warning, message});
}

} // namespace

std::size_t MaxServedScript(bool signedPage)
{
    std::size_t envelope = PageText(PageBody("")).size();
    return cMaxReplyPage - envelope - (signedPage ? cSignatureBlock : 0);
}

CReplyPage PrepareReplyPage(const std::string& fileText, ESigning signing)
{
    CProgramText program = ToProgramText(fileText);
    CReplyPage page;
    page.findings = program.findings;
    // The program's messages quote the script in its code page; the escapes' are written in UTF-8.
    std::vector<CScriptFinding> found = CheckScript(program.text);
    CScriptTokens tokens = ReadScriptTokens(program.text);
    FindMarkers(program.text, tokens.list, found);
    for (CScriptFinding& f : found)
        f.message = Utf8FromProgramText(f.message);
    for (const CScriptToken& t : tokens.list) {
        if (t.type == Orn::tokString)
            CheckEscapes(program.text, t.offset + 1, t.end - 1, found);
    }
    for (const CScriptFinding& f : found)
        page.findings.push_back({program.FileOffset(f.offset), f.warning, f.message});
    if (tokens.complete) {
        page.script = WithoutComments(program.text, tokens.list);
        CheckSize(page.script.size(), signing, page.findings);
    }
    SortFindings(page.findings);
    return page;
}

std::string PageBody(const std::string& script) { return "\n" + script + "\n"; }

std::string PageText(const std::string& body) { return cStart + body + cEnd; }
