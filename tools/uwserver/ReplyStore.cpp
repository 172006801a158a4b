// Loading, checking and wrapping the reply scripts.
#include "ReplyStore.h"

#include <algorithm>

#include "ReplySigner.h"
#include "ScriptCheck.h"
#include "SignedReply.h"

namespace {

const char cStart[] = "[START]";
const char cEnd[] = "[END]\n";
// "[SIG]", the signature's digits, "[/SIG]" and a line feed.
constexpr std::size_t cSignatureBlock = sizeof Orn::SignatureStartMarker - 1 + 2 * Orn::ReplySignatureBytes +
                                        sizeof Orn::SignatureEndMarker - 1 + 1;

// A marker inside the script would cut it short when the program takes it out of the page.
void FindMarkers(const std::string& script, std::vector<CScriptFinding>& findings)
{
    for (const char* marker : {"[START]", "[END]"}) {
        std::size_t at = script.find(marker);
        if (at != std::string::npos)
            findings.push_back(
                {at, false,
                 std::string("the script holds \"") + marker + "\", which would cut it short in the reply page"});
    }
}

} // namespace

bool CReplyStore::LoadOne(const std::string& folder, const std::string& name, std::string& errors,
                          std::string& warnings)
{
    std::string path = folder + "/" + name;
    std::string script, why;
    // The script goes between line feeds after "[START]" and before "[END]".
    std::size_t envelope = (sizeof cStart - 1) + (sizeof cEnd - 1) + 2 + (mSigner ? cSignatureBlock : 0);
    std::size_t maxScript = cMaxPage - envelope;
    if (!ReadSmallFile(path, maxScript, script, why)) {
        bool tooLarge = why.compare(0, 11, "larger than") == 0;
        errors += path + ": can't serve it: " + why +
                  (tooLarge ? " (a reply page holds at most " + std::to_string(cMaxPage) + " bytes)" : "") + "\n";
        return false;
    }
    std::vector<CScriptFinding> findings = CheckScript(script);
    FindMarkers(script, findings);
    std::stable_sort(findings.begin(), findings.end(),
                     [](const CScriptFinding& a, const CScriptFinding& b) { return a.offset < b.offset; });
    std::string report = FormatFindings(CScriptText(path, script), findings);
    if (HasErrors(findings)) {
        errors += report;
        return false;
    }
    warnings += report;
    mScripts[name] = "\n" + script + "\n";
    return true;
}

bool CReplyStore::Load(const std::string& folder, const std::vector<std::string>& names, std::string& errors,
                       std::string& warnings)
{
    mScripts.clear();
    bool ok = true;
    for (const std::string& name : names)
        ok = LoadOne(folder, name, errors, warnings) && ok;
    return ok;
}

std::string CReplyStore::Page(const std::string& name, const std::string& nonce) const
{
    const std::string& script = mScripts.at(name);
    std::string page = cStart + script + cEnd;
    if (!mSigner || nonce.empty())
        return page;
    std::string block = mSigner->SignatureBlock(nonce, script);
    return block.empty() ? "" : page + block + "\n";
}
