// One connection of the HTTP layer (internal to HttpServer): what the connections share, and how one starts.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/context.hpp>

#include <atomic>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "HttpServer.h"

class CSession;

// Shared by the server and its connections, which the server can stop.
struct CSessionShared {
    CSessionShared(const CRequestHandler& h, CRequestRecord& r, const CServerLimits& l)
        : handler(h), record(r), limits(l)
    {
    }

    const CRequestHandler& handler;
    CRequestRecord& record;
    const CServerLimits limits;
    boost::asio::ssl::context* tls = nullptr;
    std::atomic<bool> stopping{false};
    std::atomic<std::size_t> serving{0};  // connections being served
    std::atomic<std::size_t> refusing{0}; // connections beyond the cap, getting their 503
    std::mutex lock;
    std::unordered_map<CSession*, std::weak_ptr<CSession>> live;
};

// Serves a connection, or with `refuse` only tells it that the server is full.
void StartSession(CSessionShared& shared, boost::asio::ip::tcp::socket socket, bool refuse);
// Every live connection: ends its wait for a request, answers a delayed request at once (503), and closes after
// the answer in progress.
void StopSessions(CSessionShared& shared);
