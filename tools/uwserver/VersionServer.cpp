// Serving version requests: targets in origin or absolute form, parameters, delays, errors and the record.
#include "VersionServer.h"

#include <httplib.h>

#include <cerrno>
#include <cstring>
#include <strings.h>

#include "ReplySigner.h"
#include "SignedReply.h"
#include "VarPairs.h"

using namespace Orn;

namespace {

const char cVersionPage[] = "/updatewatch/updatewatch.aspx";
const char cDelayPage[] = "/updatewatch/UwDelayTest.aspx";
const char cFormType[] = "application/x-www-form-urlencoded";

// The target of a request: "/path?query", or "http://host/path?query" when the server stands as a proxy.
struct CTarget {
    std::string host;
    std::string path;
    std::string query;
    std::string error;
};

CTarget SplitTarget(const std::string& target)
{
    CTarget t;
    std::size_t mark = target.find('?');
    t.path = target.substr(0, mark);
    if (mark != std::string::npos)
        t.query = target.substr(mark + 1);
    const std::string scheme = "http://";
    if (t.path.compare(0, scheme.size(), scheme) == 0) {
        std::size_t slash = t.path.find('/', scheme.size());
        t.host = t.path.substr(scheme.size(), slash - scheme.size());
        t.path = slash == std::string::npos ? "/" : t.path.substr(slash);
        if (t.host.empty())
            t.error = "the request target names no host";
    } else if (t.path.empty() || t.path[0] != '/') {
        t.error = "the request target must be a path or an http:// URL";
    }
    return t;
}

bool StartsWithNoCase(const std::string& text, const char* prefix)
{
    return strncasecmp(text.c_str(), prefix, std::strlen(prefix)) == 0;
}

// Methods of HTTP that the library reads but the server does not serve.
bool IsOtherMethod(const std::string& method)
{
    for (const char* m : {"PUT", "DELETE", "PATCH", "OPTIONS", "CONNECT", "TRACE"}) {
        if (method == m)
            return true;
    }
    return false;
}

std::string LibraryErrorText(const httplib::Request& req, int& status)
{
    if (IsOtherMethod(req.method)) {
        status = 405;
        return "method " + req.method + " is not served: use GET or POST";
    }
    switch (status) {
    case 400: return "malformed request: the request line or a header could not be read";
    case 413: return "request body over " + std::to_string(CVersionServer::cMaxBody) + " bytes";
    case 414: return "request target too long";
    case 404: return "no page here";
    default: return "the server could not answer (HTTP status " + std::to_string(status) + ")";
    }
}

// The parameters of a POST come in its body; any other body is not read.
bool IsFormPost(const httplib::Request& req) { return req.method == "POST" && !req.body.empty(); }

CRequestEntry NewEntry(const httplib::Request& req, const CTarget& target)
{
    CRequestEntry entry;
    entry.method = req.method;
    entry.host = target.host.empty() ? req.get_header_value("Host") : target.host;
    entry.path = target.path;
    return entry;
}

} // namespace

CVersionServer::CVersionServer(const CServerRules& rules, const CReplyStore& replies, CRequestRecord& record)
    : mRules(rules), mReplies(replies), mRecord(record), mServer(std::make_unique<httplib::Server>())
{
    auto handle = [this](const httplib::Request& req, httplib::Response& res) { Handle(req, res); };
    mServer->Get(".*", handle);
    mServer->Post(".*", handle);
    mServer->set_error_handler(
        httplib::Server::HandlerWithResponse([this](const httplib::Request& req, httplib::Response& res) {
            return HandleLibraryError(req, res) ? httplib::Server::HandlerResponse::Handled
                                                : httplib::Server::HandlerResponse::Unhandled;
        }));
    // The library's default would also let a second server share the port and take some of the requests.
    mServer->set_socket_options([](socket_t sock) {
        int yes = 1;
        setsockopt(sock, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    });
    mServer->set_payload_max_length(cMaxBody);
    mServer->set_keep_alive_timeout(2);
    // Delayed answers hold a thread each; the rest still get one.
    mServer->new_task_queue = [] { return new httplib::ThreadPool(16); };
}

CVersionServer::~CVersionServer() = default;

bool CVersionServer::Bind(const std::string& host, int port, std::string& error)
{
    errno = 0;
    mPort = port == 0 ? mServer->bind_to_any_port(host) : (mServer->bind_to_port(host, port) ? port : -1);
    if (mPort > 0)
        return true;
    error = "can't listen on " + host + ":" + std::to_string(port);
    if (errno != 0)
        error += std::string(" (") + std::strerror(errno) + ")";
    return false;
}

void CVersionServer::Serve() { mServer->listen_after_bind(); }

void CVersionServer::Stop()
{
    {
        std::lock_guard<std::mutex> hold(mLock);
        mStopping = true;
    }
    mStopped.notify_all();
    mServer->stop();
}

void CVersionServer::Handle(const httplib::Request& req, httplib::Response& res)
{
    CTarget target = SplitTarget(req.target);
    CRequestEntry entry = NewEntry(req, target);
    std::string nonce;
    if (!target.error.empty()) {
        entry.status = 400;
        entry.error = target.error;
    } else if (target.path == cVersionPage || target.path == cDelayPage) {
        Answer(req, target.query, target.path == cDelayPage, entry, nonce);
    } else {
        entry.status = 404;
        entry.error =
            "no page here: " + target.path + " (this server answers " + cVersionPage + " and " + cDelayPage + ")";
    }
    Orn::CSignedRequest signedFor;
    signedFor.method = req.method.c_str();
    signedFor.path = target.path.c_str();
    signedFor.query = target.query.c_str();
    if (IsFormPost(req))
        signedFor.body = req.body.c_str();
    signedFor.nonce = nonce.c_str();
    std::string page = entry.status == 200 ? mReplies.Page(entry.reply, &signedFor) : "";
    if (entry.status == 200 && page.empty()) {
        entry.status = 500;
        entry.error = "the reply could not be signed";
    }
    res.status = entry.status;
    res.set_content(entry.status == 200 ? page : entry.error + "\n", "text/plain");
    mRecord.Write(entry);
}

void CVersionServer::Answer(const httplib::Request& req, const std::string& query, bool delayPage, CRequestEntry& entry,
                            std::string& nonce)
{
    CVarList params;
    if (!ReadParams(req, query, params, entry) || !ReadNonce(params, nonce, entry) ||
        (delayPage && !Delay(params, entry)))
        return;
    entry.status = 200;
    entry.reply = mRules.Choose(params);
}

// The nonce a signed reply is made for; none (an unsigned reply) when the request carries no VR_Nonce.
bool CVersionServer::ReadNonce(const CVarList& params, std::string& nonce, CRequestEntry& entry)
{
    const char* value = params.Find(ReplyNonceVar);
    nonce = value ? value : "";
    if (!value || IsReplyNonce(nonce))
        return true;
    entry.status = 400;
    entry.error = std::string(ReplyNonceVar) + " must be 32 hexadecimal digits";
    return false;
}

bool CVersionServer::ReadParams(const httplib::Request& req, const std::string& query, CVarList& params,
                                CRequestEntry& entry)
{
    bool formBody = IsFormPost(req);
    if (formBody && !StartsWithNoCase(req.get_header_value("Content-Type"), cFormType)) {
        entry.status = 400;
        entry.error = std::string("a POST body must be ") + cFormType;
        return false;
    }
    {
        std::lock_guard<std::mutex> hold(mParseLock);
        params.ParseQuery(query.c_str(), true);
        if (formBody)
            params.ParseQuery(req.body.c_str(), true);
    }
    entry.params = VarPairs(params);
    return true;
}

bool CVersionServer::Delay(const CVarList& params, CRequestEntry& entry)
{
    const char* value = params.Find("VR_TIMEDELAY");
    std::string text = value ? value : std::to_string(cDefaultDelay);
    bool digits = !text.empty() && text.size() <= 3 && text.find_first_not_of("0123456789") == std::string::npos;
    if (!digits || std::stoi(text) > cMaxDelay) {
        entry.status = 400;
        entry.error = "VR_TIMEDELAY must be a whole number of seconds from 0 to " + std::to_string(cMaxDelay);
        return false;
    }
    std::unique_lock<std::mutex> hold(mLock);
    if (mStopped.wait_for(hold, std::chrono::seconds(std::stoi(text)), [this] { return mStopping; })) {
        entry.status = 503;
        entry.error = "the server is stopping";
        return false;
    }
    return true;
}

// Refusals of the library itself come here with an empty body; the server's own answers are left alone.
bool CVersionServer::HandleLibraryError(const httplib::Request& req, httplib::Response& res)
{
    if (!res.body.empty())
        return false;
    CTarget target = SplitTarget(req.target);
    CRequestEntry entry = NewEntry(req, target);
    entry.status = res.status;
    entry.error = LibraryErrorText(req, entry.status);
    res.status = entry.status;
    if (res.status == 405)
        res.set_header("Allow", "GET, POST");
    res.set_content(entry.error + "\n", "text/plain");
    mRecord.Write(entry);
    return true;
}
