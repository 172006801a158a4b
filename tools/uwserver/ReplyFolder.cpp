// Loading a reply folder: the rules file, then the replies it names.
#include "ReplyFolder.h"

#include <filesystem>

#include "ScriptText.h"

namespace {

constexpr std::size_t cMaxRules = 64 * 1024;

// A reply the rules name but the folder lacks is the rules' mistake, so it is reported where the rules name it.
std::vector<std::string> PresentReplies(const std::string& folder, const CServerRules& rules, std::string& errors)
{
    std::vector<std::string> present;
    for (const std::string& name : rules.ReplyFiles()) {
        std::error_code ec;
        if (std::filesystem::exists(folder + "/" + name, ec))
            present.push_back(name);
        else
            errors += rules.WhereNamed(name) + ": reply file '" + name + "' not found in " + folder + "\n";
    }
    return present;
}

} // namespace

bool LoadReplyFolder(const std::string& folder, const CReplySigner* signer, CReplyFolder& out, std::string& messages)
{
    std::string path = folder + "/rules.txt", text, errors, warnings;
    if (!ReadSmallFile(path, cMaxRules, text, errors)) {
        messages = "uwserver: can't read " + path + ": " + errors + "\n";
        return false;
    }
    out.replies = CReplyStore(signer);
    if (!out.rules.Parse(path, text, errors)) {
        messages = errors;
        return false;
    }
    bool ok = out.replies.Load(folder, PresentReplies(folder, out.rules, errors), errors, warnings) && errors.empty();
    messages = warnings + errors;
    return ok;
}
