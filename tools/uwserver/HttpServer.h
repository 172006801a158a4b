// The server's HTTP layer on Boost.Beast: a few threads serve every connection asynchronously, each request must
// arrive whole within a deadline, connections beyond a cap get a quick 503, the delay page waits on a timer, and
// HTTPS with a certificate of the vendor's when asked. What to answer comes from the request handler.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include "RequestHandler.h"

struct CServerLimits {
    std::size_t maxConnections = 1000;
    // For reading a whole request (and for the wait before it on a kept-alive connection), and for each step of
    // writing an answer.
    std::chrono::seconds requestTimeout{10};
    int threads = 2;
};

class CHttpServer {
public:
    CHttpServer(const CRequestHandler& handler, CRequestRecord& record, const CServerLimits& limits);
    ~CHttpServer();
    CHttpServer(const CHttpServer&) = delete;
    CHttpServer& operator=(const CHttpServer&) = delete;

    // HTTPS instead of HTTP: the certificate chain and its private key in PEM. False with the reason in `error`.
    bool UseTls(const std::string& certPem, const std::string& keyPem, std::string& error);
    // Port 0 picks a free port. False with the reason in `error`.
    bool Bind(const std::string& host, int port, std::string& error);
    int Port() const;
    // Serves on the limits' threads (the caller's among them) until Stop.
    void Serve();
    // From any thread but the server's: no new connections; answers in progress go out (delayed ones at once,
    // as 503), then Serve returns. Connections still open after a few seconds are cut.
    void Stop();

private:
    struct CImpl;
    std::unique_ptr<CImpl> mImpl;
};
