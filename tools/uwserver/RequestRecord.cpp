// The request record as JSON lines.
#include "RequestRecord.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>

#include "JsonWriter.h"

std::string UtcTimeStamp()
{
    using namespace std::chrono;
    system_clock::time_point now = system_clock::now();
    std::time_t seconds = system_clock::to_time_t(now);
    long long millis = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
    std::tm tm{};
    gmtime_r(&seconds, &tm);
    char buf[40];
    std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%S", &tm);
    std::snprintf(buf + 19, sizeof buf - 19, ".%03lldZ", millis);
    return buf;
}

void CRequestRecord::Write(const CRequestEntry& entry)
{
    CJsonWriter json;
    json.BeginObject().Key("time").String(UtcTimeStamp()).Key("method").String(entry.method);
    json.Key("host").String(entry.host).Key("path").String(entry.path).Key("target").String(entry.target);
    json.Key("params").BeginObject();
    for (const auto& p : entry.params)
        json.Key(p.first).String(p.second);
    json.EndObject().Key("status").Number(entry.status).Key("reply");
    if (entry.reply.empty())
        json.Null();
    else
        json.String(entry.reply);
    if (!entry.error.empty())
        json.Key("error").String(entry.error);
    json.EndObject();
    std::lock_guard<std::mutex> hold(mLock);
    std::fprintf(mOut, "%s\n", json.Text().c_str());
    std::fflush(mOut);
}

namespace {

std::FILE* OpenForAppend(const std::string& path, std::string& error)
{
    int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
    std::FILE* file = fd < 0 ? nullptr : ::fdopen(fd, "a");
    if (!file) {
        error = "can't open " + path + ": " + std::strerror(errno);
        if (fd >= 0)
            ::close(fd);
    }
    return file;
}

} // namespace

CRequestRecord::~CRequestRecord()
{
    if (mOwned)
        std::fclose(mOwned);
}

bool CRequestRecord::Open(const std::string& path, std::string& error)
{
    std::FILE* file = OpenForAppend(path, error);
    if (!file)
        return false;
    std::lock_guard<std::mutex> hold(mLock);
    if (mOwned)
        std::fclose(mOwned);
    mOut = mOwned = file;
    mPath = path;
    return true;
}

bool CRequestRecord::Reopen(std::string& error)
{
    std::string path;
    {
        std::lock_guard<std::mutex> hold(mLock);
        path = mPath;
    }
    return path.empty() || Open(path, error);
}
