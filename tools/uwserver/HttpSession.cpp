// One connection: the TLS handshake, each request read whole under a deadline, the delay page's wait on a timer,
// answers written step by step (a step that makes no progress in time ends the connection), and a short linger
// after a refusal so that the client reads it before the connection closes.
#include "HttpSession.h"

#include <boost/asio/post.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/stream_traits.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http.hpp>

#include <optional>
#include <type_traits>

namespace net = boost::asio;
namespace http = boost::beast::http;
using tcp = net::ip::tcp;
using boost::system::error_code;

namespace {

constexpr std::size_t cMaxHeader = 16 * 1024;
constexpr std::size_t cMaxBuffer = 2 * (cMaxHeader + CRequestHandler::cMaxBody);
// After a refusal, how long and how much of the rest of the request is read and dropped.
constexpr std::chrono::seconds cLinger{1};
constexpr std::size_t cMaxLinger = 64 * 1024;
const char cContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";

template <class Text>
std::string Str(const Text& text)
{
    return std::string(text.data(), text.size());
}

// As much of the request as the parser has, its body moved out.
CHttpRequest RequestOf(http::request_parser<http::string_body>& parser)
{
    CHttpRequest req;
    if (!parser.is_header_done())
        return req;
    http::request<http::string_body>& msg = parser.get();
    req.method = Str(msg.method_string());
    req.target = Str(msg.target());
    req.host = Str(msg[http::field::host]);
    req.contentType = Str(msg[http::field::content_type]);
    req.body = std::move(msg.body());
    return req;
}

// A response and its serializer, alive until the last byte is written.
template <class Body>
struct CWriting {
    explicit CWriting(http::response<Body>&& r) : response(std::move(r)) {}
    http::response<Body> response;
    http::response_serializer<Body> serializer{response};
};

template <class Body>
void SetHeaders(http::response<Body>& res, const CHttpAnswer& answer, bool keepAlive)
{
    res.result(static_cast<unsigned>(answer.status));
    res.set(http::field::content_type, answer.contentType);
    if (*answer.allow)
        res.set(http::field::allow, answer.allow);
    if (answer.status == 503)
        res.set(http::field::retry_after, "1");
    res.keep_alive(keepAlive);
}

} // namespace

class CSession : public std::enable_shared_from_this<CSession> {
public:
    virtual ~CSession() = default;
    virtual void Start() = 0;
    // From any thread.
    virtual void Stop() = 0;
};

namespace {

template <class Stream>
class CConnection final : public CSession {
    static constexpr bool cTls = !std::is_same_v<Stream, tcp::socket>;

public:
    CConnection(CSessionShared& shared, tcp::socket socket, bool refuse)
        : mShared(shared), mStream(MakeStream(std::move(socket), shared)), mTimer(mStream.get_executor()),
          mDelay(mStream.get_executor()), mRefuse(refuse)
    {
        ++(mRefuse ? mShared.refusing : mShared.serving);
    }
    ~CConnection() override
    {
        --(mRefuse ? mShared.refusing : mShared.serving);
        std::lock_guard<std::mutex> hold(mShared.lock);
        mShared.live.erase(this);
    }

    // The accepting thread hands the connection over to its own strand, where everything else of it runs.
    void Start() override
    {
        net::post(mStream.get_executor(), [self = Self()] { self->Open(); });
    }

    void Stop() override
    {
        net::post(mStream.get_executor(), [self = Self()] { self->OnStop(); });
    }

private:
    enum class EState { starting, reading, delaying, writing, closing };

    void Open()
    {
        if constexpr (cTls) {
            Arm(mRefuse ? cLinger : mShared.limits.requestTimeout);
            mStream.async_handshake(net::ssl::stream_base::server, [self = Self()](error_code ec) {
                self->Disarm();
                ec ? self->Close() : self->Begin();
            });
        } else {
            Begin();
        }
    }

    static Stream MakeStream(tcp::socket socket, CSessionShared& shared)
    {
        if constexpr (cTls)
            return Stream(std::move(socket), *shared.tls);
        else
            return socket;
    }

    std::shared_ptr<CConnection> Self() { return std::static_pointer_cast<CConnection>(shared_from_this()); }
    tcp::socket& Socket() { return boost::beast::get_lowest_layer(mStream); }

    // The deadline of the step in progress: when it passes, the step's socket operations are cancelled.
    void Arm(std::chrono::seconds limit)
    {
        mTimedOut = false;
        mTimer.expires_after(limit);
        mTimer.async_wait([self = Self(), armed = ++mArmed](error_code ec) {
            if (ec || armed != self->mArmed)
                return;
            self->mTimedOut = true;
            error_code ignored;
            self->Socket().cancel(ignored);
        });
    }
    void Disarm()
    {
        ++mArmed;
        mTimer.cancel();
    }

    void Begin()
    {
        if (!mRefuse)
            return ReadRequest();
        mKeepAlive = false;
        Send(RefusedAnswer({}, 503,
                           "the server is at its limit of " + std::to_string(mShared.limits.maxConnections) +
                               " connections: try again later"));
    }

    void ReadRequest()
    {
        if (mShared.stopping)
            return Close();
        mState = EState::reading;
        mHead = false;
        mParser.emplace();
        mParser->header_limit(cMaxHeader);
        mParser->body_limit(CRequestHandler::cMaxBody);
        Arm(mShared.limits.requestTimeout);
        http::async_read_header(mStream, mBuffer, *mParser, [self = Self()](error_code ec, std::size_t) {
            ec ? self->OnReadError(ec) : self->OnHeader();
        });
    }

    void OnHeader()
    {
        if (mParser->is_done())
            return OnRequest();
        auto readBody = [self = Self()](error_code ec, std::size_t) {
            if (ec)
                return self->OnReadError(ec);
            http::async_read(self->mStream, self->mBuffer, *self->mParser, [self](error_code ec, std::size_t) {
                ec ? self->OnReadError(ec) : self->OnRequest();
            });
        };
        if (boost::beast::iequals(mParser->get()[http::field::expect], "100-continue"))
            net::async_write(mStream, net::buffer(cContinue, sizeof cContinue - 1), readBody);
        else
            readBody(error_code(), 0);
    }

    void OnReadError(error_code ec)
    {
        Disarm();
        bool begun = mParser->got_some() || mBuffer.size() > 0;
        if (ec == http::error::body_limit)
            return Refuse(413, "request body over " + std::to_string(CRequestHandler::cMaxBody) + " bytes");
        if (ec == http::error::header_limit)
            return Refuse(431, "request header over " + std::to_string(cMaxHeader) + " bytes");
        if (ec.category() == http::make_error_code(http::error::bad_method).category() &&
            ec != http::error::end_of_stream && ec != http::error::partial_message)
            return Refuse(400, "malformed request: " + ec.message());
        if (mTimedOut && begun && !mShared.stopping)
            return Refuse(408, "the request did not arrive whole within " +
                                   std::to_string(mShared.limits.requestTimeout.count()) + " s");
        Close();
    }

    void Refuse(int status, const std::string& why)
    {
        mKeepAlive = false;
        Send(RefusedAnswer(RequestOf(*mParser), status, why));
    }

    void OnRequest()
    {
        Disarm();
        mKeepAlive = mParser->get().keep_alive();
        mHead = mParser->get().method() == http::verb::head;
        CHttpAnswer answer = mShared.handler.Answer(RequestOf(*mParser));
        if (answer.delaySeconds == 0)
            return Send(std::move(answer));
        mState = EState::delaying;
        mAnswer = std::move(answer);
        mDelay.expires_after(std::chrono::seconds(mAnswer.delaySeconds));
        mDelay.async_wait([self = Self()](error_code ec) { self->OnDelayed(ec); });
    }

    void OnDelayed(error_code ec)
    {
        if (ec || mShared.stopping) {
            mAnswer.status = mAnswer.entry.status = 503;
            mAnswer.entry.error = "the server is stopping";
            mAnswer.body = mAnswer.entry.error + "\n";
            mAnswer.entry.reply.clear();
        }
        Send(std::move(mAnswer));
    }

    void Send(CHttpAnswer answer)
    {
        if (!mRefuse)
            mShared.record.Write(answer.entry);
        bool keepAlive = mKeepAlive && !mShared.stopping;
        if (mHead) {
            http::response<http::empty_body> res;
            SetHeaders(res, answer, keepAlive);
            res.content_length(answer.file.IsOpen() ? answer.fileSize : answer.body.size());
            return Write(std::move(res));
        }
        if (answer.file.IsOpen()) {
            http::response<http::file_body> res;
            SetHeaders(res, answer, keepAlive);
            boost::beast::file_posix file;
            error_code ec;
            file.native_handle(answer.file.Take());
            res.body().reset(std::move(file), ec);
            res.content_length(answer.fileSize);
            return Write(std::move(res));
        }
        http::response<http::string_body> res;
        SetHeaders(res, answer, keepAlive);
        res.body() = std::move(answer.body);
        res.prepare_payload();
        Write(std::move(res));
    }

    template <class Body>
    void Write(http::response<Body>&& res)
    {
        mState = EState::writing;
        WriteSome(std::make_shared<CWriting<Body>>(std::move(res)));
    }

    template <class Body>
    void WriteSome(std::shared_ptr<CWriting<Body>> writing)
    {
        Arm(mShared.limits.requestTimeout);
        http::async_write_some(mStream, writing->serializer, [self = Self(), writing](error_code ec, std::size_t) {
            self->Disarm();
            if (ec)
                return self->Close();
            if (!writing->serializer.is_done())
                return self->WriteSome(writing);
            writing->response.keep_alive() && !self->mShared.stopping ? self->ReadRequest() : self->Linger();
        });
    }

    // Reads and drops what the client still sends, for a moment, so that closing does not reset the
    // connection before the client has read the answer.
    void Linger()
    {
        mState = EState::closing;
        if constexpr (cTls) {
            return Close();
        } else {
            error_code ignored;
            Socket().shutdown(tcp::socket::shutdown_send, ignored);
            Arm(cLinger);
            Drain();
        }
    }

    void Drain()
    {
        Socket().async_read_some(net::buffer(mScratch), [self = Self()](error_code ec, std::size_t n) {
            self->mDrained += n;
            ec || self->mDrained > cMaxLinger ? self->Close() : self->Drain();
        });
    }

    void Close()
    {
        mState = EState::closing;
        Disarm();
        mDelay.cancel();
        error_code ignored;
        Socket().shutdown(tcp::socket::shutdown_both, ignored);
        Socket().close(ignored);
    }

    void OnStop()
    {
        error_code ignored;
        if (mState == EState::reading || mState == EState::starting)
            Socket().cancel(ignored);
        else if (mState == EState::delaying)
            mDelay.cancel();
    }

    CSessionShared& mShared;
    Stream mStream;
    net::steady_timer mTimer;
    net::steady_timer mDelay;
    const bool mRefuse;
    EState mState = EState::starting;
    std::uint64_t mArmed = 0;
    bool mTimedOut = false;
    bool mKeepAlive = false;
    bool mHead = false;
    // A whole request at most, and what a client sent after it: the parser's limits keep it below this.
    boost::beast::flat_buffer mBuffer{cMaxBuffer};
    std::optional<http::request_parser<http::string_body>> mParser;
    CHttpAnswer mAnswer; // a delayed answer, while it waits
    std::size_t mDrained = 0;
    char mScratch[1024];
};

} // namespace

void StartSession(CSessionShared& shared, tcp::socket socket, bool refuse)
{
    std::shared_ptr<CSession> session;
    if (shared.tls)
        session = std::make_shared<CConnection<net::ssl::stream<tcp::socket>>>(shared, std::move(socket), refuse);
    else
        session = std::make_shared<CConnection<tcp::socket>>(shared, std::move(socket), refuse);
    {
        std::lock_guard<std::mutex> hold(shared.lock);
        shared.live.emplace(session.get(), session);
    }
    session->Start();
}

void StopSessions(CSessionShared& shared)
{
    std::vector<std::shared_ptr<CSession>> sessions;
    {
        std::lock_guard<std::mutex> hold(shared.lock);
        for (const auto& entry : shared.live) {
            if (auto session = entry.second.lock())
                sessions.push_back(std::move(session));
        }
    }
    for (const auto& session : sessions)
        session->Stop();
}
