// The request record as JSON lines.
#include "RequestRecord.h"

#include <chrono>
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
    json.Key("host").String(entry.host).Key("path").String(entry.path).Key("params").BeginObject();
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
