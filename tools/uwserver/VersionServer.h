// The local version server: HTTP through cpp-httplib, the version page and the delay page, replies chosen by
// the rules, every request recorded, and clear answers to requests it cannot serve.
#pragma once

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>

#include "ReplyStore.h"
#include "RequestRecord.h"
#include "ServerRules.h"

namespace httplib {
class Server;
struct Request;
struct Response;
} // namespace httplib

class CVersionServer {
public:
    static constexpr std::size_t cMaxBody = 8192;
    // VR_TIMEDELAY of the delay page: its default and its largest value, in seconds.
    static constexpr int cDefaultDelay = 1;
    static constexpr int cMaxDelay = 120;

    CVersionServer(const CServerRules& rules, const CReplyStore& replies, CRequestRecord& record);
    ~CVersionServer();
    CVersionServer(const CVersionServer&) = delete;
    CVersionServer& operator=(const CVersionServer&) = delete;

    // Port 0 picks a free port. False with the reason in `error`.
    bool Bind(const std::string& host, int port, std::string& error);
    int Port() const { return mPort; }
    // Serves until Stop is called.
    void Serve();
    // From any thread: ends Serve and cuts short any delayed answer.
    void Stop();

private:
    void Handle(const httplib::Request& req, httplib::Response& res);
    bool HandleLibraryError(const httplib::Request& req, httplib::Response& res);
    void Answer(const httplib::Request& req, const std::string& query, bool delayPage, CRequestEntry& entry,
                std::string& nonce);
    bool ReadNonce(const Orn::CVarList& params, std::string& nonce, CRequestEntry& entry);
    bool ReadParams(const httplib::Request& req, const std::string& query, Orn::CVarList& params, CRequestEntry& entry);
    bool Delay(const Orn::CVarList& params, CRequestEntry& entry);

    const CServerRules& mRules;
    const CReplyStore& mReplies;
    CRequestRecord& mRecord;
    std::unique_ptr<httplib::Server> mServer;
    int mPort = 0;
    // A damaged query can make the framework's parser assert, and assertion reports share state across the
    // process: requests are parsed one at a time.
    std::mutex mParseLock;
    std::mutex mLock;
    std::condition_variable mStopped;
    bool mStopping = false;
};
