// The listening side: binding, TLS set-up, the accept loop with its connection cap, the threads, and stopping.
#include "HttpServer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/ssl/context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>

#include <condition_variable>
#include <optional>
#include <thread>
#include <vector>

#include "HttpSession.h"

namespace net = boost::asio;
using tcp = net::ip::tcp;
using boost::system::error_code;

namespace {

// Connections still open this long after Stop are cut.
constexpr std::chrono::seconds cStopGrace{3};
// When accepting fails (no descriptors left, say), the next try waits this long instead of spinning.
constexpr std::chrono::milliseconds cAcceptRetry{100};
// How many waiting connections one accept takes in at most before it lets the requests in progress go on.
constexpr int cAcceptBurst = 64;

} // namespace

// Declared in this order so that connections, which the io_context may still hold when it goes, find what they
// share still there.
struct CHttpServer::CImpl {
    CImpl(const CRequestHandler& handler, CRequestRecord& record, const CServerLimits& limits)
        : shared(handler, record, limits), ioc(std::max(limits.threads, 1)), acceptor(net::make_strand(ioc)),
          retry(acceptor.get_executor())
    {
    }

    void Accept()
    {
        acceptor.async_accept(net::make_strand(ioc), [this](error_code ec, tcp::socket socket) {
            if (!acceptor.is_open() || shared.stopping)
                return;
            if (ec) {
                retry.expires_after(cAcceptRetry);
                retry.async_wait([this](error_code ec) {
                    if (!ec)
                        Accept();
                });
                return;
            }
            Admit(std::move(socket));
            // The rest of the backlog at once: one connection a turn of the event loop would leave a burst of
            // new clients waiting behind every request in progress.
            for (int i = 0; i < cAcceptBurst; ++i) {
                tcp::socket next(net::make_strand(ioc));
                error_code none;
                acceptor.accept(next, none);
                if (none)
                    break;
                Admit(std::move(next));
            }
            Accept();
        });
    }

    // A connection beyond both caps is closed as `socket` goes.
    void Admit(tcp::socket socket)
    {
        error_code ignored;
        socket.set_option(tcp::no_delay(true), ignored);
        if (shared.serving < shared.limits.maxConnections)
            StartSession(shared, std::move(socket), false);
        else if (shared.refusing < shared.limits.maxConnections)
            StartSession(shared, std::move(socket), true);
    }

    std::optional<net::ssl::context> tls;
    CSessionShared shared;
    net::io_context ioc;
    tcp::acceptor acceptor;
    net::steady_timer retry;
    int port = 0;
    std::mutex lock;
    std::condition_variable ended;
    bool serving = false;
};

CHttpServer::CHttpServer(const CRequestHandler& handler, CRequestRecord& record, const CServerLimits& limits)
    : mImpl(std::make_unique<CImpl>(handler, record, limits))
{
}

CHttpServer::~CHttpServer() = default;

bool CHttpServer::UseTls(const std::string& certPem, const std::string& keyPem, std::string& error)
{
    net::ssl::context& tls = mImpl->tls.emplace(net::ssl::context::tls_server);
    error_code ec;
    tls.set_options(net::ssl::context::default_workarounds | net::ssl::context::no_sslv2 |
                        net::ssl::context::no_sslv3 | net::ssl::context::no_tlsv1 | net::ssl::context::no_tlsv1_1,
                    ec);
    // An encrypted key is refused rather than asked for on the terminal.
    tls.set_password_callback([](std::size_t, net::ssl::context::password_purpose) { return std::string(); }, ec);
    tls.use_certificate_chain_file(certPem, ec);
    if (ec) {
        error = "can't use the certificate " + certPem + ": " + ec.message();
    } else {
        tls.use_private_key_file(keyPem, net::ssl::context::pem, ec);
        if (ec)
            error = "can't use the private key " + keyPem + ": " + ec.message();
    }
    if (ec) {
        mImpl->tls.reset();
        return false;
    }
    mImpl->shared.tls = &tls;
    return true;
}

bool CHttpServer::Bind(const std::string& host, int port, std::string& error)
{
    CImpl& s = *mImpl;
    error_code ec;
    tcp::resolver resolver(s.ioc);
    auto found = resolver.resolve(host, std::to_string(port), tcp::resolver::numeric_service, ec);
    tcp::endpoint endpoint = ec || found.empty() ? tcp::endpoint() : found.begin()->endpoint();
    if (!ec)
        s.acceptor.open(endpoint.protocol(), ec);
    if (!ec)
        s.acceptor.set_option(tcp::acceptor::reuse_address(true), ec);
    if (!ec)
        s.acceptor.bind(endpoint, ec);
    if (!ec)
        s.acceptor.listen(net::socket_base::max_listen_connections, ec);
    if (!ec)
        s.acceptor.non_blocking(true, ec);
    if (!ec) {
        s.port = s.acceptor.local_endpoint(ec).port();
        return true;
    }
    error = "can't listen on " + host + ":" + std::to_string(port) + " (" + ec.message() + ")";
    error_code ignored;
    s.acceptor.close(ignored);
    return false;
}

int CHttpServer::Port() const { return mImpl->port; }

void CHttpServer::Serve()
{
    CImpl& s = *mImpl;
    {
        std::lock_guard<std::mutex> hold(s.lock);
        if (s.shared.stopping)
            return;
        s.serving = true;
    }
    s.Accept();
    std::vector<std::thread> threads;
    for (int i = 1; i < s.shared.limits.threads; ++i)
        threads.emplace_back([&s] { s.ioc.run(); });
    s.ioc.run();
    for (std::thread& t : threads)
        t.join();
    std::lock_guard<std::mutex> hold(s.lock);
    s.serving = false;
    s.ended.notify_all();
}

void CHttpServer::Stop()
{
    CImpl& s = *mImpl;
    {
        std::lock_guard<std::mutex> hold(s.lock);
        s.shared.stopping = true;
    }
    net::post(s.acceptor.get_executor(), [&s] {
        error_code ignored;
        s.acceptor.close(ignored);
        s.retry.cancel();
    });
    StopSessions(s.shared);
    std::unique_lock<std::mutex> hold(s.lock);
    if (!s.ended.wait_for(hold, cStopGrace, [&s] { return !s.serving; }))
        s.ioc.stop();
}
