// uwscript's two commands and their options.
#include "UwScriptCommand.h"

#include <algorithm>

#include "InstallCommand.h"
#include "ReplyPage.h"
#include "ScriptRun.h"

namespace {

const char cUsage[] =
    "Usage: uwscript check [--signed] FILE...\n"
    "       uwscript run FILE [--set NAME=VALUE]... [--press TEXT|--cancel]... [--checkbox on|off]...\n"
    "                         [--install RESULT]... [--json]\n";

// A script file is small; anything far larger is not one.
constexpr std::size_t cMaxScriptFile = 1 << 20;

bool LoadScript(const std::string& path, std::string& text, std::string& err)
{
    std::string why;
    if (ReadSmallFile(path, cMaxScriptFile, text, why))
        return true;
    err += "uwscript: can't read " + path + ": " + why + "\n";
    return false;
}

// A page's rules as uwserver applies them; without --signed the page may be served either way.
int Check(std::vector<std::string> files, std::string& out, std::string& err)
{
    auto flag = std::find(files.begin(), files.end(), "--signed");
    ESigning signing = flag == files.end() ? ESigning::either : ESigning::signed_;
    if (flag != files.end())
        files.erase(flag);
    int status = 0;
    for (const std::string& path : files) {
        std::string text;
        if (!LoadScript(path, text, err)) {
            status = 2;
            continue;
        }
        CReplyPage page = PrepareReplyPage(text, signing);
        out += CScriptText(path, text).Format(page.findings);
        if (!page.Servable() && status == 0)
            status = 1;
    }
    return status;
}

// Reads the options of "run" into `options`; false with the reason in `why`.
bool ParseRunOptions(const std::vector<std::string>& args, CRunOptions& options, std::string& why)
{
    EInstallResult result = irStarted;
    for (std::size_t i = 2; i < args.size(); ++i) {
        const std::string& opt = args[i];
        bool hasValue = i + 1 < args.size();
        if (opt == "--json") {
            options.json = true;
        } else if (opt == "--cancel") {
            options.answers.push_back({true, ""});
        } else if (opt == "--press" && hasValue) {
            options.answers.push_back({false, args[++i]});
        } else if (opt == "--install" && hasValue && InstallResultFromName(args[i + 1].c_str(), result)) {
            options.installs.push_back(args[++i]);
        } else if (opt == "--checkbox" && hasValue && (args[i + 1] == "on" || args[i + 1] == "off")) {
            options.checkboxes.push_back(args[++i] == "on");
        } else if (opt == "--set" && hasValue && args[i + 1].find('=') != std::string::npos && args[i + 1][0] != '=') {
            const std::string& pair = args[++i];
            std::size_t eq = pair.find('=');
            options.globals.emplace_back(pair.substr(0, eq), pair.substr(eq + 1));
        } else {
            why = "bad option or value: " + opt;
            return false;
        }
    }
    return true;
}

} // namespace

int RunUwScript(const std::vector<std::string>& args, std::string& out, std::string& err)
{
    std::string why;
    CRunOptions options;
    if (args.size() >= 2 && args[0] == "check" && !(args.size() == 2 && args[1] == "--signed"))
        return Check(std::vector<std::string>(args.begin() + 1, args.end()), out, err);
    if (args.size() < 2 || args[0] != "run" || !ParseRunOptions(args, options, why)) {
        err += (why.empty() ? "" : "uwscript: " + why + "\n") + cUsage;
        return 2;
    }
    std::string text;
    if (!LoadScript(args[1], text, err))
        return 2;
    return RunScriptWithAnswers(CScriptText(args[1], text), options, out);
}
