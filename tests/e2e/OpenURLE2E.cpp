// open_new against the shell: with the shipped configuration a hostile target never reaches it.
#include <gtest/gtest.h>

#include <string>

#include "E2ESupport.h"

using namespace E2E;

namespace {

// Escapes a text for a script string: a backslash is written twice.
std::string ScriptString(const std::string& text)
{
    std::string out;
    for (char c : text)
        out += c == '\\' ? std::string("\\\\") : std::string(1, c);
    return out;
}

bool WaitForFile(const std::string& path, DWORD ms)
{
    for (DWORD waited = 0; !FileExists(path) && waited < ms; waited += 50)
        ::Sleep(50);
    return FileExists(path);
}

using OpenURLE2E = CleanRunTest;

} // namespace

// A batch file that leaves a marker when anything runs it; each hostile target names it. With "any" the same
// target does reach the shell, which shows that the marker would tell.
TEST_F(OpenURLE2E, HostileTargetsNeverReachTheShell)
{
    TempFile marker("uw_e2e_open_reached.txt");
    TempFile batch("uw_e2e_open.bat", "@echo reached>\"" + marker.Path() + "\"\r\n");
    const std::string path = ScriptString(batch.Path());
    // Longer than one formatted log write may be: the setting's text reaches the log whole.
    const std::string bogus = "bogus" + std::string(2500, 's');
    struct Row {
        const char* name;
        const char* policy; // null: the shipped configuration's
        std::string script;
        bool reached;
    };
    const Row rows[] = {
        {"drive path", nullptr, "open_new \"" + path + "\";", false},
        {"unknown policy", bogus.c_str(), "open_new \"" + path + "\";", false},
        {"any", "any", "open_new \"" + path + "\";", true},
    };
    for (const Row& row : rows) {
        CleanVantrelKeys();
        if (row.policy) {
            ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "OpenURLPolicy", row.policy));
        }
        TempFile script("uw_e2e_open.txt", row.script + "\nset $after, 1;\n");
        std::string errorBox;
        RunUpdateWatch("-s -verbose -script " + script.Arg(), [&errorBox](const Window& w) {
            bool refused = w.caption == "UpdateWatch" && HasText(w.text, "illegal URL (");
            errorBox = refused ? w.text : errorBox;
            return refused ? Answer::Press(IDOK) : Answer::Press(-1);
        });
        // The shell starts the batch within about 100 ms of the program's end; ten times that shows a refusal.
        EXPECT_EQ(WaitForFile(marker.Path(), row.reached ? 10000 : 1000), row.reached) << row.name;
        DeleteFileIfAny(marker.Path());

        std::string log = ReadFile(LogPath());
        const std::string refusal = "Script error: \"illegal URL (" + batch.Path() + ") for 'open_new' command\".";
        EXPECT_EQ(errorBox.substr(0, refusal.size()), row.reached ? "" : refusal) << row.name;
        EXPECT_EQ(HasText(log, "$after\t="), row.reached) << row.name << ": a refusal stops the script";
        const std::string unknown = "Unknown OpenURLPolicy (" + bogus + "): treated as \"web\".\r\n";
        EXPECT_EQ(HasText(log, unknown), row.policy && row.policy == bogus) << row.name;
        EXPECT_EQ(log.find(unknown), log.rfind(unknown)) << row.name << ": logged once";
    }
}
