// The install command as the program reads and checks it, through the tools: uwscript check's errors, and what
// uwscript run shows, which replies it refuses and which result the script gets.
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ScriptCheck.h"
#include "ScriptRun.h"
#include "UwScriptCommand.h"

namespace {

const std::string cSha = "9f86d081884c7d659a2feaa0c55ad015a3bf4f1b2b0b822cd15d6c15b0f00a08";
const std::string cURL = "https://dl.example.com/nimbra/Nimbra-3.2.exe";

std::string Install(const std::string& url = cURL, const std::string& sha = "\"" + cSha + "\"",
                    const std::string& size = "52428800", const std::string& args = ", \"/S\"")
{
    return "install \"" + url + "\", " + sha + ", " + size + args + ";\n";
}

// The first error of uwscript check, or "" when it finds none.
std::string FirstError(const std::string& script)
{
    for (const CScriptFinding& f : CheckScript(script)) {
        if (!f.warning)
            return f.message;
    }
    return "";
}

int RunScript(const std::string& script, const CRunOptions& options, std::string& out)
{
    out.clear();
    return RunScriptWithAnswers(CScriptText("s.txt", script), options, out);
}

} // namespace

TEST(InstallCommand, CheckKnowsItsArguments)
{
    const std::string sha = "\"" + cSha + "\"";
    const std::pair<std::string, std::string> rows[] = {
        {Install(), ""},
        {Install(cURL, sha, "\"52428800\""), "looking for number, but got string"},
        {Install(cURL, sha, "100", ""), "looking for comma, but got semicolon"},
        {Install(cURL, "\"abc\""), "illegal hash (abc) for 'install' command: 64 hexadecimal digits expected"},
        {Install(cURL, sha, "0"), "illegal size (0) for 'install' command: a positive number of bytes expected"},
        {Install("http://dl.example.com/x.exe"), "illegal URL (http://dl.example.com/x.exe) for 'install' command: "
                                                 "https only"},
        {Install("https://dl.example.com/" + std::string(1980, 'x')), "illegal URL (https://"},
    };
    for (const auto& row : rows) {
        std::string error = FirstError(row.first);
        EXPECT_EQ(error.substr(0, row.second.size()), row.second) << row.first;
        EXPECT_EQ(error.empty(), row.second.empty()) << row.first;
    }
}

// What would be downloaded, verified and run, and the outcome the run gives, which the script reads back.
TEST(InstallCommand, RunShowsTheInstallAndItsResult)
{
    const std::string script = Install() + "if InstallResult, \"started\", other, started, other;\n"
                                           ":started set $r, \"started\"; goto exit;\n:other set $r, \"other\";";
    CRunOptions options;
    options.globals = {{"VersionScheme", "https"}};
    std::string out;
    EXPECT_EQ(RunScript(script, options, out), 0);
    EXPECT_EQ(out, "install \"" + cURL + "\"\n  download 52428800 bytes into the temporary folder\n"
                   "  verify size and SHA-256 " + cSha + "\n  run \"Nimbra-3.2.exe\" \"/S\"\n  result started\n"
                   "set $r \"started\"\nend ok\n");
    options.installs = {"checksum"};
    options.json = true;
    EXPECT_EQ(RunScript(script, options, out), 0);
    EXPECT_NE(out.find("\"arguments\": \"/S\",\n        \"result\": \"checksum\""), std::string::npos) << out;
    EXPECT_NE(out.find("\"$r\": \"other\""), std::string::npos) << out;
    std::string err;
    EXPECT_EQ(RunUwScript({"run", "s.txt", "--install", "installed"}, out, err), 2) << "not a result";
}

// Only a reply the program trusts may install, only from a host the policy allows, and only so often.
TEST(InstallCommand, RunRefusesWhatTheProgramRefuses)
{
    const std::string three = Install() + Install() + Install();
    const struct {
        const char* name;
        std::vector<std::pair<std::string, std::string>> globals;
        std::vector<std::string> installs;
        std::string script;
        const char* error; // null: the run ends well
    } rows[] = {
        {"plain reply", {}, {}, Install(), "'install' refused: the reply was neither signed nor fetched over https"},
        {"http reply", {{"VersionScheme", "http"}}, {}, Install(), "'install' refused:"},
        {"signed reply", {{"ReplyKey", "x"}}, {}, Install(), nullptr},
        {"hosts list", {{"VersionScheme", "https"}, {"OpenURLPolicy", "hosts:vantrel.com"}}, {}, Install(),
         "illegal URL (https://dl.example.com/nimbra/Nimbra-3.2.exe) for 'install' command\n"},
        {"three failed downloads", {{"VersionScheme", "https"}}, {"network", "size", "redirect"}, three, nullptr},
        {"a fourth", {{"VersionScheme", "https"}}, {"network", "size", "redirect"}, three + Install(),
         "too many downloads for 'install' (at most 3 per run)"},
        {"after a start", {{"VersionScheme", "https"}}, {"disk", "started"}, three,
         "'install' after an installer was started (one per run)"},
    };
    for (const auto& row : rows) {
        CRunOptions options{row.globals, {}, {}, row.installs};
        std::string out;
        EXPECT_EQ(RunScript(row.script, options, out), row.error ? 1 : 0) << row.name << "\n" << out;
        EXPECT_TRUE(!row.error || out.find(row.error) != std::string::npos) << row.name << "\n" << out;
    }
}
