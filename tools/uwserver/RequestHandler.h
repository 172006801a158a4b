// What the server answers to a request, apart from any HTTP library: the target split into host, path and query,
// the parameters of the query and the form body, the nonce, the delay page's delay, the reply the rules choose,
// the installer files of the folder, and a status with a text that says why for every request it cannot serve.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "FileDescriptor.h"
#include "RequestRecord.h"
#include "ServedFolder.h"

// A request as the HTTP layer read it.
struct CHttpRequest {
    std::string method;
    std::string target; // as received: origin form, or absolute form when the server stands as a proxy
    std::string host;   // the Host header
    std::string contentType;
    std::string body;
};

struct CHttpAnswer {
    int status = 200;
    const char* contentType = "text/plain";
    std::string body;       // the page, or why the request is refused
    const char* allow = ""; // for 405: the methods that are served
    int delaySeconds = 0;   // the delay page: how long to wait before the answer goes out
    // An installer file to send instead of the body, open for reading, and its size.
    CFileDescriptor file;
    std::uint64_t fileSize = 0;
    CRequestEntry entry; // the record's line, written when the answer goes out
};

class CRequestHandler {
public:
    static constexpr std::size_t cMaxBody = 8192;
    // VR_TIMEDELAY of the delay page: its default and its largest value, in seconds.
    static constexpr int cDefaultDelay = 1;
    static constexpr int cMaxDelay = 120;

    // The folder must outlive the handler.
    explicit CRequestHandler(const CServedFolder& folder) : mFolder(folder) {}

    // Never throws; safe from the server's threads.
    CHttpAnswer Answer(const CHttpRequest& req) const;

private:
    void AnswerPage(const CHttpRequest& req, const std::string& path, const std::string& query,
                    CHttpAnswer& answer) const;
    void AnswerFile(const std::string& name, CHttpAnswer& answer) const;

    const CServedFolder& mFolder;
    // A damaged query can make the framework's parser assert, and assertion reports share state across the
    // process: requests are parsed one at a time.
    mutable std::mutex mParseLock;
};

// The answer to a request the HTTP layer refuses itself (as much of it as was read): the status, the text that
// says why, and the record's line.
CHttpAnswer RefusedAnswer(const CHttpRequest& req, int status, const std::string& why);
