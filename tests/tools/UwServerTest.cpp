// uwserver: rules, reply pages, and the request path through the server against cpp-httplib's client.
#include <httplib.h>

#include "ServerHarness.h"
#include "SignedReply.h"

using namespace UwTest;

// The store serves what uwscript check passes: UTF-8 files in the program's code page, comments left out, and a
// signed page's smaller limit only when it signs.
TEST(UwServer, RepliesAreServedAsCheckedWithoutTheirComments)
{
    OrnTest::CScratchDir folder("replies");
    folder.Write("ok.txt", "// internal note\nset $a, \"verf\xC3\xBCgbar\"; // done\n");
    folder.Write("bad.txt", "set $a, 1;\nshow \"x\";");
    folder.Write("big.txt", "set $a, \"" + std::string(9835, 'x') + "\";");
    folder.Write("huge.txt", std::string((1 << 20) + 1, ' '));
    std::string dir = folder.Path() + "/", errors, warnings;
    CReplyStore plain;
    EXPECT_FALSE(plain.Load(folder.Path(), {"ok.txt", "bad.txt", "big.txt", "huge.txt", "none.txt"}, errors, warnings));
    EXPECT_EQ(errors, dir + "bad.txt:2:1: unknown command 'show'\n  show \"x\";\n  ^\n" + dir +
                          "huge.txt: can't serve it: larger than 1048576 bytes\n" + dir +
                          "none.txt: can't serve it: No such file or directory\n");
    EXPECT_EQ(warnings, "");
    EXPECT_EQ(plain.Page("ok.txt"), "[START]\n\nset $a, \"verf\xFCgbar\";\n\n[END]\n");
    CReplySigner signer;
    ASSERT_TRUE(signer.Load(folder.Write("key.pem", cKeyPem), false, errors));
    CReplyStore signing(&signer);
    errors.clear();
    EXPECT_FALSE(signing.Load(folder.Path(), {"big.txt"}, errors, warnings));
    EXPECT_EQ(errors, dir + "big.txt: the script takes 9846 bytes without its comments, over the 9845 that a signed "
                            "reply page of at most 10000 bytes leaves it\n");
}

class UwServerRunning : public ::testing::Test {
protected:
    CRunningServer mServer;
    httplib::Client mClient{"127.0.0.1", mServer.Port()};
    const std::string mPage = cPage;
};

TEST_F(UwServerRunning, ChoosesRepliesForOriginAndAbsoluteTargets)
{
    httplib::Client& client = mClient;
    httplib::Result r = client.Get(mPage + "?VR_ProdVer=3.10.0.0&VR_OSLang=de-DE");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->status, 200);
    EXPECT_EQ(r->body, mServer.Page("de.txt"));
    // As the HTTP proxy of a machine, the server gets the standard host's URL as the target.
    r = client.Get("http://versioncheck.vantrel.com" + mPage + "?VR_ProdVer=3.10.0.0&a=%41");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->body, mServer.Page("update.txt"));
    r = client.Post(mPage, "VR_ProdVer=3.20.0.0", "application/x-www-form-urlencoded");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->body, mServer.Page("current.txt"));
    r = client.Get("/updatewatch/UwDelayTest.aspx?VR_TIMEDELAY=1");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->body, mServer.Page("current.txt"));
    std::vector<std::string> lines = mServer.RecordLines();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[1], "\"method\":\"GET\",\"host\":\"versioncheck.vantrel.com\",\"path\":\"" + mPage +
                            "\",\"target\":\"http://versioncheck.vantrel.com" + mPage +
                            "?VR_ProdVer=3.10.0.0&a=%41\",\"params\":{\"VR_ProdVer\":\"3.10.0.0\",\"a\":\"A\"},"
                            "\"status\":200,\"reply\":"
                            "\"update.txt\"}\n");
}

// Each row is sent as raw bytes, as a client may send them; the answer is the status line and the reason.
TEST_F(UwServerRunning, RefusesWithTheReasonAndRecordsIt)
{
    const std::string form = "Content-Type: application/x-www-form-urlencoded\r\n";
    const struct {
        std::string request;
        const char* status;
        const char* reason;
    } refusals[] = {
        {RawGet("/other"), "404 Not Found",
         "no page here: /other (this server answers /updatewatch/updatewatch.aspx, /updatewatch/UwDelayTest.aspx "
         "and /files/NAME)"},
        {RawGet(cPage, "PUT"), "405 Method Not Allowed", "method PUT is not served: use GET or POST"},
        {"POST " + cPage + " HTTP/1.1\r\nContent-Type: text/plain\r\nContent-Length: 3\r\n\r\nx=1", "400 Bad Request",
         "a POST body must be application/x-www-form-urlencoded"},
        {"POST " + cPage + " HTTP/1.1\r\n" + form + "Content-Length: 8193\r\n\r\n", "413 Payload Too Large",
         "request body over 8192 bytes"},
        {RawGet("ftp://versioncheck.vantrel.com" + cPage), "400 Bad Request",
         "the request target must be a path or an http:// URL"},
        {RawGet("http:///updatewatch/updatewatch.aspx"), "400 Bad Request", "the request target names no host"},
        {RawGet(cDelayPage + "?VR_TIMEDELAY=121"), "400 Bad Request",
         "VR_TIMEDELAY must be a whole number of seconds from 0 to 120"},
        {RawGet(cDelayPage + "?VR_TIMEDELAY=1x"), "400 Bad Request",
         "VR_TIMEDELAY must be a whole number of seconds from 0 to 120"},
        {RawGet(cPage + "?VR_Nonce=00112233445566778899AABBCCDDEEF"), "400 Bad Request",
         "VR_Nonce must be 32 hexadecimal digits"},
        {RawGet(cPage + "?VR_Nonce=00112233445566778899AABBCCDDEEFF0"), "400 Bad Request",
         "VR_Nonce must be 32 hexadecimal digits"},
        {RawGet(cPage + "?VR_Nonce=00112233445566778899AABBCCDDEEFG"), "400 Bad Request",
         "VR_Nonce must be 32 hexadecimal digits"},
        {"GET / HTTP/1.1\r\nX: " + std::string(16 * 1024, 'x') + "\r\n\r\n", "431 Request Header Fields Too Large",
         "request header over 16384 bytes"},
        {"GET / HTTP/1.1\r\nNo colon\r\n\r\n", "400 Bad Request", "malformed request: bad field"},
        {RawGet("/files/a.exe", "POST"), "405 Method Not Allowed",
         "method POST is not served for files: use GET or HEAD"},
        {RawGet("/files/.hidden"), "404 Not Found",
         "not a plain file name: '.hidden' (files are asked for as /files/NAME, without a path or a leading dot)"},
        {RawGet("/files/x/../../rules.txt"), "404 Not Found",
         "not a plain file name: 'x/../../rules.txt' (files are asked for as /files/NAME, without a path or a "
         "leading dot)"},
        {RawGet("/files/none.exe"), "404 Not Found", "no file none.exe here: No such file or directory"},
    };
    for (const auto& refusal : refusals) {
        CRawClient client(mServer.Port());
        client.Send(refusal.request);
        std::string answer = client.ReadAll();
        EXPECT_EQ(answer.substr(0, answer.find("\r\n")), std::string("HTTP/1.1 ") + refusal.status) << refusal.reason;
        EXPECT_EQ(answer.substr(answer.find("\r\n\r\n") + 4), std::string(refusal.reason) + "\n");
    }
    std::vector<std::string> lines = mServer.RecordLines();
    ASSERT_EQ(lines.size(), std::size(refusals));
    EXPECT_EQ(lines[1], "\"method\":\"PUT\",\"host\":\"x\",\"path\":\"" + cPage + "\",\"target\":\"" + cPage +
                            "\",\"params\":{},\"status\":405,\"reply\":null,\"error\":"
                            "\"method PUT is not served: use GET or POST\"}\n");
}

// The installer files of the folder's files/, whole and exactly, with their size; HEAD gives the size alone.
TEST_F(UwServerRunning, ServesInstallerFiles)
{
    std::string bytes;
    for (int i = 0; i < 100000; ++i)
        bytes += static_cast<char>(i * 7);
    mServer.Folder().Write("files/Setup.exe", bytes);
    httplib::Result r = mClient.Get("/files/Setup.exe");
    ASSERT_TRUE(r);
    EXPECT_EQ(r->status, 200);
    EXPECT_EQ(r->get_header_value("Content-Type"), "application/octet-stream");
    EXPECT_TRUE(r->body == bytes);
    CRawClient head(mServer.Port());
    head.Send(RawGet("/files/Setup.exe", "HEAD"));
    std::string answer = head.ReadAll();
    EXPECT_NE(answer.find("\r\nContent-Length: 100000\r\n"), std::string::npos) << answer;
    EXPECT_EQ(answer.substr(answer.find("\r\n\r\n") + 4), "") << "HEAD sends no body";
    std::vector<std::string> lines = mServer.RecordLines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].substr(0, lines[0].find(",\"params\"")),
              "\"method\":\"GET\",\"host\":\"127.0.0.1:" + std::to_string(mServer.Port()) +
                  "\",\"path\":\"/files/Setup.exe\",\"target\":\"/files/Setup.exe\"");
}

// A request with a nonce gets its page signed for that very request, as the program checks it; one without
// gets the page unsigned (above).
TEST_F(UwServerRunning, SignsEachReplyForItsRequest)
{
    Orn::CReplyKeys keys;
    ASSERT_TRUE(Orn::ParseReplyKeys(cReplyKey, keys));
    const std::string nonce = "00112233445566778899aabbccddeeff", query = "VR_ProdVer=3.20.0.0&VR_Nonce=" + nonce;
    const std::string delay = cDelayPage;
    httplib::Client& client = mClient;
    const struct {
        const char* method;
        std::string path;
        std::string query;
        std::string body;
        httplib::Result result;
    } rows[] = {
        {"GET", mPage, query, "", client.Get(mPage + "?" + query)},
        {"POST", mPage, "", query, client.Post(mPage, query, "application/x-www-form-urlencoded")},
        {"GET", delay, "VR_TIMEDELAY=0&VR_Nonce=" + nonce, "", client.Get(delay + "?VR_TIMEDELAY=0&VR_Nonce=" + nonce)},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(row.result) << row.method << row.path;
        const std::string& page = row.result->body;
        EXPECT_EQ(page.substr(0, page.find("[SIG]")), "[START]\nset $reply, \"current.txt\";\n[END]\n") << row.path;
        Orn::CSignedRequest request;
        request.method = row.method;
        request.path = row.path.c_str();
        request.query = row.query.c_str();
        request.body = row.body.c_str();
        request.nonce = nonce.c_str();
        Orn::CString script;
        Orn::EReplyCheck check;
        Orn::Int keyIndex = -1;
        EXPECT_EQ(Orn::CheckSignedReply(page.c_str(), request, keys, script, check, keyIndex), Orn::Ok) << row.path;
        EXPECT_STREQ(script, "\nset $reply, \"current.txt\";\n") << row.path;
        request.nonce = "00112233445566778899AABBCCDDEEFF";
        EXPECT_EQ(Orn::CheckSignedReply(page.c_str(), request, keys, script, check, keyIndex),
                  Orn::E_InternetBadSignature)
            << row.path << ": the nonce is signed as the request wrote it";
    }
}
