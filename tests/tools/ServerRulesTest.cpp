// uwserver's rules: every word understood or refused where it stands, and the reply each request gets.
#include "ServerRules.h"

#include <gtest/gtest.h>

namespace {

std::string ParseErrors(const std::string& text)
{
    CServerRules rules;
    std::string errors;
    bool ok = rules.Parse("r", text, errors);
    EXPECT_EQ(ok, errors.empty()) << text;
    return errors;
}

} // namespace

// Each row is a rule line before "otherwise -> z.txt"; the error is "r:1:" and the column and message.
TEST(ServerRules, RefusesEveryWordItDoesNotUnderstand)
{
    const struct {
        const char* line;
        const char* error;
    } rows[] = {
        {"VR_ProdLang is DE or VR_OSLang like de-* -> de.txt",
         "19: 'or' is not understood: write one rule for each alternative, each with its own '-> FILE'"},
        {"VR_ProductVersion older than 3.0 -> required.txt",
         "1: unknown parameter 'VR_ProductVersion': the program never sends it; a parameter of the product's own "
         "needs 'declare VR_ProductVersion'"},
        {"VR_Prodver older than 3.0 -> required.txt",
         "1: unknown parameter 'VR_Prodver': the program never sends it (did you mean 'VR_ProdVer'?); a parameter "
         "of the product's own needs 'declare VR_Prodver'"},
        {"VR_ProdVer older than 3.x -> a.txt",
         "23: not a version: '3.x' (write it as the program shows it: 3.2, 3.1c, 3.0 beta 2)"},
        {"VR_ProdVer older than 3.0 beta -> a.txt", "23: not a version: '3.0 beta' (write it as the program shows "
                                                    "it: 3.2, 3.1c, 3.0 beta 2)"},
        {"VR_ProdVer older 3.0 -> a.txt", "18: expected 'than' after 'older'"},
        {"VR_ProdVer newer than -> a.txt", "23: expected a version after 'newer than'"},
        {"VR_OS sort of 1 -> a.txt", "7: expected 'older than', 'newer than', 'is' or 'like' after 'VR_OS'"},
        {"VR_OS is", "9: expected a text after 'is'"},
        {"VR_OS like -> a.txt", "12: expected a pattern after 'like'"},
        {"VR_OS is WIN", "13: expected 'and' or '-> FILE' after the condition"},
        {"VR_OS is WIN and -> a.txt", "18: expected a condition"},
        {"VR_OS is WIN VR_OSBits is 64 -> a.txt", "14: expected 'and' or '-> FILE' after the condition"},
        {"and VR_OS is WIN -> a.txt", "1: expected a condition, found 'and'"},
        {"VR_OS is \"WIN -> a.txt", "10: the quoted text has no closing '\"'"},
        {"VR_OS is WIN ->", "16: expected the reply file after '->'"},
        {"VR_OS is WIN -> ../a.txt", "17: the reply must be a file name in the folder: '../a.txt'"},
        {"VR_OS is WIN -> a.txt # old", "23: expected the end of the line after the reply file (comments go on "
                                        "lines of their own)"},
        {"rollout 10 -> a.txt", "9: expected a share of machines such as 10% or 2.5% after 'rollout'"},
        {"rollout 0.125% -> a.txt", "9: expected a share of machines such as 10% or 2.5% after 'rollout'"},
        {"rollout 100.01% -> a.txt", "9: a share is at most 100%"},
        {"otherwise and VR_OS is WIN -> a.txt", "11: expected '-> FILE' after 'otherwise'"},
        {"declare", "8: expected a parameter name after 'declare'"},
        {"declare PagesTotal VR_ProdVer", "20: 'VR_ProdVer' is sent by the program: declare only the product's own "
                                          "parameters"},
        {"declare rollout", "9: 'rollout' is a word of the rules, not a parameter name"},
        {"declare Pages-Total", "9: not a parameter name: 'Pages-Total' (letters, digits and '_')"},
        {"declare A B A", "13: 'A' is declared already"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ParseErrors(std::string(row.line) + "\notherwise -> z.txt\n"), std::string("r:1:") + row.error + "\n")
            << row.line;
}

TEST(ServerRules, FileWideErrorsAndTheirOrder)
{
    const struct {
        const char* text;
        const char* errors;
    } rows[] = {
        {"", "r:1:1: the last rule must be 'otherwise -> FILE'\n"},
        {"# only a comment\nVR_OS is WIN -> a.txt\n", "r:2:1: the last rule must be 'otherwise -> FILE'\n"},
        {"otherwise -> a.txt\nVR_OS is WIN -> b.txt\n",
         "r:2:1: no request reaches a rule after 'otherwise' (line 1)\n"},
        // Problems come in line order, declarations among them, and one bad name does not hide the good ones.
        {"PagesTotal is 1 -> a.txt\nX is 1 -> b.txt\ndeclare PagesTotal 1-2\notherwise -> c.txt\n",
         "r:2:1: unknown parameter 'X': the program never sends it; a parameter of the product's own needs "
         "'declare X'\nr:3:20: not a parameter name: '1-2' (letters, digits and '_')\n"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ParseErrors(row.text), row.errors) << row.text;
}

TEST(ServerRules, ChoosesTheFirstRuleThatHolds)
{
    const char text[] = "  \t# a comment\r\n"
                        "VR_ProdVer older than 3.0 beta 2 -> old.txt\n"
                        "VR_ProdVer older than 3.2 and VR_OSLang like de-* -> de.txt\r\n"
                        "VR_ProdVer older than 3.2->update.txt\n"
                        "PagesTotal newer than 3.0 and VR_OS is \"W I N\" -> quoted.txt\n"
                        "declare PagesTotal\n"
                        "otherwise -> current.txt\n";
    CServerRules rules;
    std::string errors;
    ASSERT_TRUE(rules.Parse("r", text, errors)) << errors;
    const struct {
        const char* query;
        const char* reply;
        int line;
    } rows[] = {
        {"VR_ProdVer=3.0.0.101", "old.txt", 2},                 // 3.0 beta 1
        {"VR_ProdVer=3.10.0.0", "update.txt", 4},               // 3.1 goes out as 3.10.0.0
        {"VR_ProdVer=3.20.0.0", "current.txt", 7},              // 3.2
        {"VR_ProdVer=3.10.99.0&VR_OSLang=de-AT", "de.txt", 3},  // 3.1c
        {"VR_ProdVer=3.20.0.5", "update.txt", 4},               // the fourth number counts as a pre-release
        {"VR_ProdVer=3.1", "update.txt", 4},                    // a display form is read as one
        {"VR_ProdVer=3.1.256.0", "current.txt", 7},             // no version: no version test holds
        {"VR_ProdVer=3.0%20beta%202147483647", "current.txt", 7},
        {"PagesTotal=3.10.0.0&VR_OS=W%20I%20N", "quoted.txt", 5},
        {"PagesTotal=3.10.0.0&VR_OS=WIN", "current.txt", 7},
        {"", "current.txt", 7},
    };
    for (const auto& row : rows) {
        Orn::CVarList params;
        params.ParseQuery(row.query, true);
        const CServerRules::CRule& rule = rules.ChooseRule(params);
        EXPECT_EQ(rule.reply, row.reply) << row.query;
        EXPECT_EQ(rules.WhereIs(rule), "r:" + std::to_string(row.line)) << row.query;
    }
    EXPECT_EQ(rules.ChooseRule(Orn::CVarList()).text, "otherwise -> current.txt");
    EXPECT_EQ(rules.WhereNamed("update.txt"), "r:4:28");
    EXPECT_TRUE(GlobMatch("a*b?c*", "axxbyczz"));
    EXPECT_FALSE(GlobMatch("a*b?c", "axxbycz"));
}
