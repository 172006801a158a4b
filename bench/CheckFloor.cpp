// The floor of a version check: a program that loads WinINet, GETs one URL with the session, connection and
// request flags UpdateWatch.exe uses, reads the page and ends. Whatever a check costs above this is the program's.
// With a file, it is the floor of an installer's download too: the body goes into that new file, which is
// deleted at the end.
//
// Usage: check_floor.exe URL [FILE]    (exit code 0 when a page came with status 200, 1 otherwise)
#include <windows.h>
#include <wininet.h>

#include <cstring>

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

// The download's own buffer size, for a fair floor.
char cBuffer[64 * 1024];

bool ReadPage(HINTERNET request, HANDLE file)
{
    DWORD status = 0;
    DWORD size = sizeof status;
    if (!::HttpQueryInfoA(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER, &status, &size, nullptr) ||
        status != 200)
        return false;
    DWORD got = 0;
    DWORD written = 0;
    while (::InternetReadFile(request, cBuffer, sizeof cBuffer, &got) && got > 0) {
        if (file != INVALID_HANDLE_VALUE && !::WriteFile(file, cBuffer, got, &written, nullptr))
            return false;
    }
    return true;
}

bool Get(const char* url, HANDLE file)
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
    DWORD flags = cRequestFlags | (parts.nScheme == INTERNET_SCHEME_HTTPS ? INTERNET_FLAG_SECURE : 0);
    InternetHandle request(connection.Get() ? ::HttpOpenRequestA(connection.Get(), "GET", object, nullptr, nullptr,
                                                                 nullptr, flags, 0)
                                            : nullptr);
    return request.Get() && ::HttpSendRequestA(request.Get(), nullptr, 0, nullptr, 0) && ReadPage(request.Get(), file);
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR cmdLine, int)
{
    char* space = cmdLine ? std::strchr(cmdLine, ' ') : nullptr;
    if (space)
        *space = 0;
    HANDLE file = space ? ::CreateFileA(space + 1, GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE,
                                        nullptr)
                        : INVALID_HANDLE_VALUE;
    bool ok = cmdLine && *cmdLine && (!space || file != INVALID_HANDLE_VALUE) && Get(cmdLine, file);
    if (file != INVALID_HANDLE_VALUE)
        ::CloseHandle(file);
    return ok ? 0 : 1;
}
