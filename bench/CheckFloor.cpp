// The floor of a version check: a program that loads WinINet, GETs one URL with the session, connection and
// request flags UpdateWatch.exe uses, reads the page and ends. Whatever a check costs above this is the program's.
//
// Usage: check_floor.exe URL     (exit code 0 when a page came with status 200, 1 otherwise)
#include <windows.h>
#include <wininet.h>

namespace {

// Closes its WinINet handle with it.
class InternetHandle {
public:
    explicit InternetHandle(HINTERNET handle) : mHandle(handle) {}
    InternetHandle(const InternetHandle&) = delete;
    InternetHandle& operator=(const InternetHandle&) = delete;
    ~InternetHandle()
    {
        if (mHandle)
            ::InternetCloseHandle(mHandle);
    }
    HINTERNET Get() const { return mHandle; }

private:
    HINTERNET mHandle;
};

constexpr DWORD cRequestFlags =
    INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_RELOAD | INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_AUTO_REDIRECT;

bool ReadPage(HINTERNET request)
{
    DWORD status = 0;
    DWORD size = sizeof status;
    if (!::HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size, nullptr) ||
        status != 200)
        return false;
    char buf[4096];
    DWORD got = 0;
    while (::InternetReadFile(request, buf, sizeof buf, &got) && got > 0) {
    }
    return true;
}

bool Get(const char* url)
{
    char host[256] = {0};
    char object[4096] = {0};
    URL_COMPONENTSA parts{};
    parts.dwStructSize = sizeof parts;
    parts.lpszHostName = host;
    parts.dwHostNameLength = sizeof host;
    parts.lpszUrlPath = object;
    parts.dwUrlPathLength = sizeof object;
    if (!::InternetCrackUrlA(url, 0, 0, &parts))
        return false;
    InternetHandle session(::InternetOpenA("UpdateWatch", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    InternetHandle connection(session.Get() ? ::InternetConnectA(session.Get(), host, parts.nPort, nullptr, nullptr,
                                                                 INTERNET_SERVICE_HTTP, 0, 0)
                                            : nullptr);
    InternetHandle request(connection.Get() ? ::HttpOpenRequestA(connection.Get(), "GET", object, nullptr, nullptr,
                                                                 nullptr, cRequestFlags, 0)
                                            : nullptr);
    return request.Get() && ::HttpSendRequestA(request.Get(), nullptr, 0, nullptr, 0) && ReadPage(request.Get());
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR cmdLine, int) { return cmdLine && *cmdLine && Get(cmdLine) ? 0 : 1; }
