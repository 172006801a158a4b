// uwserver's HTTP layer under clients that hold on: slow requests, too many connections, delayed answers,
// reloads under load, stopping, and HTTPS. The servers run one thread, so a request that held it would hold all.
#include <httplib.h>

#include <atomic>

#include "ServerHarness.h"

using namespace UwTest;

namespace {

std::string StatusLine(const std::string& answer) { return answer.substr(0, answer.find("\r\n")); }
std::string Body(const std::string& answer) { return answer.substr(answer.find("\r\n\r\n") + 4); }

} // namespace

TEST(HttpServer, SlowRequestIsCutWithA408WhileOthersAreServed)
{
    CRunningServer server;
    CRawClient slow(server.Port()), idle(server.Port());
    slow.Send("GET " + cPage + " HTTP/1.1\r\nHo");
    httplib::Client client("127.0.0.1", server.Port());
    httplib::Result r = client.Get(cPage);
    EXPECT_TRUE(r && r->status == 200) << "served while the other waits";
    std::string answer = slow.ReadAll();
    EXPECT_EQ(StatusLine(answer), "HTTP/1.1 408 Request Timeout");
    EXPECT_EQ(Body(answer), "the request did not arrive whole within 1 s\n");
    EXPECT_EQ(idle.ReadAll(), "") << "a connection that sent nothing is closed without an answer";
}

TEST(HttpServer, ConnectionsBeyondTheCapGetAQuick503)
{
    CServerLimits limits = TestLimits(2);
    limits.requestTimeout = std::chrono::seconds(30);
    CRunningServer server(limits);
    CRawClient first(server.Port()), second(server.Port()), third(server.Port());
    std::string answer = third.ReadAll();
    EXPECT_EQ(StatusLine(answer), "HTTP/1.1 503 Service Unavailable");
    EXPECT_NE(answer.find("\r\nRetry-After: 1\r\n"), std::string::npos) << answer;
    EXPECT_EQ(Body(answer), "the server is at its limit of 2 connections: try again later\n");
    for (CRawClient* client : {&first, &second}) {
        client->Send(RawGet(cPage));
        EXPECT_EQ(StatusLine(client->ReadAll()), "HTTP/1.1 200 OK") << "the connections within the cap are served";
    }
}

// A delayed answer waits on a timer, not on the thread; stopping the server sends it at once, as a 503.
TEST(HttpServer, DelayedAnswersHoldNoThread)
{
    CRunningServer server;
    std::vector<std::unique_ptr<CRawClient>> delayed;
    for (int i = 0; i < 3; ++i) {
        delayed.push_back(std::make_unique<CRawClient>(server.Port()));
        delayed.back()->Send(RawGet(cDelayPage + "?VR_TIMEDELAY=120"));
    }
    httplib::Client client("127.0.0.1", server.Port());
    httplib::Result r = client.Get(cPage);
    EXPECT_TRUE(r && r->status == 200) << "served while the other waits";
    for (auto& waiting : delayed)
        EXPECT_FALSE(waiting->Answered());
    server.Stop();
    for (auto& waiting : delayed) {
        std::string answer = waiting->ReadAll();
        EXPECT_EQ(StatusLine(answer), "HTTP/1.1 503 Service Unavailable");
        EXPECT_EQ(Body(answer), "the server is stopping\n");
    }
}

// Requests go on while the folder is reloaded again and again, from good and from broken files: every one gets
// a whole page of a good set, and a broken folder never replaces the set being served.
TEST(HttpServer, ReloadsUnderLoadWithoutAFailedRequest)
{
    CServerLimits limits = TestLimits();
    limits.threads = 2;
    CRunningServer server(limits);
    const std::string pages[] = {server.Page("current.txt"), "[START]\nset $reply, \"B\";\n[END]\n"};
    std::atomic<bool> done{false};
    std::atomic<int> answered{0}, failed{0};
    std::vector<std::thread> clients;
    for (int i = 0; i < 3; ++i) {
        clients.emplace_back([&] {
            httplib::Client client("127.0.0.1", server.Port());
            while (!done) {
                httplib::Result r = client.Get(cPage);
                bool good = r && r->status == 200 && (r->body == pages[0] || r->body == pages[1]);
                ++(good ? answered : failed);
            }
        });
    }
    for (int i = 0; i < 40; ++i) {
        std::string messages;
        bool broken = i % 4 == 3;
        server.Folder().Write("rules.txt", broken ? "otherwise -> missing.txt\n" : cRules);
        server.Folder().Write("current.txt", i % 2 ? "set $reply, \"B\";" : "set $reply, \"current.txt\";");
        EXPECT_EQ(server.Served().Load(messages), !broken) << i << messages;
        EXPECT_EQ(server.Page("current.txt"), pages[i % 4 == 3 ? 0 : i % 2]) << i;
    }
    done = true;
    for (std::thread& t : clients)
        t.join();
    EXPECT_EQ(failed, 0);
    EXPECT_GT(answered, 0);
}

TEST(HttpServer, ServesHttpsWithTheGivenCertificate)
{
    CRunningServer server(TestLimits(), true);
    httplib::SSLClient client("127.0.0.1", server.Port());
    client.enable_server_certificate_verification(false);
    httplib::Result r = client.Get(cPage);
    ASSERT_TRUE(r) << httplib::to_string(r.error());
    EXPECT_EQ(r->body, server.Page("current.txt"));
}
