// The web page reader against the loopback test server: what goes on the wire and what each answer gives.
#include "WebPageReader.h"

#include <string>

#include "TestHttpServer.h"
#include "TestSupport.h"

using namespace Orn;
using OrnTest::HttpAnswer;
using OrnTest::TestHttpServer;

namespace {

const char Agent[] = "VRL Version Checker";
// Only a bound on a broken test; every read here ends well before it.
constexpr DWord EndLimitMs = 30000;

// Reads url to its end; the status and, on success, the text.
RStatus ReadToEnd(const std::string& url, Int max, CString* text = nullptr)
{
    CWebPageReader reader(Agent);
    RStatus started = reader.StartRead(url.c_str(), max);
    if (started != S_Busy)
        return started;
    if (!reader.WaitForEnd(EndLimitMs))
        return E_Timeout;
    RStatus status = reader.Poll();
    if (text && !reader.GetText(*text))
        text->Empty();
    return status;
}

} // namespace

// A short query goes in the URL; AlwaysUsePOST sends it as a form body, as a long URL does. AlwaysUsePOST with
// nothing to send asserts where the worker opens the request, and a GET goes out.
TEST(WebPageReaderWin, WhatGoesOnTheWire)
{
    struct Row {
        const char* name;
        bool alwaysUsePOST;
        std::string query;
        const char* method;
        bool asserts;
    };
    const Row rows[] = {
        {"short GET", false, "a=1&b=x%20y", "GET", false},
        {"AlwaysUsePOST", true, "VR_Product=NB&VR_ProdVer=3.1", "POST", false},
        {"AlwaysUsePOST, a bare ?", true, "", "GET", true},
    };
    for (const Row& row : rows) {
        TestHttpServer server;
        ASSERT_TRUE(server.IsListening());
        if (row.alwaysUsePOST)
            GlobalVars.Set("AlwaysUsePOST", "1");
        server.Enqueue(HttpAnswer::Page("[START]\r\nSet x = 1\r\n[END]\r\n"));
        CString text;
        OrnTest::AssertRecorder rec;
        EXPECT_EQ(ReadToEnd(server.Url("/updatewatch/updatewatch.aspx?" + row.query), 100, &text), Ok) << row.name;
        GlobalVars.Remove("AlwaysUsePOST");
        EXPECT_EQ(rec.Fired("(! AlwaysUsePOST) || doPOST"), row.asserts) << row.name << ": " << rec.List();
        EXPECT_STREQ(text, "[START]\nSet x = 1\n[END]\n") << "read as text: CR LF becomes LF";

        auto requests = server.Requests();
        ASSERT_EQ(requests.size(), 1u) << row.name;
        const bool post = std::string(row.method) == "POST";
        EXPECT_EQ(requests[0].method, row.method) << row.name;
        EXPECT_EQ(requests[0].path, "/updatewatch/updatewatch.aspx") << row.name;
        EXPECT_EQ(requests[0].Header("User-Agent"), Agent) << row.name;
        EXPECT_EQ(requests[0].query, post ? "" : row.query) << row.name;
        EXPECT_EQ(requests[0].body, post ? row.query : "") << row.name;
        EXPECT_EQ(requests[0].Header("Content-Type"), post ? "application/x-www-form-urlencoded" : "") << row.name;
    }
}

TEST(WebPageReaderWin, EachAnswerGivesItsStatus)
{
    struct Row {
        const char* name;
        HttpAnswer answer;
        RStatus expected;
    };
    const Row rows[] = {
        {"page of exactly the maximum", HttpAnswer::Page(std::string(1000, 'x')), Ok},
        {"one byte over the maximum", HttpAnswer::Page(std::string(1001, 'x')), E_TooMuchData},
        {"slow drip", HttpAnswer::Page("drip, drip, drip").Drip(3, 20), Ok},
        {"no Content-Length", HttpAnswer::Page("until the end").WithoutLength(), Ok},
        {"404", HttpAnswer::Page("gone", 404), E_NotFound},
        {"500", HttpAnswer::Page("broken", 500), E_InternetBadHTTPStatus},
        {"redirect", HttpAnswer::Redirect("/elsewhere"), E_InternetBadHTTPStatus},
        {"NUL byte", HttpAnswer::Page(std::string("bin\0ary", 7), 200, "application/octet-stream"),
         E_InternetResourceNotText},
        {"closed without an answer", HttpAnswer::CloseWithoutAnswer(), Failure},
        {"closed mid-body", HttpAnswer::CloseMidBody(std::string(500, 'c'), 100), Failure},
        {"reset mid-body", HttpAnswer::ResetMidBody(std::string(500, 'r'), 100), Failure},
    };
    for (const Row& row : rows) {
        TestHttpServer server;
        ASSERT_TRUE(server.IsListening());
        server.Enqueue(row.answer);
        server.SetDefault(HttpAnswer::Page("the redirect target"));
        CString text;
        EXPECT_EQ(ReadToEnd(server.Url("/page"), 1000, &text).Name(), std::string(row.expected.Name())) << row.name;
        EXPECT_EQ(std::string(text), row.expected == Ok ? row.answer.body : "") << row.name;
        EXPECT_EQ(server.Requests().size(), 1u) << row.name << ": nothing is fetched twice, no redirect followed";
    }
}

TEST(WebPageReaderWin, RefusedConnectionFails)
{
    const std::string url = TestHttpServer().Url("/page");
    EXPECT_EQ(ReadToEnd(url, 100), Failure) << "nothing listens on the port any more";
}

TEST(WebPageReaderWin, SilentServerLeavesTheReaderBusy)
{
    TestHttpServer server;
    ASSERT_TRUE(server.IsListening());
    server.Enqueue(HttpAnswer::NeverAnswer());
    CWebPageReader reader(Agent);
    EXPECT_EQ(reader.StartRead(server.Url("/page").c_str(), 100), S_Busy);
    ASSERT_TRUE(server.WaitForRequests(1, EndLimitMs));
    EXPECT_FALSE(reader.WaitForEnd(200));
    EXPECT_EQ(reader.Poll(), S_Busy);
    CString text;
    EXPECT_FALSE(reader.GetText(text));
    EXPECT_NE(reader.LastInternetStatus(), 0u) << "the library reported progress";
    // The reader is given up here while its worker still waits; the worker ends once the server stops.
}

TEST(WebPageReaderWin, AReaderReadsOnce)
{
    TestHttpServer server;
    ASSERT_TRUE(server.IsListening());
    CWebPageReader reader(Agent);
    (void)reader.StartRead(server.Url("/page").c_str(), 100);
    ASSERT_TRUE(reader.WaitForEnd(EndLimitMs));
    OrnTest::AssertRecorder rec;
    EXPECT_EQ(reader.StartRead(server.Url("/page").c_str(), 100), Failure);
    EXPECT_ASSERTED(rec, "!mThreadHand");
    EXPECT_ASSERTED(rec, "! mText");
    EXPECT_EQ(reader.Poll(), Ok) << "the first read is kept";
    EXPECT_EQ(server.Requests().size(), 1u);
}
