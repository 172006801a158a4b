// The server's record: one JSON line per request, written as soon as the request is answered.
#pragma once

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

struct CRequestEntry {
    std::string method;
    std::string host;
    std::string path;
    std::string target; // the request target exactly as received
    std::vector<std::pair<std::string, std::string>> params; // in the order the request gave them
    int status = 0;
    std::string reply; // the reply file sent, empty when none
    std::string error; // why the request was refused
};

class CRequestRecord {
public:
    // Writes to an open file, which stays the caller's.
    explicit CRequestRecord(std::FILE* out) : mOut(out) {}
    ~CRequestRecord();
    CRequestRecord(const CRequestRecord&) = delete;
    CRequestRecord& operator=(const CRequestRecord&) = delete;

    // Appends to the file at `path` instead, creating it readable and writable by its owner only: the record
    // holds machine identities. False with the reason in `error`.
    bool Open(const std::string& path, std::string& error);
    // Opens the path again (after log rotation moved the file away); on failure the record stays with the file
    // it has. True when no path was opened.
    bool Reopen(std::string& error);

    // {"time":...,"method":...,"host":...,"path":...,"target":...,"params":{...},"status":...,"reply":...} and
    // "error" when the request was refused. Safe to call from the server's threads.
    void Write(const CRequestEntry& entry);

private:
    std::mutex mLock;
    std::FILE* mOut;
    std::string mPath;
    std::FILE* mOwned = nullptr;
};

// Now in UTC, "2024-05-01T12:00:00.123Z".
std::string UtcTimeStamp();
