// The loopback test HTTP server: Winsock, one thread for accepting and one per connection.
#include "TestHttpServer.h"

#include <winsock2.h>
#include <ws2tcpip.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>

namespace OrnTest {

namespace {

// How long a connection may stay silent while the server waits for a request.
constexpr unsigned RequestIdleLimitMs = 10000;
// Each blocking wait is cut into slices of this length so that stopping is seen soon.
constexpr long PollSliceMs = 50;

bool IEquals(const std::string& a, const std::string& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

std::string Trim(const std::string& s)
{
    std::size_t first = s.find_first_not_of(" \t");
    std::size_t last = s.find_last_not_of(" \t");
    return first == std::string::npos ? std::string() : s.substr(first, last - first + 1);
}

// Owns one socket.
class Socket {
public:
    Socket() = default;
    explicit Socket(SOCKET s) : mSocket(s) {}
    Socket(Socket&& other) noexcept : mSocket(other.mSocket) { other.mSocket = INVALID_SOCKET; }
    Socket& operator=(Socket&& other) noexcept
    {
        std::swap(mSocket, other.mSocket);
        return *this;
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() { Close(); }

    SOCKET Get() const { return mSocket; }
    bool IsValid() const { return mSocket != INVALID_SOCKET; }
    void Close()
    {
        if (IsValid())
            ::closesocket(mSocket);
        mSocket = INVALID_SOCKET;
    }
    // A close with a zero linger time sends RST instead of FIN.
    void Reset()
    {
        linger hard{1, 0};
        ::setsockopt(mSocket, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&hard), sizeof hard);
        Close();
    }

private:
    SOCKET mSocket = INVALID_SOCKET;
};

bool IsReadable(SOCKET s, long ms)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(s, &set);
    timeval wait{ms / 1000, (ms % 1000) * 1000};
    return ::select(0, &set, nullptr, nullptr, &wait) == 1;
}

bool SendAll(SOCKET s, const char* data, std::size_t size)
{
    while (size > 0) {
        int sent = ::send(s, data, static_cast<int>(std::min<std::size_t>(size, 65536)), 0);
        if (sent <= 0)
            return false;
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

bool ParseRequestHead(const std::string& head, HttpRequest& request)
{
    std::size_t lineEnd = head.find("\r\n");
    std::string line = head.substr(0, lineEnd);
    std::size_t sp1 = line.find(' ');
    std::size_t sp2 = line.rfind(' ');
    if (sp1 == std::string::npos || sp2 == sp1)
        return false;
    request.method = line.substr(0, sp1);
    std::string target = line.substr(sp1 + 1, sp2 - sp1 - 1);
    std::size_t q = target.find('?');
    request.path = target.substr(0, q);
    request.query = q == std::string::npos ? std::string() : target.substr(q + 1);
    while (lineEnd != std::string::npos && lineEnd + 2 < head.size()) {
        std::size_t next = head.find("\r\n", lineEnd + 2);
        line = head.substr(lineEnd + 2, next == std::string::npos ? std::string::npos : next - lineEnd - 2);
        std::size_t colon = line.find(':');
        if (colon != std::string::npos)
            request.headers.emplace_back(Trim(line.substr(0, colon)), Trim(line.substr(colon + 1)));
        lineEnd = next;
    }
    return true;
}

std::string ResponseHead(const HttpAnswer& answer)
{
    // The reason phrase is free text that no reader looks at.
    std::string head = "HTTP/1.1 " + std::to_string(answer.status) + " Status\r\n";
    if (!answer.contentType.empty())
        head += "Content-Type: " + answer.contentType + "\r\n";
    if (answer.sendLength)
        head += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n";
    head += "Connection: close\r\n";
    for (const auto& header : answer.headers)
        head += header.first + ": " + header.second + "\r\n";
    return head + "\r\n";
}

// A page answered as the kind says: cut after sentBytes of the body where the kind cuts it.
HttpAnswer OfKind(HttpAnswer::Kind kind, std::string body = std::string(), std::size_t sentBytes = 0)
{
    HttpAnswer answer = HttpAnswer::Page(std::move(body));
    answer.kind = kind;
    answer.cutAfter = sentBytes;
    return answer;
}

} // namespace

std::string HttpRequest::Header(const std::string& name) const
{
    for (const auto& header : headers)
        if (IEquals(header.first, name))
            return header.second;
    return std::string();
}

HttpAnswer HttpAnswer::Page(std::string body, int status, std::string contentType)
{
    HttpAnswer answer;
    answer.body = std::move(body);
    answer.status = status;
    answer.contentType = std::move(contentType);
    return answer;
}

HttpAnswer HttpAnswer::Redirect(const std::string& location)
{
    HttpAnswer answer = Page("", 302);
    answer.headers.emplace_back("Location", location);
    return answer;
}

HttpAnswer HttpAnswer::CloseWithoutAnswer() { return OfKind(Kind::CloseWithoutAnswer); }

HttpAnswer HttpAnswer::ResetMidBody(std::string body, std::size_t sentBytes)
{
    return OfKind(Kind::ResetMidBody, std::move(body), sentBytes);
}

HttpAnswer HttpAnswer::CloseMidBody(std::string body, std::size_t sentBytes)
{
    return OfKind(Kind::CloseMidBody, std::move(body), sentBytes);
}

HttpAnswer HttpAnswer::NeverAnswer() { return OfKind(Kind::NeverAnswer); }

HttpAnswer& HttpAnswer::Drip(std::size_t bytes, unsigned everyMs)
{
    dripBytes = bytes;
    dripEveryMs = everyMs;
    return *this;
}

HttpAnswer& HttpAnswer::WithoutLength()
{
    sendLength = false;
    return *this;
}

struct TestHttpServer::Impl {
    bool winsockStarted = false;
    Socket listener;
    unsigned short port = 0;

    mutable std::mutex mutex;
    mutable std::condition_variable changed;
    bool stopping = false;
    std::deque<HttpAnswer> script;
    HttpAnswer fallback = HttpAnswer::Page("");
    std::vector<HttpRequest> requests;
    std::thread acceptThread;
    std::vector<std::thread> connections;

    bool Listen();
    void AcceptLoop();
    void Serve(Socket connection);
    bool ReadRequest(SOCKET s, HttpRequest& request);
    // Appends what arrives within the idle limit; false on close, error or stop.
    bool ReceiveMore(SOCKET s, std::string& data);
    void Answer(Socket& connection, const HttpAnswer& answer);
    void SendBody(SOCKET s, const HttpAnswer& answer);
    HttpAnswer Record(const HttpRequest& request);
    // Waits ms milliseconds; false when the server began to stop meanwhile.
    bool Pause(unsigned ms);
    bool IsStopping()
    {
        std::lock_guard<std::mutex> lock(mutex);
        return stopping;
    }
};

bool TestHttpServer::Impl::Listen()
{
    WSADATA data;
    winsockStarted = ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
    if (!winsockStarted)
        return false;
    listener = Socket(::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP));
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    int size = sizeof addr;
    if (!listener.IsValid() || ::bind(listener.Get(), reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        ::listen(listener.Get(), SOMAXCONN) != 0 ||
        ::getsockname(listener.Get(), reinterpret_cast<sockaddr*>(&addr), &size) != 0) {
        listener.Close();
        return false;
    }
    port = ntohs(addr.sin_port);
    return true;
}

void TestHttpServer::Impl::AcceptLoop()
{
    while (!IsStopping()) {
        if (!IsReadable(listener.Get(), PollSliceMs))
            continue;
        Socket connection(::accept(listener.Get(), nullptr, nullptr));
        if (!connection.IsValid())
            continue;
        // A client that stops reading must not hold a send, and so the server's stop, for long.
        DWORD sendLimitMs = 5000;
        ::setsockopt(connection.Get(), SOL_SOCKET, SO_SNDTIMEO, reinterpret_cast<const char*>(&sendLimitMs),
                     sizeof sendLimitMs);
        std::lock_guard<std::mutex> lock(mutex);
        if (stopping)
            break;
        connections.emplace_back(&Impl::Serve, this, std::move(connection));
    }
}

void TestHttpServer::Impl::Serve(Socket connection)
{
    HttpRequest request;
    if (!ReadRequest(connection.Get(), request))
        return;
    Answer(connection, Record(request));
}

bool TestHttpServer::Impl::ReceiveMore(SOCKET s, std::string& data)
{
    for (unsigned waited = 0; waited < RequestIdleLimitMs; waited += PollSliceMs) {
        if (IsStopping())
            return false;
        if (!IsReadable(s, PollSliceMs))
            continue;
        char buf[4096];
        int got = ::recv(s, buf, sizeof buf, 0);
        if (got <= 0)
            return false;
        data.append(buf, static_cast<std::size_t>(got));
        return true;
    }
    return false;
}

bool TestHttpServer::Impl::ReadRequest(SOCKET s, HttpRequest& request)
{
    std::string data;
    std::size_t headEnd;
    while ((headEnd = data.find("\r\n\r\n")) == std::string::npos)
        if (!ReceiveMore(s, data))
            return false;
    if (!ParseRequestHead(data.substr(0, headEnd), request))
        return false;
    std::size_t length = std::strtoul(request.Header("Content-Length").c_str(), nullptr, 10);
    data.erase(0, headEnd + 4);
    while (data.size() < length)
        if (!ReceiveMore(s, data))
            return false;
    request.body = data.substr(0, length);
    return true;
}

HttpAnswer TestHttpServer::Impl::Record(const HttpRequest& request)
{
    std::lock_guard<std::mutex> lock(mutex);
    requests.push_back(request);
    changed.notify_all();
    if (script.empty())
        return fallback;
    HttpAnswer answer = std::move(script.front());
    script.pop_front();
    return answer;
}

bool TestHttpServer::Impl::Pause(unsigned ms)
{
    std::unique_lock<std::mutex> lock(mutex);
    return !changed.wait_for(lock, std::chrono::milliseconds(ms), [this] { return stopping; });
}

void TestHttpServer::Impl::Answer(Socket& connection, const HttpAnswer& answer)
{
    if (answer.kind == HttpAnswer::Kind::NeverAnswer) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [this] { return stopping; });
        return;
    }
    if (answer.kind == HttpAnswer::Kind::CloseWithoutAnswer)
        return;
    std::string head = ResponseHead(answer);
    if (!SendAll(connection.Get(), head.data(), head.size()))
        return;
    SendBody(connection.Get(), answer);
    if (answer.kind == HttpAnswer::Kind::ResetMidBody) {
        connection.Reset();
        return;
    }
    ::shutdown(connection.Get(), SD_SEND);
}

void TestHttpServer::Impl::SendBody(SOCKET s, const HttpAnswer& answer)
{
    std::size_t size = answer.body.size();
    if (answer.kind == HttpAnswer::Kind::ResetMidBody || answer.kind == HttpAnswer::Kind::CloseMidBody)
        size = std::min(size, answer.cutAfter);
    std::size_t piece = answer.dripBytes ? answer.dripBytes : size;
    for (std::size_t sent = 0; sent < size; sent += piece) {
        if (sent > 0 && !Pause(answer.dripEveryMs))
            return;
        if (!SendAll(s, answer.body.data() + sent, std::min(piece, size - sent)))
            return;
    }
}

TestHttpServer::TestHttpServer() : mImpl(new Impl)
{
    if (mImpl->Listen())
        mImpl->acceptThread = std::thread(&Impl::AcceptLoop, mImpl.get());
}

TestHttpServer::~TestHttpServer()
{
    {
        std::lock_guard<std::mutex> lock(mImpl->mutex);
        mImpl->stopping = true;
        mImpl->changed.notify_all();
    }
    if (mImpl->acceptThread.joinable())
        mImpl->acceptThread.join();
    // The accept thread has ended, so no connection is added any more.
    for (std::thread& connection : mImpl->connections)
        if (connection.joinable())
            connection.join();
    mImpl->listener.Close();
    if (mImpl->winsockStarted)
        ::WSACleanup();
}

bool TestHttpServer::IsListening() const { return mImpl->listener.IsValid(); }

unsigned short TestHttpServer::Port() const { return mImpl->port; }

std::string TestHttpServer::Url(const std::string& target) const
{
    return "http://127.0.0.1:" + std::to_string(mImpl->port) + target;
}

void TestHttpServer::Enqueue(HttpAnswer answer)
{
    std::lock_guard<std::mutex> lock(mImpl->mutex);
    mImpl->script.push_back(std::move(answer));
}

void TestHttpServer::SetDefault(HttpAnswer answer)
{
    std::lock_guard<std::mutex> lock(mImpl->mutex);
    mImpl->fallback = std::move(answer);
}

std::vector<HttpRequest> TestHttpServer::Requests() const
{
    std::lock_guard<std::mutex> lock(mImpl->mutex);
    return mImpl->requests;
}

bool TestHttpServer::WaitForRequests(std::size_t count, unsigned timeoutMs) const
{
    std::unique_lock<std::mutex> lock(mImpl->mutex);
    return mImpl->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                   [this, count] { return mImpl->requests.size() >= count; });
}

} // namespace OrnTest
