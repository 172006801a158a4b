// Signed replies from end to end: uwserver signs each reply for its request's nonce and the proxies of
// signed_servers.py, which runs around this program, damage the page on its way. Only a reply signed for this
// very request under the configured key runs; without ReplyKey the unsigned page runs as before.
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>
#include <string>

#include "E2ESupport.h"

using namespace E2E;

namespace {

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

class SignedReplyE2E : public CleanRunTest {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(Environment("ORN_REPLY_KEY").empty()) << "run through ctest, which starts the servers";
        CleanRunTest::SetUp();
    }

    // One check against the named server with that ReplyKey (none when empty); the log.
    std::string Check(const std::string& server, const std::string& key, DWORD& exitCode)
    {
        CleanRunTest::SetUp();
        EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionDomain",
                                 "127.0.0.1:" + PortFromEnvironment("ORN_SIGNED_PORTS", server)));
        if (!key.empty()) {
            EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "ReplyKey", key));
        }
        exitCode = RunUpdateWatch("-s -verbose -v \"PagesTotal=1\"", NonStandardBoxWatcher()).exitCode;
        return ReadFile(LogPath());
    }
};

} // namespace

TEST_F(SignedReplyE2E, OnlyAReplySignedForThisRequestRuns)
{
    const std::string key = Environment("ORN_REPLY_KEY");
    const char* const wrong = "the signature does not match the script and this request's nonce";
    const struct {
        const char* name;
        const char* server;
        std::string key;
        const char* cause; // null: the reply runs
        const char* status;
        unsigned long word;
    } rows[] = {
        {"signed", "signed", key, nullptr, "", 0},
        {"no ReplyKey: the unsigned page", "signed", "", nullptr, "", 0},
        {"one changed byte", "changed", key, wrong, "E_InternetBadSignature", 0x80000887},
        {"signed for another nonce", "replayed", key, wrong, "E_InternetBadSignature", 0x80000887},
        {"another key configured", "signed", Environment("ORN_OTHER_REPLY_KEY"), wrong, "E_InternetBadSignature",
         0x80000887},
        {"no signature", "unsigned", key, "the page carries no signature", "E_InternetBadSignature", 0x80000887},
        {"bad hex", "badhex", key, "the signature block is malformed", "E_InternetBadSignature", 0x80000887},
        {"malformed key", "signed", key.substr(1), "ReplyKey is not 128 hexadecimal digits (the P-256 public key's X, "
         "then Y)", "E_InternetBadReplyKey", 0x80000888},
    };
    std::set<std::string> nonces;
    for (const auto& row : rows) {
        DWORD exitCode = 0;
        std::string log = Check(row.server, row.key, exitCode);
        std::string url = LoggedURL(log);
        std::size_t nonce = url.find("&VR_Nonce=");
        EXPECT_EQ(nonce != std::string::npos, !row.key.empty() && row.key != key.substr(1)) << row.name << url;
        if (nonce != std::string::npos)
            nonces.insert(url.substr(nonce));
        std::string reply;
        ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$reply", reply);
        if (!row.cause) {
            EXPECT_EQ(exitCode, 0u) << row.name << log;
            EXPECT_EQ(reply, "genuine") << row.name;
            continue;
        }
        EXPECT_EQ(exitCode, 3u) << row.name;
        EXPECT_TRUE(HasText(log, StatusFailureLine(row.status, row.word, "Do version check"))) << row.name << log;
        EXPECT_TRUE(HasText(log, "Signed reply check failed: " + std::string(row.cause) + ".\r\n")) << row.name << log;
        EXPECT_FALSE(HasText(log, "run script")) << row.name;
        EXPECT_FALSE(RegKeyExists(HKEY_CURRENT_USER, ReplyKey)) << row.name;
    }
    EXPECT_EQ(nonces.size(), 6u) << "every request has a nonce of its own";
}
