// The server's record: one JSON line per request, written as soon as the request is answered.
#pragma once

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

struct CRequestEntry {
    std::string method;
    std::string host;
    std::string path;
    std::vector<std::pair<std::string, std::string>> params; // in the order the request gave them
    int status = 0;
    std::string reply; // the reply file sent, empty when none
    std::string error; // why the request was refused
};

class CRequestRecord {
public:
    // Writes to an open file, which stays the caller's.
    explicit CRequestRecord(std::FILE* out) : mOut(out) {}

    // {"time":...,"method":...,"host":...,"path":...,"params":{...},"status":...,"reply":...} and "error"
    // when the request was refused. Safe to call from the server's threads.
    void Write(const CRequestEntry& entry);

private:
    std::mutex mLock;
    std::FILE* mOut;
};

// Now in UTC, "2024-05-01T12:00:00.123Z".
std::string UtcTimeStamp();
