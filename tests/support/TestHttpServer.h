// A loopback HTTP/1.1 server for tests: records every request and answers each as the test scripted it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace OrnTest {

using HttpHeaders = std::vector<std::pair<std::string, std::string>>;

// One request as the server read it.
struct HttpRequest {
    std::string method;
    std::string path;  // the target up to "?"
    std::string query; // the target after "?", without it
    HttpHeaders headers;
    std::string body; // all Content-Length bytes
    // The first header of that name (case-insensitive), or "".
    std::string Header(const std::string& name) const;
};

// How the server answers one request.
struct HttpAnswer {
    enum class Kind {
        Answer,             // status line, headers, body
        CloseWithoutAnswer, // closes the connection once the request is read
        ResetMidBody,       // sends cutAfter body bytes of a longer announced body, then resets
        CloseMidBody,       // the same, then closes in good order
        NeverAnswer,        // holds the connection until the server stops
    };
    Kind kind = Kind::Answer;
    int status = 200;
    std::string contentType = "text/html";
    std::string body;
    HttpHeaders headers;      // sent after the standard ones
    bool sendLength = true;   // without Content-Length the body ends with the connection
    std::size_t dripBytes = 0; // when set, the body goes out in pieces of this size...
    unsigned dripEveryMs = 0;  // ...this far apart
    std::size_t cutAfter = 0;

    static HttpAnswer Page(std::string body, int status = 200, std::string contentType = "text/html");
    static HttpAnswer Redirect(const std::string& location);
    static HttpAnswer CloseWithoutAnswer();
    static HttpAnswer ResetMidBody(std::string body, std::size_t sentBytes);
    static HttpAnswer CloseMidBody(std::string body, std::size_t sentBytes);
    static HttpAnswer NeverAnswer();
    HttpAnswer& Drip(std::size_t bytes, unsigned everyMs);
    HttpAnswer& WithoutLength();
};

// Listens on 127.0.0.1 on a port of the system's choosing, in this process, on threads of its own. Every
// wait it makes ends when it stops, so destroying it never hangs on a client.
class TestHttpServer {
public:
    TestHttpServer();
    TestHttpServer(const TestHttpServer&) = delete;
    TestHttpServer& operator=(const TestHttpServer&) = delete;
    // Stops serving: drops every connection and joins every thread.
    ~TestHttpServer();

    bool IsListening() const;
    unsigned short Port() const;
    // "http://127.0.0.1:PORT" followed by the target.
    std::string Url(const std::string& target) const;

    // The answer for the next unanswered request; the queue is used in order.
    void Enqueue(HttpAnswer answer);
    // The answer once the queue is empty (at first: 200 with an empty text page).
    void SetDefault(HttpAnswer answer);

    std::vector<HttpRequest> Requests() const;
    // Blocks until count requests are recorded or timeoutMs has passed; whether they were.
    bool WaitForRequests(std::size_t count, unsigned timeoutMs) const;

private:
    struct Impl;
    std::unique_ptr<Impl> mImpl;
};

} // namespace OrnTest
