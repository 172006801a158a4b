// WinINet for the page reader and the file download: loading, handles, the session and one sent request.
#include "WinInet_Win.h"

#include "Debug.h"

namespace Orn {

namespace {

// Keeps the answer out of every cache. Redirects are not followed: the caller decides where a request may go.
constexpr DWORD RequestFlags =
    INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_RELOAD | INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_AUTO_REDIRECT;
// HTTPS adds only this: none of the flags that ignore a certificate error is ever given.
constexpr DWORD SecureRequestFlags = RequestFlags | INTERNET_FLAG_SECURE;

const char PostHeader[] = "Content-Type: application/x-www-form-urlencoded\n";

// The library's verdicts on a server certificate; any other failure of a send is the general one.
RStatus SendFailureStatus(DWORD error)
{
    switch (error) {
    case ERROR_INTERNET_INVALID_CA:
        return E_InternetCertUntrusted;
    case ERROR_INTERNET_SEC_CERT_CN_INVALID:
        return E_InternetCertWrongHost;
    case ERROR_INTERNET_SEC_CERT_DATE_INVALID:
        return E_InternetCertExpired;
    case ERROR_INTERNET_SEC_CERT_ERRORS:
    case ERROR_INTERNET_SEC_CERT_NO_REV:
    case ERROR_INTERNET_SEC_CERT_REV_FAILED:
    case ERROR_INTERNET_SEC_CERT_REVOKED:
    case ERROR_INTERNET_SEC_INVALID_CERT:
        return E_InternetCertInvalid;
    default:
        return Failure;
    }
}

} // namespace

bool CWinInet::Load()
{
    // From the system folder only; the report keeps the words it has always had.
    if (mLib.Load("WININET.DLL").Failed()) {
        ORN_ASSERT_MSG("(mLib = ::LoadLibraryA(\"WININET.DLL\")) != 0");
        return false;
    }
    return Find(mFuncs.pInternetOpenA, "InternetOpenA") &&
           Find(mFuncs.pInternetSetStatusCallback, "InternetSetStatusCallback") &&
           Find(mFuncs.pInternetSetOptionA, "InternetSetOptionA") &&
           Find(mFuncs.pInternetConnectA, "InternetConnectA") && Find(mFuncs.pHttpOpenRequestA, "HttpOpenRequestA") &&
           Find(mFuncs.pHttpSendRequestA, "HttpSendRequestA") && Find(mFuncs.pHttpQueryInfoA, "HttpQueryInfoA") &&
           Find(mFuncs.pInternetQueryDataAvailable, "InternetQueryDataAvailable") &&
           Find(mFuncs.pInternetReadFile, "InternetReadFile") &&
           Find(mFuncs.pInternetCloseHandle, "InternetCloseHandle");
}

void CInternetHandle::Close()
{
    if (!mHand)
        return;
    HINTERNET hUrl = mHand;
    mHand = nullptr;
    if (mIsSession)
        mFuncs.pInternetSetStatusCallback(hUrl, nullptr);
    // Only a handle that is not ours fails to close.
    ORN_ASSERT(mFuncs.pInternetCloseHandle(hUrl));
}

bool OpenInternetSession(const CWinInetFuncs& funcs, const char* clientName, INTERNET_STATUS_CALLBACK callback,
                         CInternetHandle& session)
{
    return session.Open(funcs.pInternetOpenA(clientName, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0)) &&
           funcs.pInternetSetStatusCallback(session.Get(), callback) != INTERNET_INVALID_STATUS_CALLBACK;
}

RStatus CHttpExchange::Send(HINTERNET session, const CWebRequest& request, DWORD_PTR context)
{
    if (!mConnection.Open(mFuncs.pInternetConnectA(session, request.host, static_cast<INTERNET_PORT>(request.port),
                                                   nullptr, nullptr, INTERNET_SERVICE_HTTP, 0, context)))
        return Failure;
    bool AlwaysUsePOST = request.alwaysUsePOST;
    bool doPOST = request.doPOST;
    ORN_ASSERT((! AlwaysUsePOST) || doPOST);
    const char* verb = doPOST ? "POST" : "GET";
    if (!mRequest.Open(mFuncs.pHttpOpenRequestA(mConnection.Get(), verb, request.object, nullptr, nullptr, nullptr,
                                                request.secure ? SecureRequestFlags : RequestFlags, context)))
        return Failure;
    BOOL sent = FALSE;
    if (!doPOST) {
        sent = mFuncs.pHttpSendRequestA(mRequest.Get(), nullptr, 0, nullptr, 0);
    } else {
        void* body = const_cast<char*>(request.body.Chars());
        sent = mFuncs.pHttpSendRequestA(mRequest.Get(), PostHeader, static_cast<DWORD>(-1), body,
                                        static_cast<DWORD>(request.body.Length()));
    }
    return sent ? Ok : SendFailureStatus(::GetLastError());
}

bool CHttpExchange::QueryNumber(DWORD info, DWORD& value) const
{
    DWORD size = sizeof value;
    return mFuncs.pHttpQueryInfoA(mRequest.Get(), info | HTTP_QUERY_FLAG_NUMBER, &value, &size, nullptr) != FALSE;
}

DWORD CHttpExchange::StatusCode() const
{
    DWORD code = 0;
    return QueryNumber(HTTP_QUERY_STATUS_CODE, code) ? code : 0;
}

bool CHttpExchange::QueryText(DWORD info, CString& text) const
{
    constexpr DWORD MaxHeader = 4096;
    DWORD size = MaxHeader + 1;
    char* buf = text.Lock(MaxHeader);
    bool ok = mFuncs.pHttpQueryInfoA(mRequest.Get(), info, buf, &size, nullptr) != FALSE;
    if (!ok)
        buf[0] = 0;
    text.Unlock();
    return ok;
}

} // namespace Orn
