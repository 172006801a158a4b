// Input from a hostile server or setting: long replies in a verbose log, and values that name themselves.
#include <gtest/gtest.h>

#include <string>

#include "E2ESupport.h"

using namespace E2E;
using OrnTest::HttpAnswer;

namespace {

class HostileInputE2E : public VersionServerTest {};

const char cCutLine[] = "Text cut short at a substitution bound: ";

} // namespace

// A reply longer than one formatted log line is logged whole and the run ends as usual.
TEST_F(HostileInputE2E, LongReplyIsLoggedWhole)
{
    const std::string script = "set $long, \"" + std::string(3300, 'x') + "\";";
    mServer.Enqueue(HttpAnswer::Page("[START]" + script + "[END]"));
    TempFile params("uw_hostile_long.txt", "EqTotal=1\r\n");
    TempFile out("uw_hostile_long.out");

    RunResult r = Run("-s -verbose -vsend " + params.Arg() + " -out " + out.Arg());
    EXPECT_EQ(r.exitCode, 0u);
    EXPECT_EQ(ReadFile(out.Path()), script);
    std::string log = Log();
    EXPECT_TRUE(HasText(log, "Start: Script {\r\n\t" + script + "} End: Script")) << log;
    EXPECT_TRUE(HasText(log, "\r\nNimbra log ends (error count = ")) << log;
}

// An item whose value holds the item, and a server name that names itself: each fill stops at its bound.
TEST_F(HostileInputE2E, ValuesThatNameThemselvesStopAtTheirBound)
{
    mServer.Enqueue(HttpAnswer::Page("[START][END]"));
    RunResult r = Run("-s -verbose -v \"PagesTotal=<URL_ESC>\"", 20000);
    EXPECT_EQ(r.exitCode, 0u);
    std::string log = Log();
    EXPECT_TRUE(HasText(log, std::string(cCutLine) + "URL info.\r\n")) << log.substr(0, 4000);
    EXPECT_TRUE(HasText(log, "\r\nNimbra log ends (error count = ")) << log.substr(log.size() - 2000);

    PointAt("<VersionDomain>");
    r = Run("-s -v \"PagesTotal=1\"", 20000);
    EXPECT_EQ(r.exitCode, 3u) << "the cut URL names no server";
    EXPECT_EQ(mServer.Requests().size(), 1u) << "only the first run reached the server";
}
