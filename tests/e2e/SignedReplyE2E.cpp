// Signed replies from end to end: uwserver signs each reply for its whole request and the proxies of
// signed_servers.py, which runs around this program, damage the page or change the request on its way (the
// nonce kept). Only a reply signed for this very request under one of the configured keys runs; without
// ReplyKey the unsigned page runs as before.
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

TEST_F(SignedReplyE2E, OnlyAReplySignedForThisVeryRequestRuns)
{
    const std::string key = Environment("ORN_REPLY_KEY"), other = Environment("ORN_OTHER_REPLY_KEY");
    const char* const wrong = "the signature does not match the script and this request";
    const char* const bad = "E_InternetBadSignature";
    const struct {
        const char* name;
        const char* server;
        std::string key;
        const char* cause; // null: the reply runs, and the log says which key signed it ("": none)
        const char* signedWith;
        const char* status;
        unsigned long word;
    } rows[] = {
        {"signed", "signed", key, nullptr, "key 1 of 1", "", 0},
        {"no ReplyKey: the unsigned page", "signed", "", nullptr, "", "", 0},
        {"the second of two keys", "signed", other + ", " + key, nullptr, "key 2 of 2", "", 0},
        {"one changed byte", "changed", key, wrong, nullptr, bad, 0x80000887},
        {"another key configured", "signed", other, wrong, nullptr, bad, 0x80000887},
        {"no signature", "unsigned", key, "the page carries no signature", nullptr, bad, 0x80000887},
        {"bad hex", "badhex", key, "the signature block is malformed", nullptr, bad, 0x80000887},
        {"another VR_ProdVer", "value", key, wrong, nullptr, bad, 0x80000887},
        {"a parameter added", "added", key, wrong, nullptr, bad, 0x80000887},
        {"a parameter dropped", "dropped", key, wrong, nullptr, bad, 0x80000887},
        {"two parameters swapped", "reordered", key, wrong, nullptr, bad, 0x80000887},
        {"the delay page instead", "path", key, wrong, nullptr, bad, 0x80000887},
        {"a POST instead of the GET", "post", key, wrong, nullptr, bad, 0x80000887},
        {"the page of an earlier request", "replay", key, wrong, nullptr, bad, 0x80000887},
        {"malformed key", "signed", key.substr(1),
         "ReplyKey is not one to four keys of 128 hexadecimal digits (each a P-256 public key's X, then Y) "
         "separated by commas", nullptr, "E_InternetBadReplyKey", 0x80000888},
    };
    std::set<std::string> nonces;
    std::size_t sent = 0;
    for (const auto& row : rows) {
        DWORD exitCode = 0;
        // The replaying proxy first needs an earlier request whose page it can hand back.
        if (std::string(row.server) == "replay")
            Check(row.server, row.key, exitCode);
        std::string log = Check(row.server, row.key, exitCode);
        std::string url = LoggedURL(log);
        std::size_t nonce = url.find("&VR_Nonce=");
        const bool keyRefused = std::string(row.status) == "E_InternetBadReplyKey";
        EXPECT_EQ(nonce != std::string::npos, !row.key.empty() && !keyRefused) << row.name << url;
        if (nonce != std::string::npos) {
            nonces.insert(url.substr(nonce));
            ++sent;
        }
        std::string reply;
        ReadRegString(HKEY_CURRENT_USER, ReplyKey, "$reply", reply);
        if (!row.cause) {
            EXPECT_EQ(exitCode, 0u) << row.name << log;
            EXPECT_EQ(reply, "genuine") << row.name;
            EXPECT_EQ(HasText(log, "Signed reply check passed: signed with " + std::string(row.signedWith) + ".\r\n"),
                      *row.signedWith != 0)
                << row.name << log;
            continue;
        }
        EXPECT_EQ(exitCode, 3u) << row.name;
        EXPECT_TRUE(HasText(log, StatusFailureLine(row.status, row.word, "Do version check"))) << row.name << log;
        EXPECT_TRUE(HasText(log, "Signed reply check failed: " + std::string(row.cause) + ".\r\n")) << row.name << log;
        EXPECT_FALSE(HasText(log, "run script")) << row.name;
        EXPECT_FALSE(RegKeyExists(HKEY_CURRENT_USER, ReplyKey)) << row.name;
    }
    EXPECT_EQ(nonces.size(), sent) << "every request has a nonce of its own";
}

// The libraries the program loads at run time come from the system folder only: copies planted beside the
// program under their names, which Wine prefers to its own under signed_servers.py's overrides as Windows
// prefers a library in the program's folder, never run.
TEST_F(SignedReplyE2E, LibrariesPlantedBesideTheProgramAreNotLoaded)
{
    ScratchInstall install("planted");
    install.CopyConfig();
    for (const char* name : {"bcrypt.dll", "dbghelp.dll", "wininet.dll", "psapi.dll"})
        ASSERT_TRUE(install.AddFile(BinDir() + "\\planted.dll", name)) << name;
    TempFile ran("planted-library-ran.txt");
    EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "VersionDomain",
                             "127.0.0.1:" + PortFromEnvironment("ORN_SIGNED_PORTS", "signed")));
    EXPECT_TRUE(SetRegString(HKEY_CURRENT_USER, ProductKey, "ReplyKey", Environment("ORN_REPLY_KEY")));
    DWORD exitCode = RunProgram(install.Program(), "-s -v \"PagesTotal=1\"", NonStandardBoxWatcher()).exitCode;
    EXPECT_EQ(exitCode, 0u) << ReadFile(LogPath());
    EXPECT_FALSE(FileExists(ran.Path())) << "a planted library ran inside the program";
}
