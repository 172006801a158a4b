// Loading a reply folder: the rules first, then every reply they name, each checked as the program runs it.
#include "ReplyFolder.h"

#include "ScriptText.h"

namespace {

constexpr std::size_t cMaxRules = 64 * 1024;

} // namespace

bool LoadReplyFolder(const std::string& folder, const CReplySigner* signer, CReplyFolder& out, std::string& messages)
{
    std::string path = folder + "/rules.txt", text, errors, warnings;
    if (!ReadSmallFile(path, cMaxRules, text, errors)) {
        messages += "uwserver: can't read " + path + ": " + errors + "\n";
        return false;
    }
    out.replies = CReplyStore(signer);
    bool ok = out.rules.Parse(path, text, errors) && out.replies.Load(folder, out.rules.ReplyFiles(), errors, warnings);
    messages += warnings + errors;
    return ok;
}
