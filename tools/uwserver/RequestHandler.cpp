// The server's request path: targets in origin or absolute form, parameters, nonce, delay, files and refusals.
#include "RequestHandler.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ReplySigner.h"
#include "SignedReply.h"
#include "VarPairs.h"

namespace {

const char cVersionPage[] = "/updatewatch/updatewatch.aspx";
const char cDelayPage[] = "/updatewatch/UwDelayTest.aspx";
const char cFilesPrefix[] = "/files/";
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

bool StartsWith(const std::string& text, const char* prefix)
{
    return text.compare(0, std::strlen(prefix), prefix) == 0;
}

void Refuse(CHttpAnswer& answer, int status, const std::string& why)
{
    answer.status = answer.entry.status = status;
    answer.entry.error = why;
    answer.body = why + "\n";
}

// The delay page's wait; false when VR_TIMEDELAY is no whole number of seconds in range.
bool ReadDelay(const Orn::CVarList& params, int& seconds)
{
    const char* value = params.Find("VR_TIMEDELAY");
    std::string text = value ? value : std::to_string(CRequestHandler::cDefaultDelay);
    if (text.empty() || text.size() > 3 || text.find_first_not_of("0123456789") != std::string::npos)
        return false;
    int wait = std::stoi(text);
    if (wait > CRequestHandler::cMaxDelay)
        return false;
    seconds = wait;
    return true;
}

// A file of the folder's files/ is asked for by its plain name: no path, nothing hidden, no control character
// (a zero byte would end the name early).
bool IsPlainFileName(const std::string& name)
{
    auto control = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    return !name.empty() && name[0] != '.' && name.find_first_of("/\\") == std::string::npos &&
           std::none_of(name.begin(), name.end(), control);
}

// The record's line as far as the request goes; the status and the rest follow with the answer.
CRequestEntry EntryOf(const CHttpRequest& req, const CTarget& target)
{
    CRequestEntry entry;
    entry.method = req.method;
    entry.host = target.host.empty() ? req.host : target.host;
    entry.path = target.path;
    entry.target = req.target;
    return entry;
}

} // namespace

CHttpAnswer RefusedAnswer(const CHttpRequest& req, int status, const std::string& why)
{
    CHttpAnswer answer;
    answer.entry = EntryOf(req, SplitTarget(req.target));
    Refuse(answer, status, why);
    return answer;
}

CHttpAnswer CRequestHandler::Answer(const CHttpRequest& req) const
{
    CTarget target = SplitTarget(req.target);
    CHttpAnswer answer;
    answer.entry = EntryOf(req, target);
    bool isGet = req.method == "GET" || req.method == "HEAD";
    if (!target.error.empty()) {
        Refuse(answer, 400, target.error);
    } else if (!isGet && req.method != "POST") {
        Refuse(answer, 405, "method " + req.method + " is not served: use GET or POST");
        answer.allow = "GET, POST";
    } else if (target.path == cVersionPage || target.path == cDelayPage) {
        AnswerPage(req, target.path, target.query, answer);
    } else if (StartsWith(target.path, cFilesPrefix) && !isGet) {
        Refuse(answer, 405, "method " + req.method + " is not served for files: use GET or HEAD");
        answer.allow = "GET, HEAD";
    } else if (StartsWith(target.path, cFilesPrefix)) {
        AnswerFile(target.path.substr(sizeof cFilesPrefix - 1), answer);
    } else {
        Refuse(answer, 404,
               "no page here: " + target.path + " (this server answers " + cVersionPage + ", " + cDelayPage +
                   " and " + cFilesPrefix + "NAME)");
    }
    return answer;
}

void CRequestHandler::AnswerPage(const CHttpRequest& req, const std::string& path, const std::string& query,
                                 CHttpAnswer& answer) const
{
    // The set this request started with, kept to its answer whatever reloads happen meanwhile.
    std::shared_ptr<const CReplyFolder> folder = mFolder.Current();
    if (!folder)
        return Refuse(answer, 503, "no reply folder is loaded");
    bool formBody = req.method == "POST" && !req.body.empty();
    if (formBody && strncasecmp(req.contentType.c_str(), cFormType, sizeof cFormType - 1) != 0)
        return Refuse(answer, 400, std::string("a POST body must be ") + cFormType);
    Orn::CVarList params;
    {
        std::lock_guard<std::mutex> hold(mParseLock);
        params.ParseQuery(query.c_str(), true);
        if (formBody)
            params.ParseQuery(req.body.c_str(), true);
    }
    answer.entry.params = VarPairs(params);
    const char* nonce = params.Find(Orn::ReplyNonceVar);
    if (nonce && !IsReplyNonce(nonce))
        return Refuse(answer, 400, std::string(Orn::ReplyNonceVar) + " must be 32 hexadecimal digits");
    if (path == cDelayPage && !ReadDelay(params, answer.delaySeconds))
        return Refuse(answer, 400,
                      "VR_TIMEDELAY must be a whole number of seconds from 0 to " + std::to_string(cMaxDelay));
    const std::string& reply = folder->rules.Choose(params);
    // The signature covers the request as it came: method, path, the query and body as received, the nonce.
    Orn::CSignedRequest signedFor;
    signedFor.method = req.method.c_str();
    signedFor.path = path.c_str();
    signedFor.query = query.c_str();
    if (formBody)
        signedFor.body = req.body.c_str();
    signedFor.nonce = nonce ? nonce : "";
    answer.body = folder->replies.Page(reply, &signedFor);
    if (answer.body.empty())
        return Refuse(answer, 500, "the reply could not be signed");
    answer.entry.status = 200;
    answer.entry.reply = reply;
}

void CRequestHandler::AnswerFile(const std::string& name, CHttpAnswer& answer) const
{
    if (!IsPlainFileName(name))
        return Refuse(answer, 404,
                      "not a plain file name: '" + name + "' (files are asked for as " + cFilesPrefix +
                          "NAME, without a path or a leading dot)");
    std::string path = mFolder.Path() + "/files/" + name;
    // Not blocking, so that a named pipe put there by mistake cannot hold the thread.
    CFileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat info {};
    if (!file.IsOpen())
        return Refuse(answer, 404, "no file " + name + " here: " + std::strerror(errno));
    if (::fstat(file.Get(), &info) != 0 || !S_ISREG(info.st_mode))
        return Refuse(answer, 404, "no file " + name + " here: not a regular file");
    answer.status = answer.entry.status = 200;
    answer.contentType = "application/octet-stream";
    answer.file = std::move(file);
    answer.fileSize = static_cast<std::uint64_t>(info.st_size);
}
