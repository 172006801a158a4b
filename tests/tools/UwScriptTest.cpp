// uwscript: the check of good and bad scripts (messages and positions), and runs with answers.
#include "UwScriptCommand.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace {

// Writes the script to a file of its own and runs uwscript on it; the file's name in the output is "s.txt".
struct CResult {
    int status;
    std::string out;
    std::string err;
};

CResult UwScript(const std::string& command, const std::string& script, std::vector<std::string> options = {})
{
    OrnTest::CScratchDir scratch("uwscript");
    const std::string& dir = scratch.Path();
    std::vector<std::string> args = {command, scratch.Write("s.txt", script)};
    args.insert(args.end(), options.begin(), options.end());
    CResult r;
    r.status = RunUwScript(args, r.out, r.err);
    for (std::string* text : {&r.out, &r.err}) {
        for (std::size_t at; (at = text->find(dir + "/")) != std::string::npos;)
            text->erase(at, dir.size() + 1);
    }
    return r;
}

struct CCheckCase {
    const char* name;
    const char* script;
    const char* findings; // first lines of each finding, without the excerpts
    int status;
};

// Keeps the "FILE:LINE:COLUMN: message" lines, drops the excerpts.
std::string FindingLines(const std::string& out)
{
    std::istringstream in(out);
    std::string lines;
    for (std::string line; std::getline(in, line);) {
        if (line.rfind("s.txt:", 0) == 0)
            lines += line + "\n";
    }
    return lines;
}

} // namespace

TEST(UwScript, CheckReportsEveryCommandsErrorsAndCertainFailures)
{
    const CCheckCase cases[] = {
        {"clean", "set $a, 1;\nif $a, 2, x, next, exit;\n:x dialog \"T\", \"m\", button, \"OK\", exit;", "", 0},
        {"tokenizer", "set $a, 1;\n  set $b, 2 = 3;", "s.txt:2:13: unexpected character\n", 1},
        {"unclosed string", "set $a, \"abc;", "s.txt:1:9: unclosed string\n", 1},
        {"name and semicolon, and the check goes on", "set Color, 1;\nset ShowTips, 0x1A\nset LastTip, 3;\ngoto;",
         "s.txt:1:13: illegal variable (Color) for 'set' command\n"
         "s.txt:3:1: looking for semicolon, but got identifier\n"
         "s.txt:4:5: looking for identifier, but got semicolon\n",
         1},
        {"dialog rules", "dialog \"T\", \"m\", button, def, \"A\", a, button, def, \"B\", b;\n:a :b",
         "s.txt:1:57: multiple default buttons\n", 1},
        {"stray slash", "set $a, 1 / ;",
         "s.txt:1:11: assertion \"unknown tokenType\": the program ends here\n"
         "s.txt:1:11: looking for semicolon, but got (unknown)\n",
         1},
        {"jumps and variables",
         "if $n, 1, a, next, nowhere;\ngoto gone;\n"
         "dialog \"T\", \"m\", button, \"Go\", next;\ndialog \"U\", \"m\";\n:a",
         "s.txt:1:4: warning: undefined variable ($n) for 'if' command\n"
         "s.txt:1:20: warning: can't find label (nowhere) for jump\n"
         "s.txt:2:6: warning: can't find label (gone) for jump\n"
         "s.txt:3:32: warning: a button must not jump to 'next': pressing it ends the program\n"
         "s.txt:4:1: warning: can't find label () for jump (closing a dialog without buttons jumps there)\n",
         0},
        {"a checkbox sets what if reads",
         "dialog \"T\", \"m\", checkbox, \"c\", $on, button, \"OK\", x;\n"
         ":x if $on, 1, exit, exit, exit;",
         "", 0},
    };
    for (const CCheckCase& c : cases) {
        CResult r = UwScript("check", c.script);
        EXPECT_EQ(FindingLines(r.out), c.findings) << c.name;
        EXPECT_EQ(r.status, c.status) << c.name;
    }
    CResult nul = UwScript("check", std::string("set $a, 1;\nset \0$b, 2;", 22));
    EXPECT_EQ(FindingLines(nul.out), "s.txt:2:5: NUL character: the program takes a page that holds one for no "
                                     "text at all\ns.txt:2:5: looking for identifier, but got end-of-script\n")
        << "the program's script ends at the NUL";
    EXPECT_EQ(UwScript("check", "\tset x, 1;").out,
              "s.txt:1:10: illegal variable (x) for 'set' command\n  \tset x, 1;\n  \t        ^\n")
        << "the excerpt keeps tabs so that the caret lines up";
}

TEST(UwScript, RunShowsDialogsUrlsAndVariablesAsTheProgramWould)
{
    const char* script = "set DoUpdateWatchs, 1;\n"
                         "dialog \"<Product> update\", \"New: \" \"<Product> 3.2\", width, 60,\n"
                         "  checkbox, \"Don't check\", neg, DoUpdateWatchs,\n"
                         "  button, \"Get it\", get, button, def, \"Later\", later, button, \"Never\", never;\n"
                         ":get open_new \"https://www.vantrel.com/(Product)\"; goto exit;\n"
                         ":later set UpdateWatchFreq, 7; goto exit;\n"
                         ":never set DoUpdateWatchs, 0;";
    struct CRunCase {
        const char* name;
        std::vector<std::string> options;
        const char* out; // a part of the output
        int status;
        bool whole = false; // out is all of it
    } cases[] = {
        {"press by text, tick the box",
         {"--set", "Product=Nimbra", "--press", "Get it", "--checkbox", "on"},
         "dialog 1 \"Nimbra update\"\n  message \"New: Nimbra 3.2\"\n  width 60\n"
         "  checkbox [ ] \"Don't check\" -> DoUpdateWatchs neg\n  button \"Get it\" -> get close\n"
         "  button \"Later\" -> later default\n  button \"Never\" -> never\n"
         "  answer press \"Get it\" -> get, checkbox [x]\nopen_new \"https://www.vantrel.com/Nimbra\"\n"
         "set DoUpdateWatchs \"0\"\nend ok\n",
         0, true},
        {"press by label, untouched box", {"--set", "Product=Nimbra", "--press", "never"},
         "set DoUpdateWatchs \"0\"\nend ok\n", 0},
        {"no answer", {}, "answer none\nset DoUpdateWatchs \"1\"\nerror: dialog 1 \"<Product> update\" has no answer",
         2},
        {"no such button", {"--press", "Maybe"}, "", 2},
        {"answers left over", {"--cancel", "--cancel"}, "", 2},
    };
    for (const CRunCase& c : cases) {
        CResult r = UwScript("run", script, c.options);
        EXPECT_EQ(r.status, c.status) << c.name << "\n" << r.out << r.err;
        EXPECT_TRUE(c.whole ? r.out == c.out : r.out.find(c.out) != std::string::npos) << c.name << "\n" << r.out;
    }
}

TEST(UwScript, RunStopsWhereTheProgramWould)
{
    CResult next = UwScript("run", "dialog \"T\", \"m\", button, \"Go\", next;\nset $a, 1;", {"--press", "Go"});
    EXPECT_EQ(next.status, 1);
    EXPECT_EQ(next.out, "dialog 1 \"T\"\n  message \"m\"\n  button \"Go\" -> next default close\n"
                        "  answer press \"Go\" -> next\n"
                        "s.txt:1:36: assertion \"! Str::Equal(label,\"next\")\": the program ends here\n"
                        "  dialog \"T\", \"m\", button, \"Go\", next;\n"
                        "                                     ^\nend assertion\n");
    CResult closed = UwScript("run", "dialog \"T\", \"m\";", {"--cancel", "--json"});
    EXPECT_EQ(closed.status, 1);
    EXPECT_EQ(closed.out, "{\n  \"file\": \"s.txt\",\n  \"events\": [\n    {\n      \"dialog\": {\n"
                          "        \"title\": \"T\",\n        \"message\": \"m\",\n        \"width\": 0,\n"
                          "        \"checkbox\": null,\n        \"buttons\": [],\n        \"answer\": {\n"
                          "          \"cancel\": true,\n          \"button\": \"\",\n          \"label\": \"\"\n"
                          "        }\n      }\n    }\n  ],\n  \"variables\": {},\n  \"end\": \"error\",\n"
                          "  \"errors\": [\n    {\n      \"line\": 1,\n      \"column\": 17,\n"
                          "      \"message\": \"can't find label () for jump\"\n    }\n  ]\n}\n");
    CResult refused = UwScript("run", "open_new \"C:\\\\x.bat\";", {"--set", "OpenURLPolicy=web"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "s.txt:1:21: illegal URL (C:\\x.bat) for 'open_new' command\n"
                           "  open_new \"C:\\\\x.bat\";\n                      ^\nend error\n");
    CResult loop = UwScript("run", "set $a, 1;\n:again goto again;");
    EXPECT_EQ(loop.status, 1);
    EXPECT_NE(loop.out.find("s.txt:2:1: the script ran 100000 commands without ending"), std::string::npos) << loop.out;
    CResult usage = UwScript("run", "", {"--checkbox", "maybe"});
    EXPECT_EQ(usage.status, 2);
    EXPECT_EQ(usage.err.substr(0, 47), "uwscript: bad option or value: --checkbox\nUsage");
}
