// WinINet as the page reader and the file download use it: the library loaded at run time, its handles, the
// session and one request on a connection of its own.
#pragma once

#include <windows.h>
#include <wininet.h>

#include "DynamicLibrary_Win.h"
#include "Status.h"
#include "String.h"
#include "WebPageReader.h"

namespace Orn {

// The library's entry points, looked up by name.
struct CWinInetFuncs {
    decltype(&::InternetOpenA) pInternetOpenA = nullptr;
    decltype(&::InternetSetStatusCallback) pInternetSetStatusCallback = nullptr;
    decltype(&::InternetSetOptionA) pInternetSetOptionA = nullptr;
    decltype(&::InternetConnectA) pInternetConnectA = nullptr;
    decltype(&::HttpOpenRequestA) pHttpOpenRequestA = nullptr;
    decltype(&::HttpSendRequestA) pHttpSendRequestA = nullptr;
    decltype(&::HttpQueryInfoA) pHttpQueryInfoA = nullptr;
    decltype(&::InternetQueryDataAvailable) pInternetQueryDataAvailable = nullptr;
    decltype(&::InternetReadFile) pInternetReadFile = nullptr;
    decltype(&::InternetCloseHandle) pInternetCloseHandle = nullptr;
};

// Owns the loaded library and its entry points.
class CWinInet {
public:
    // False when the library or one of its entry points is missing.
    bool Load();
    const CWinInetFuncs& Funcs() const { return mFuncs; }

private:
    template <class F> bool Find(F& func, const char* name)
    {
        func = mLib.Find<F>(name);
        return func != nullptr;
    }

    CDynamicLibrary mLib;
    CWinInetFuncs mFuncs;
};

// Owns one HINTERNET. A session's status callback is removed first, so that no notification arrives
// while the handle goes away.
class CInternetHandle {
public:
    explicit CInternetHandle(const CWinInetFuncs& funcs, bool isSession = false)
        : mFuncs(funcs), mIsSession(isSession)
    {
    }
    CInternetHandle(const CInternetHandle&) = delete;
    CInternetHandle& operator=(const CInternetHandle&) = delete;
    ~CInternetHandle() { Close(); }

    // Holds the handle; false when it is null (the call that made it failed).
    bool Open(HINTERNET handle)
    {
        Close();
        mHand = handle;
        return mHand != nullptr;
    }
    HINTERNET Get() const { return mHand; }
    void Close();

private:
    const CWinInetFuncs& mFuncs;
    bool mIsSession;
    HINTERNET mHand = nullptr;
};

// A session with the client name as its agent and the system's own proxy settings; false when it cannot be
// opened or cannot take the status callback.
bool OpenInternetSession(const CWinInetFuncs& funcs, const char* clientName, INTERNET_STATUS_CALLBACK callback,
                         CInternetHandle& session);

// One request on a connection of its own: connected, opened and sent by Send, then read through the library.
class CHttpExchange {
public:
    explicit CHttpExchange(const CWinInetFuncs& funcs) : mFuncs(funcs), mConnection(funcs), mRequest(funcs) {}

    // Ok once the request went out; a refused certificate gives its own status (nothing is retried over
    // HTTP), any other failure Failure. Redirects are never followed, and nothing comes from or goes to a cache.
    RStatus Send(HINTERNET session, const CWebRequest& request, DWORD_PTR context);
    HINTERNET Request() const { return mRequest.Get(); }
    // A header or the status as a number; false when the answer has none.
    bool QueryNumber(DWORD info, DWORD& value) const;
    // The HTTP status; 0 when there is none (Wine reports a connection closed without any answer so).
    DWORD StatusCode() const;
    // A header as text, at most 4096 characters; false when the answer has none or a longer one.
    bool QueryText(DWORD info, CString& text) const;

private:
    const CWinInetFuncs& mFuncs;
    CInternetHandle mConnection;
    CInternetHandle mRequest;
};

} // namespace Orn
