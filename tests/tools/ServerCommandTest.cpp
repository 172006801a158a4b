// uwserver check and which: a folder as the server would load it, and the reply a request would get.
#include "ServerCommand.h"

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace {

struct CRun {
    int status;
    std::string out, err;
};

CRun RunCommand(const std::vector<std::string>& args)
{
    CRun run;
    run.status = RunServerCommand(args, run.out, run.err);
    return run;
}

} // namespace

TEST(ServerCommand, CheckReportsWhatTheServerWouldAtStart)
{
    OrnTest::CScratchDir folder("folder");
    const std::string dir = folder.Path();
    folder.Write("update.txt", "goto later;\n:later\n");
    folder.Write("current.txt", "set $a, 1;");
    const struct {
        const char* rules;
        int status;
        std::string out;
    } rows[] = {
        {"declare PagesTotal\nPagesTotal is 0 and rollout 10% -> update.txt\notherwise -> current.txt\n", 0,
         dir + ": the rules and 2 replies can be served\n"},
        // A reply the folder lacks is named where the rules name it, and the others are still checked.
        {"VR_OS is WIN -> requried.txt\notherwise -> current.txt\n", 1,
         dir + "/rules.txt:1:17: reply file 'requried.txt' not found in " + dir + "\n"},
        {"VR_OS is WIN or VR_OS is MAC -> update.txt\notherwise -> current.txt\n", 1,
         dir + "/rules.txt:1:14: 'or' is not understood: write one rule for each alternative, each with its own "
               "'-> FILE'\n"},
    };
    for (const auto& row : rows) {
        folder.Write("rules.txt", row.rules);
        CRun run = RunCommand({"check", dir});
        EXPECT_EQ(run.status, row.status) << row.rules;
        EXPECT_EQ(run.out, row.out) << row.rules;
    }
    CRun missing = RunCommand({"check", dir + "/none"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.out, "uwserver: can't read " + dir + "/none/rules.txt: No such file or directory\n");
    CRun noKey = RunCommand({"check", "--sign-key", dir + "/none.pem", dir});
    EXPECT_EQ(noKey.status, 1);
    EXPECT_NE(noKey.err, "");
}

TEST(ServerCommand, WhichShowsTheReplyItsRuleAndThePage)
{
    OrnTest::CScratchDir folder("folder");
    const std::string dir = folder.Path();
    folder.Write("rules.txt", "# first wave\nVR_ProdVer older than 3.2 and rollout 50% -> update.txt\n"
                              "otherwise -> current.txt\n");
    folder.Write("update.txt", "set $a, \"update\";");
    folder.Write("current.txt", "set $a, 1;");
    CRun run = RunCommand({"which", dir, "VR_ProdVer=3.10.0.0", "VR_UserTime=1710000003"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "reply: update.txt\nrule: " + dir +
                           "/rules.txt:2: VR_ProdVer older than 3.2 and rollout 50% -> update.txt\n"
                           "machine: u:1710000003, inside every rollout above 2.31%\n"
                           "page:\n[START]\nset $a, \"update\";\n[END]\n");
    run = RunCommand({"which", dir, "VR_ProdVer=3.10.0.0", "VR_MACAddr=none", "VR_Random=1"});
    EXPECT_EQ(run.out.substr(0, run.out.find("page:")),
              "reply: current.txt\nrule: " + dir + "/rules.txt:3: otherwise -> current.txt\n"
              "machine: no identity (VR_Random with VR_MachTime, VR_UserTime and VR_MACAddr are all unset): only "
              "'rollout 100%' holds\n");
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"which"}, {"which", dir, "=1"}, {"which", dir, "VR_OS"}, {"check"}}) {
        run = RunCommand(args);
        EXPECT_EQ(run.status, 2) << args.size();
        EXPECT_EQ(run.err.substr(0, 6), "Usage:");
    }
    folder.Write("rules.txt", "otherwise -> none.txt\n");
    run = RunCommand({"which", dir, "VR_OS=WIN"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, dir + "/rules.txt:1:14: reply file 'none.txt' not found in " + dir + "\n");
}
