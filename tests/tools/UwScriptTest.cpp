// uwscript: the check of good and bad scripts (messages and positions), and runs with answers.
#include "UwScriptCommand.h"

#include <cstring>
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
        {"tokenizer", "set $a, 1;\n  set $b, 2 = 3;", "s.txt:2:13: unexpected character '=' (write set NAME, VALUE;)\n",
         1},
        {"a letter outside a string", "set $a, 1;\nset $b\xC3\xA4, 2;",
         "s.txt:2:7: unexpected character '\xC3\xA4' (outside strings and comments a script is plain ASCII)\n", 1},
        {"unclosed string", "set $a, \"abc;", "s.txt:1:9: unclosed string\n", 1},
        {"name and semicolon, and the check goes on", "set Color, 1;\nset ShowTips, 0x1A\nset LastTip, 3;\ngoto;",
         "s.txt:1:13: illegal variable (Color) for 'set' command (a script's own variables begin with '$')\n"
         "s.txt:3:1: looking for semicolon, but got identifier 'set' (missing semicolon before it?)\n"
         "s.txt:4:5: looking for identifier, but got semicolon\n",
         1},
        {"dialog rules", "dialog \"T\", \"m\", button, def, \"A\", a, button, def, \"B\", b;\n:a :b",
         "s.txt:1:57: multiple default buttons\n", 1},
        {"stray slash", "set $a, 1 / ;",
         "s.txt:1:11: assertion \"unknown tokenType\": the program ends here\n"
         "s.txt:1:11: looking for semicolon, but got '/'\n",
         1},
        {"jumps and variables that will fail",
         "if $cnt, 1, a, next, nowhere;\ngoto gone;\n"
         "dialog \"T\", \"m\", button, \"Go\", next;\ndialog \"U\", \"m\";\n:a :gone2 set $cnt2, 1;",
         "s.txt:1:4: undefined variable ($cnt) for 'if' command (did you mean '$cnt2'?)\n"
         "s.txt:1:22: can't find label (nowhere) for jump\n"
         "s.txt:2:6: can't find label (gone) for jump (did you mean 'gone2'?)\n"
         "s.txt:3:32: a button must not jump to 'next': pressing it ends the program\n"
         "s.txt:4:1: can't find label () for jump (closing a dialog without buttons jumps there)\n",
         1},
        {"a page the shipped policy refuses", "open_new \"https://www.vantrel.com/%22\";",
         "s.txt:1:39: illegal URL (https://www.vantrel.com/%22) for 'open_new' command\n", 1},
        {"a checkbox sets what if reads",
         "dialog \"T\", \"m\", checkbox, \"c\", $on, button, \"OK\", x;\n"
         ":x if $on, 1, exit, exit, exit;",
         "", 0},
        {"each message names its token and the likely fix",
         ":later;\ndialgo;\ndialog \"T\", \"m\", width, 60 checkbox, \"c\", $c;\ndialog \"T\", \"m\", button, \"OK\";\n"
         "dialog \"T\", \"m\",\n \"more\";\ndialog \"T\", \"m\", buton, \"OK\", a;\nset $v, 0X1F;\ngoto :a;\n"
         "set $x, yes;\n"
         "set UpdateWatchFrq, 7;\n",
         "s.txt:1:7: expected command name, but got semicolon (a label takes no semicolon: write ':later' alone)\n"
         "s.txt:2:1: unknown command 'dialgo' (did you mean 'dialog'?)\n"
         "s.txt:3:28: expected semicolon, but got identifier 'checkbox' (missing comma before it?)\n"
         "s.txt:4:30: looking for comma, but got semicolon (a button needs the label it jumps to: button, \"TEXT\", "
         "LABEL)\n"
         "s.txt:6:2: expected option keyword, but got string \"more\" (a message goes on with its next string, no "
         "comma between)\n"
         "s.txt:7:18: unknown dialog option (buton) (did you mean 'button'?)\n"
         "s.txt:8:10: looking for semicolon, but got identifier 'X1F' (a hexadecimal number begins with a lower-case "
         "0x)\n"
         "s.txt:9:6: looking for identifier, but got label ':a' (name the label without its ':')\n"
         "s.txt:10:9: bad token type for value in 'set' command, but got identifier 'yes' (a value is a number or a "
         "string in double quotes)\n"
         "s.txt:11:22: illegal variable (UpdateWatchFrq) for 'set' command (did you mean 'UpdateWatchFreq'?)\n",
         1},
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
              "s.txt:1:10: illegal variable (x) for 'set' command (a script's own variables begin with '$')\n"
              "  \tset x, 1;\n  \t        ^\n")
        << "the excerpt keeps tabs so that the caret lines up";
}

// Reply files are UTF-8; the program gets Windows-1252, so each character must have a byte there, and an
// escape must be one the program reads as its author meant.
TEST(UwScript, CheckRefusesTextThePageWouldNotCarryAsWritten)
{
    const CCheckCase cases[] = {
        {"UTF-8 that fits, a byte-order mark, escapes the program knows",
         "\xEF\xBB\xBF// Gr\xC3\xBC\xC3\x9F\xE2\x82\xAC\nset $a, \"\xC3\xA4 \xE2\x80\x94 \\xE4\\n\\t\\\\\\\"\\'\";", "",
         0},
        {"characters the code page lacks, and bytes that are not UTF-8 (the last three an overlong quote)",
         "set $a, \"\xE4\xB8\xAD \xC2\x85 x\xFC\";\nset $b, \"\xC3\xE0\x80\xA2\";",
         "s.txt:1:10: '\xE4\xB8\xAD' (U+4E2D) is not a Windows-1252 character, and the program shows no others\n"
         "s.txt:1:12: U+0085 is not a Windows-1252 character, and the program shows no others\n"
         "s.txt:1:15: byte 0xFC is not UTF-8: save the file as UTF-8 (in Windows-1252 it is '\xC3\xBC' (U+00FC), "
         "which a string may also hold as \\xFC)\n"
         "s.txt:2:10: byte 0xC3 is not UTF-8: save the file as UTF-8 (in Windows-1252 it is '\xC3\x83' (U+00C3), "
         "which a string may also hold as \\xC3)\n"
         "s.txt:2:11: byte 0xE0 is not UTF-8: save the file as UTF-8 (in Windows-1252 it is '\xC3\xA0' (U+00E0), "
         "which a string may also hold as \\xE0)\n"
         "s.txt:2:12: byte 0x80 is not UTF-8: save the file as UTF-8 (in Windows-1252 it is '\xE2\x82\xAC' (U+20AC), "
         "which a string may also hold as \\x80)\n"
         "s.txt:2:13: byte 0xA2 is not UTF-8: save the file as UTF-8 (in Windows-1252 it is '\xC2\xA2' (U+00A2), "
         "which a string may also hold as \\xA2)\n",
         1},
        {"escapes the program would not read as meant",
         "set $a, \"\\u00FC \\u4E2D \\xG4 \\x00 \\q \\\xC3\xA4\";",
         "s.txt:1:10: unknown escape '\\u00FC' (the program would show 'u00FC'): write '\xC3\xBC' (U+00FC) itself, or "
         "\\xFC\n"
         "s.txt:1:17: unknown escape '\\u4E2D' (the program would show 'u4E2D'): '\xE4\xB8\xAD' (U+4E2D) is not a "
         "Windows-1252 character, and the program shows no others\n"
         "s.txt:1:24: unknown escape '\\xG4' (the program would show 'xG4'): \\x takes two hexadecimal digits, such "
         "as \\xFC for '\xC3\xBC'\n"
         "s.txt:1:29: '\\x00' cannot be written: the program's text would end there\n"
         "s.txt:1:34: unknown escape '\\q' (the program would show 'q'): a backslash before another character stands "
         "for nothing; '\\\\' is a backslash\n"
         "s.txt:1:37: unknown escape '\\\xC3\xA4' (the program would show '\xC3\xA4'): a backslash before another "
         "character stands for nothing; '\\\\' is a backslash\n",
         1},
        {"markers in a string, not in a comment", "// [END]\nset $a, \"Press [END]\"; set $b, \"[START]\";",
         "s.txt:2:16: the string holds \"[END]\", which would cut the script short in the reply page (write it as "
         "\"[\\x45ND]\")\n"
         "s.txt:2:33: the string holds \"[START]\", which would cut the script short in the reply page (write it as "
         "\"[\\x53TART]\")\n",
         1},
    };
    for (const CCheckCase& c : cases) {
        CResult r = UwScript("check", c.script);
        EXPECT_EQ(FindingLines(r.out), c.findings) << c.name;
        EXPECT_EQ(r.status, c.status) << c.name;
    }
}

// The page limit counts the script as served, without its comments: 9985 bytes, or 9845 in a signed page.
TEST(UwScript, CheckAppliesThePageLimitWithAndWithoutSigning)
{
    auto script = [](std::size_t bytes) {
        std::string s = "// " + std::string(20000, '-') + "\nset $a, \"";
        return s + std::string(bytes - 12, 'x') + "\";";
    };
    const struct {
        std::size_t bytes;
        bool signedPage;
        const char* out;
        int status;
    } rows[] = {
        {9845, true, "", 0},
        {9846, false,
         "s.txt: warning: served signed (uwserver --sign-key), the script takes 9846 bytes without its comments, over "
         "the 9845 that a signed reply page of at most 10000 bytes leaves it\n",
         0},
        {9846, true,
         "s.txt: the script takes 9846 bytes without its comments, over the 9845 that a signed reply page of at most "
         "10000 bytes leaves it\n",
         1},
        {9985, false, "s.txt: warning: served signed", 0},
        {9986, false,
         "s.txt: the script takes 9986 bytes without its comments, over the 9985 that a reply page of at most 10000 "
         "bytes leaves it\n",
         1},
    };
    for (const auto& row : rows) {
        CResult r = UwScript("check", script(row.bytes), row.signedPage ? std::vector<std::string>{"--signed"}
                                                                         : std::vector<std::string>{});
        EXPECT_EQ(r.out.substr(0, std::strlen(row.out)), row.out) << row.bytes;
        EXPECT_EQ(r.out.empty(), !*row.out) << row.bytes;
        EXPECT_EQ(r.status, row.status) << row.bytes;
    }
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

// The texts come out as the UTF-8 the author wrote, and a button is found by its text in any language.
TEST(UwScript, RunShowsTextAsWrittenAndRemarksOnNamesLeftUnresolved)
{
    const std::string script = "dialog \"Update <Who>\", \"verf\xC3\xBCgbar \\xE4\", button, \"Sp\xC3\xA4ter\", "
                               "later;\n"
                               ":later open_new \"https://x.example/(VendorId)?l=(Lang)\";";
    const std::vector<std::string> options = {"--press", "Sp\xC3\xA4ter", "--set", "Lang=de"};
    CResult r = UwScript("run", script, options);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "dialog 1 \"Update <Who>\"\n  message \"verf\xC3\xBCgbar \xC3\xA4\"\n"
                     "  button \"Sp\xC3\xA4ter\" -> later default close\n"
                     "  note: <Who> is left as written: no global variable Who (give --set Who=VALUE as the program's "
                     "configuration or registry would)\n  answer press \"Sp\xC3\xA4ter\" -> later\n"
                     "open_new \"https://x.example/(VendorId)?l=de\"\n"
                     "  note: (VendorId) is left as written: no global variable VendorId (give --set VendorId=VALUE as "
                     "the program's configuration or registry would)\nend ok\n");
    std::vector<std::string> json = options;
    json.push_back("--json");
    r = UwScript("run", script, json);
    EXPECT_NE(r.out.find("\"button\": \"Sp\xC3\xA4ter\""), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("\"unresolved\": [\n        \"VendorId\"\n      ]"), std::string::npos) << r.out;
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
    CResult latin1 = UwScript("run", "set $a, 1;\nset $b, \"\xFC\";");
    EXPECT_EQ(latin1.status, 1) << "the program's text is not known, so nothing runs";
    EXPECT_EQ(FindingLines(latin1.out).substr(0, 46), "s.txt:2:10: byte 0xFC is not UTF-8: save the f") << latin1.out;
    CResult loop = UwScript("run", "set $a, 1;\n:again goto again;");
    EXPECT_EQ(loop.status, 1);
    EXPECT_NE(loop.out.find("s.txt:2:1: the script ran 100000 commands without ending"), std::string::npos) << loop.out;
    CResult usage = UwScript("run", "", {"--checkbox", "maybe"});
    EXPECT_EQ(usage.status, 2);
    EXPECT_EQ(usage.err.substr(0, 47), "uwscript: bad option or value: --checkbox\nUsage");
}
