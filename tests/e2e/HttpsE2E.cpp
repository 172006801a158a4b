// The version check over HTTPS, against the loopback TLS servers that https_servers.py runs around this
// program: a good certificate gives the reply, a refused one ends the check before anything is sent.
#include <gtest/gtest.h>

#include <string>

#include "E2ESupport.h"
#include "HttpsServers.h"

using namespace E2E;

namespace {

class HttpsE2E : public CleanRunTest {
protected:
    // One version check over the scheme against the named server.
    RunResult Check(const std::string& scheme, const std::string& server)
    {
        std::string host = HttpsServerHost(server);
        EXPECT_FALSE(host.empty()) << "no port for '" << server << "': run through ctest, which starts the servers";
        EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionScheme", scheme));
        EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionDomain", host));
        return RunUpdateWatch("-s -verbose -v \"PagesTotal=1\"", NonStandardBoxWatcher());
    }
};

} // namespace

TEST_F(HttpsE2E, GoodCertificateGivesTheReply)
{
    RunResult r = Check("https", "good");
    EXPECT_EQ(r.exitCode, 0u);
    std::string log = ReadFile(LogPath());
    EXPECT_TRUE(HasText(log, "Success: Version check\r\n")) << log;

    const std::string prefix = "https://" + HttpsServerHost("good");
    std::string url = LoggedURL(log);
    ASSERT_EQ(url.substr(0, prefix.size()), prefix) << log;
    std::string target;
    EXPECT_TRUE(ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$target", target));
    EXPECT_EQ(target, url.substr(prefix.size())) << "the server saw the exact path and query";
    EXPECT_TRUE(HasText(target, "/updatewatch/updatewatch.aspx?PagesTotal=1&")) << target;
}

// Each failure ends the check with exit code 3 and its own status and cause; no reply script ever runs.
TEST_F(HttpsE2E, RefusedChecksSayWhy)
{
    struct Row {
        const char* scheme;
        const char* server;
        const char* status;
        unsigned long word;
        const char* cause;
    };
    const Row rows[] = {
        {"https", "untrusted", "E_InternetCertUntrusted", 0x80000882,
         "The version server's certificate was refused: untrusted issuer.\r\n"},
        {"https", "wronghost", "E_InternetCertWrongHost", 0x80000883,
         "The version server's certificate was refused: wrong host name.\r\n"},
        {"https", "expired", "E_InternetCertExpired", 0x80000884,
         "The version server's certificate was refused: expired or not yet valid.\r\n"},
        {"ftp", "good", "E_InternetBadScheme", 0x80000886,
         "Unknown VersionScheme (ftp): only \"http\" and \"https\" are known.\r\n"},
    };
    for (const Row& row : rows) {
        CleanRunTest::SetUp();
        RunResult r = Check(row.scheme, row.server);
        EXPECT_EQ(r.exitCode, 3u) << row.server;
        std::string log = ReadFile(LogPath());
        EXPECT_TRUE(HasText(log, StatusFailureLine(row.status, row.word, "Do version check"))) << row.server << log;
        EXPECT_TRUE(HasText(log, row.cause)) << row.server << log;
        EXPECT_FALSE(HasText(log, "run script")) << row.server;
        EXPECT_FALSE(RegKeyExists(HKEY_CURRENT_USER, ReplyKey)) << row.server;
    }
}
