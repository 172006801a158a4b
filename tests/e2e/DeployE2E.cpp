// Version checks through the production shape that scripts/deploy-local.sh brings up around this program: the
// standard host over HTTPS (the shape's test CA trusted, deploy_proxy.py tunnelling to nginx), ReplyKey set,
// nginx in front of two uwserver instances. One instance is stopped between checks; the checks go on, and
// each is recorded exactly as the program sent it.
#include <windows.h>

#include <wininet.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "E2ESupport.h"
#include "TestCA.h"

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

// The proxy ends the first uwserver instance and answers when it has.
bool StopFirstInstance()
{
    HINTERNET net = ::InternetOpenA("DeployE2E", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0);
    std::string url = "http://127.0.0.1:" + Environment("ORN_DEPLOY_PROXY") + "/stop-instance-1";
    HINTERNET req = net ? ::InternetOpenUrlA(net, url.c_str(), nullptr, 0, INTERNET_FLAG_RELOAD, 0) : nullptr;
    DWORD status = 0, size = sizeof status;
    bool stopped = req && ::HttpQueryInfoA(req, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size,
                                           nullptr) && status == 200;
    if (req)
        ::InternetCloseHandle(req);
    if (net)
        ::InternetCloseHandle(net);
    return stopped;
}

std::vector<std::string> Split(const std::string& list)
{
    std::vector<std::string> parts;
    for (std::size_t start = 0, end; start <= list.size(); start = end + 1) {
        end = std::min(list.find(',', start), list.size());
        parts.push_back(list.substr(start, end - start));
    }
    return parts;
}

} // namespace

TEST(DeployE2E, SignedChecksOverHttpsThroughNginxGoOnWhenAnInstanceStops)
{
    ASSERT_FALSE(Environment("ORN_DEPLOY_PROXY").empty()) << "run through ctest, which brings up the shape";
    TrustedCA ca(ReadFile(HostPath(Environment("ORN_DEPLOY_CA"))));
    ASSERT_TRUE(::SetEnvironmentVariableA("http_proxy", ("http://127.0.0.1:" + Environment("ORN_DEPLOY_PROXY")).c_str()));
    const std::string host = "https://versioncheck.vantrel.com";
    std::vector<std::string> targets;
    for (int check = 0; check < 4; ++check) {
        if (check == 2) {
            ASSERT_TRUE(StopFirstInstance());
        }
        CleanVantrelKeys();
        DeleteFileIfAny(LogPath());
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionScheme", "https"));
        ASSERT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "ReplyKey", Environment("ORN_REPLY_KEY")));
        RunResult r = RunUpdateWatch("-s -verbose -v \"PagesTotal=1\""); // the standard host: no box
        std::string log = ReadFile(LogPath()), reply;
        EXPECT_EQ(r.exitCode, 0u) << check << log;
        EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$reply", reply)) << check;
        EXPECT_EQ(reply, "genuine") << check;
        std::string url = LoggedURL(log);
        ASSERT_EQ(url.substr(0, host.size() + 1), host + "/") << check << log;
        EXPECT_TRUE(HasText(url, "&VR_Nonce=")) << url;
        targets.push_back(url.substr(host.size()));
    }
    CleanVantrelKeys();
    std::vector<std::string> records = Split(Environment("ORN_DEPLOY_RECORDS"));
    ASSERT_EQ(records.size(), 2u);
    std::string first = ReadFile(HostPath(records[0])), second = ReadFile(HostPath(records[1]));
    for (std::size_t i = 0; i < targets.size(); ++i) {
        std::string recorded = "\"host\":\"versioncheck.vantrel.com\",\"path\":\"/updatewatch/updatewatch.aspx\","
                               "\"target\":\"" + targets[i] + "\"";
        EXPECT_TRUE(HasText(i < 2 ? first + second : second, recorded)) << i << ": " << targets[i];
    }
}
