// Command-line splitting and the option tests.
#include "CommandLine.h"

#include <string>
#include <vector>

#include "TestSupport.h"

using namespace Orn;

namespace {
std::vector<std::string> Split(const char* text)
{
    CArgList args;
    args.Split(text);
    std::vector<std::string> out;
    for (Int i = 0; i < args.GetArgCount(); ++i)
        out.emplace_back(args.GetArg(i).Chars());
    return out;
}
} // namespace

TEST(CommandLine, Splitting)
{
    struct Row {
        const char* text;
        std::vector<std::string> args;
    };
    const Row rows[] = {
        {"a \"b c\" d", {"a", "b c", "d"}},
        {"  lead\ttab  ", {"lead", "tab"}},
        {"mid\"quote\"x", {"mid\"quote\"x"}},
        {"\"unterminated rest", {"unterminated rest"}},
        {"\"\" x", {"", "x"}},
        {"", {}},
        {"-v \"C:\\Program Files\\x.txt\"", {"-v", "C:\\Program Files\\x.txt"}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Split(row.text), row.args) << "[" << row.text << "]";
}

TEST(CommandLine, FlagTestLooksOnlyAtTheFirstArgument)
{
    CArgList args;
    args.Split("-verbose -s /v X");
    EXPECT_FALSE(args.TestOption("s"));
    EXPECT_TRUE(args.TestOption("verbose"));
    EXPECT_FALSE(args.TestOption("verbose"));
    EXPECT_TRUE(args.TestOption("s"));
    EXPECT_FALSE(args.TestOption("V"));
    CString value;
    EXPECT_TRUE(args.TestOptionValue("v", value));
    EXPECT_STREQ(value, "X");
    EXPECT_EQ(args.GetArgCount(), 0);
    EXPECT_FALSE(args.TestOption("s"));
}

TEST(CommandLine, ValueTestRules)
{
    struct Row {
        const char* name;
        const char* text;
        bool ok;
        const char* value;
        Int left;
    };
    const Row rows[] = {
        {"plain", "-v X", true, "X", 0},
        {"slash", "/v X", true, "X", 0},
        {"case differs", "-V X", false, "", 2},
        {"option as value stays", "-v -step", false, "", 1},
        {"slash value refused", "-v /abs/path", false, "", 1},
        {"missing value", "-v", false, "", 0},
        {"quoted value", "-v \"a=1 b=2\" tail", true, "a=1 b=2", 1},
        {"longer name", "-vsend X", false, "", 2},
    };
    for (const Row& row : rows) {
        CArgList args;
        args.Split(row.text);
        CString value;
        EXPECT_EQ(args.TestOptionValue("v", value), row.ok) << row.name;
        if (row.ok) {
            EXPECT_STREQ(value, row.value) << row.name;
        }
        EXPECT_EQ(args.GetArgCount(), row.left) << row.name;
    }
}
