// Version checks through the production shape that scripts/deploy-local.sh brings up around this program: the
// standard host over HTTPS (the shape's test CA trusted, deploy_proxy.py tunnelling to nginx), ReplyKey set,
// nginx in front of two uwserver instances. One instance is stopped between checks; the checks go on, and
// each is recorded exactly as the program sent it.
#include <windows.h>

#include <urlmon.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "E2ESupport.h"
#include "TrustedCA.h"

using namespace E2E;

namespace {

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

// A path of the build machine, as Wine's drive Z: shows it.
std::string HostPath(const std::string& path)
{
    std::string windows = "Z:" + path;
    for (char& c : windows)
        c = c == '/' ? '\\' : c;
    return windows;
}

} // namespace

TEST(DeployE2E, SignedChecksOverHttpsThroughNginxGoOnWhenAnInstanceStops)
{
    ASSERT_FALSE(Environment("ORN_DEPLOY_PROXY").empty()) << "run through ctest, which brings up the shape";
    OrnTest::TrustedCA ca(ReadFile(HostPath(Environment("ORN_DEPLOY_CA"))));
    ASSERT_EQ(ca.Error(), "");
    std::string proxy = "http://127.0.0.1:" + Environment("ORN_DEPLOY_PROXY");
    ASSERT_TRUE(::SetEnvironmentVariableA("http_proxy", proxy.c_str()));
    const std::string host = "https://versioncheck.vantrel.com";
    std::vector<std::string> targets;
    for (int check = 0; check < 4; ++check) {
        if (check == 2) { // the proxy ends the first instance and answers when it has
            std::string stop = proxy + "/stop-instance-1", answer = TempDir() + "stopped.txt";
            ASSERT_EQ(::URLDownloadToFileA(nullptr, stop.c_str(), answer.c_str(), 0, nullptr), S_OK);
            DeleteFileIfAny(answer);
        }
        CleanVantrelKeys();
        DeleteFileIfAny(LogPath());
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionScheme", "https"));
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "ReplyKey", Environment("ORN_REPLY_KEY")));
        RunResult r = RunUpdateWatch("-s -verbose -v \"PagesTotal=1\""); // the standard host: no box
        std::string log = ReadFile(LogPath()), reply;
        EXPECT_EQ(r.exitCode, 0u) << check << log;
        EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$reply", reply) && reply == "genuine") << check;
        std::string url = LoggedURL(log);
        ASSERT_EQ(url.substr(0, host.size() + 1), host + "/") << check << log;
        targets.push_back(url.substr(host.size()));
    }
    CleanVantrelKeys();
    std::string dir = HostPath(Environment("ORN_DEPLOY_DIR"));
    std::string first = ReadFile(dir + "\\requests-1.jsonl"), second = ReadFile(dir + "\\requests-2.jsonl");
    for (std::size_t i = 0; i < targets.size(); ++i) {
        std::string recorded = "\"host\":\"versioncheck.vantrel.com\",\"path\":\"/updatewatch/updatewatch.aspx\","
                               "\"target\":\"" + targets[i] + "\"";
        EXPECT_TRUE(HasText(i < 2 ? first + second : second, recorded)) << i << ": " << targets[i];
    }
}
