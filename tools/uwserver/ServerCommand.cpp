// The commands that read a reply folder or records without serving: each one loads what the server would.
#include "ServerCommand.h"

#include <cstdio>

#include "MachineIdentity.h"
#include "RecordReport.h"
#include "ReplyFolder.h"
#include "ReplySigner.h"

namespace {

const char cUsage[] = "Usage: uwserver check [--sign-key KEY.pem] FOLDER\n"
                      "       uwserver which FOLDER NAME=VALUE...\n"
                      "       uwserver report RECORD... [--html FILE]\n";

int Usage(std::string& err)
{
    err += cUsage;
    return 2;
}

int Check(const std::vector<std::string>& args, std::string& out, std::string& err)
{
    bool keyed = args.size() == 4 && args[1] == "--sign-key";
    if (args.size() != 2 && !keyed)
        return Usage(err);
    CReplySigner signer;
    std::string error;
    if (keyed && !signer.Load(args[2], false, error)) {
        err += "uwserver: " + error + "\n";
        return 1;
    }
    const std::string& folder = args.back();
    CReplyFolder loaded;
    std::string messages;
    bool ok = LoadReplyFolder(folder, keyed ? &signer : nullptr, loaded, messages);
    out += messages;
    std::size_t replies = loaded.rules.ReplyFiles().size();
    if (ok)
        out += folder + ": the rules and " + std::to_string(replies) + (replies == 1 ? " reply" : " replies") +
               " can be served\n";
    return ok ? 0 : 1;
}

// Where the machine stands in the rollout order, for a folder whose rules hold a rollout.
std::string RolloutLine(const Orn::CVarList& params)
{
    std::string identity = MachineIdentity(params);
    if (identity.empty())
        return "machine: no identity (VR_Random with VR_MachTime, VR_UserTime and VR_MACAddr are all unset): only "
               "'rollout 100%' holds\n";
    char place[32];
    std::snprintf(place, sizeof place, "%.2f%%", RolloutPoint(identity) / 100.0);
    return "machine: " + identity + ", inside every rollout above " + place + "\n";
}

int Which(const std::vector<std::string>& args, std::string& out, std::string& err)
{
    if (args.size() < 2)
        return Usage(err);
    Orn::CVarList params;
    for (std::size_t i = 2; i < args.size(); ++i) {
        std::size_t eq = args[i].find('=');
        if (eq == 0 || eq == std::string::npos)
            return Usage(err);
        params.Set(args[i].substr(0, eq).c_str(), args[i].substr(eq + 1).c_str());
    }
    CReplyFolder folder;
    std::string messages;
    bool ok = LoadReplyFolder(args[1], nullptr, folder, messages);
    err += messages;
    if (!ok)
        return 1;
    const CServerRules::CRule& rule = folder.rules.ChooseRule(params);
    out += "reply: " + rule.reply + "\n";
    out += "rule: " + folder.rules.WhereIs(rule) + ": " + rule.text + "\n";
    if (folder.rules.HasRollout())
        out += RolloutLine(params);
    out += "page:\n" + folder.replies.Page(rule.reply);
    return 0;
}

} // namespace

bool IsServerCommand(const std::string& word) { return word == "check" || word == "which" || word == "report"; }

int RunServerCommand(const std::vector<std::string>& args, std::string& out, std::string& err)
{
    if (args[0] == "check")
        return Check(args, out, err);
    if (args[0] == "which")
        return Which(args, out, err);
    return RunReport(std::vector<std::string>(args.begin() + 1, args.end()), out, err);
}
