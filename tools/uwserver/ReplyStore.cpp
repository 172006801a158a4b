// Loading, checking and wrapping the reply scripts.
#include "ReplyStore.h"

#include <algorithm>

#include "ScriptCheck.h"

namespace {

const char cStart[] = "[START]\n";
const char cEnd[] = "\n[END]\n";

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
    std::size_t maxScript = cMaxPage - (sizeof cStart - 1) - (sizeof cEnd - 1);
    if (!ReadSmallFile(path, maxScript, script, why)) {
        errors += path + ": can't serve it: " + why + " (a reply page holds at most " + std::to_string(cMaxPage) +
                  " bytes)\n";
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
    mPages[name] = cStart + script + cEnd;
    return true;
}

bool CReplyStore::Load(const std::string& folder, const std::vector<std::string>& names, std::string& errors,
                       std::string& warnings)
{
    mPages.clear();
    bool ok = true;
    for (const std::string& name : names)
        ok = LoadOne(folder, name, errors, warnings) && ok;
    return ok;
}
