// The web page reader's worker: one HTTP request through WinINet, which is loaded at run time.
#include <windows.h>
#include <wininet.h>

#include <atomic>
#include <cstring>

#include "Debug.h"
#include "DynamicLibrary_Win.h"
#include "Handle_Win.h"
#include "WebPageReaderPlatform.h"

namespace Orn {

namespace {

// The library's entry points, looked up by name.
struct CWinInetFuncs {
    decltype(&::InternetOpenA) pInternetOpenA = nullptr;
    decltype(&::InternetSetStatusCallback) pInternetSetStatusCallback = nullptr;
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

bool CWinInet::Load()
{
    // From the system folder only; the report keeps the words it has always had.
    if (mLib.Load("WININET.DLL").Failed()) {
        ORN_ASSERT_MSG("(mLib = ::LoadLibraryA(\"WININET.DLL\")) != 0");
        return false;
    }
    return Find(mFuncs.pInternetOpenA, "InternetOpenA") &&
           Find(mFuncs.pInternetSetStatusCallback, "InternetSetStatusCallback") &&
           Find(mFuncs.pInternetConnectA, "InternetConnectA") && Find(mFuncs.pHttpOpenRequestA, "HttpOpenRequestA") &&
           Find(mFuncs.pHttpSendRequestA, "HttpSendRequestA") && Find(mFuncs.pHttpQueryInfoA, "HttpQueryInfoA") &&
           Find(mFuncs.pInternetQueryDataAvailable, "InternetQueryDataAvailable") &&
           Find(mFuncs.pInternetReadFile, "InternetReadFile") &&
           Find(mFuncs.pInternetCloseHandle, "InternetCloseHandle");
}

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

private:
    void Close()
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

    const CWinInetFuncs& mFuncs;
    bool mIsSession;
    HINTERNET mHand = nullptr;
};

// Keeps the answer out of every cache. Redirects are not followed: a read never ends on another server's page.
constexpr DWORD RequestFlags =
    INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_RELOAD | INTERNET_FLAG_PRAGMA_NOCACHE | INTERNET_FLAG_NO_AUTO_REDIRECT;
// HTTPS adds only this: none of the flags that ignore a certificate error is ever given.
constexpr DWORD SecureRequestFlags = RequestFlags | INTERNET_FLAG_SECURE;

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

const char PostHeader[] = "Content-Type: application/x-www-form-urlencoded\n";

// Everything one read uses. The worker and the reader each hold a share, so whichever ends last frees it.
class CPageRead {
public:
    CPageRead(const char* clientName, const CWebRequest& request, const std::shared_ptr<char[]>& text, Int max)
        : mClientName(clientName), mRequest(request), mText(text), mMax(max)
    {
    }

    bool LoadWinInet() { return mLib.Load(); }
    // The whole read; the status is the worker's exit code.
    RStatus Run();
    DWord LastInternetStatus() const { return mLastInternetStatus.load(); }

private:
    static void CALLBACK OnInternetStatus(HINTERNET, DWORD_PTR context, DWORD status, LPVOID, DWORD);
    DWORD_PTR Context() { return reinterpret_cast<DWORD_PTR>(this); }
    bool Send(HINTERNET request);
    bool QueryNumber(HINTERNET request, DWORD info, DWORD& value);
    RStatus Receive(HINTERNET request);
    RStatus ReadPage(HINTERNET request);
    RStatus ReadBody(HINTERNET request, DWord& got);

    CString mClientName;
    CWebRequest mRequest;
    std::shared_ptr<char[]> mText;
    Int mMax;
    CWinInet mLib;
    std::atomic<DWord> mLastInternetStatus{0};
};

void CALLBACK CPageRead::OnInternetStatus(HINTERNET, DWORD_PTR context, DWORD status, LPVOID, DWORD)
{
    reinterpret_cast<CPageRead*>(context)->mLastInternetStatus.store(status);
}

RStatus CPageRead::Run()
{
    const CWinInetFuncs& f = mLib.Funcs();
    CInternetHandle session(f, true);
    if (!session.Open(f.pInternetOpenA(mClientName, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0)) ||
        f.pInternetSetStatusCallback(session.Get(), &OnInternetStatus) == INTERNET_INVALID_STATUS_CALLBACK)
        return Failure;
    CInternetHandle connection(f);
    if (!connection.Open(f.pInternetConnectA(session.Get(), mRequest.host, static_cast<INTERNET_PORT>(mRequest.port),
                                             nullptr, nullptr, INTERNET_SERVICE_HTTP, 0, Context())))
        return Failure;
    CInternetHandle request(f);
    bool AlwaysUsePOST = mRequest.alwaysUsePOST;
    bool doPOST = mRequest.doPOST;
    ORN_ASSERT((! AlwaysUsePOST) || doPOST);
    const char* verb = doPOST ? "POST" : "GET";
    if (!request.Open(f.pHttpOpenRequestA(connection.Get(), verb, mRequest.object, nullptr, nullptr, nullptr,
                                          mRequest.secure ? SecureRequestFlags : RequestFlags, Context())))
        return Failure;
    if (!Send(request.Get()))
        return SendFailureStatus(::GetLastError());
    return Receive(request.Get());
}

// False with the library's error as the thread's last error.
bool CPageRead::Send(HINTERNET request)
{
    const CWinInetFuncs& f = mLib.Funcs();
    if (!mRequest.doPOST)
        return f.pHttpSendRequestA(request, nullptr, 0, nullptr, 0) != FALSE;
    void* body = const_cast<char*>(mRequest.body.Chars());
    return f.pHttpSendRequestA(request, PostHeader, static_cast<DWORD>(-1), body,
                               static_cast<DWORD>(mRequest.body.Length())) != FALSE;
}

bool CPageRead::QueryNumber(HINTERNET request, DWORD info, DWORD& value)
{
    DWORD size = sizeof value;
    return mLib.Funcs().pHttpQueryInfoA(request, info | HTTP_QUERY_FLAG_NUMBER, &value, &size, nullptr) != FALSE;
}

RStatus CPageRead::Receive(HINTERNET request)
{
    DWORD code = 0;
    // Wine reports a connection closed without any answer as status 0 where Windows fails the send.
    if (!QueryNumber(request, HTTP_QUERY_STATUS_CODE, code) || code < 100)
        return Failure;
    if (code == HTTP_STATUS_OK)
        return ReadPage(request);
    return code == HTTP_STATUS_NOT_FOUND ? E_NotFound : E_InternetBadHTTPStatus;
}

RStatus CPageRead::ReadPage(HINTERNET request)
{
    DWord got = 0;
    RStatus status = ReadBody(request, got);
    if (status != Ok)
        return status;
    // A connection that ends early leaves the page short of its announced length without any error.
    DWORD announced = 0;
    if (QueryNumber(request, HTTP_QUERY_CONTENT_LENGTH, announced) && got < announced)
        return Failure;
    // A page with a NUL byte is not text: the NUL would silently end the text early.
    return std::memchr(mText.get(), 0, got) ? E_InternetResourceNotText : Ok;
}

RStatus CPageRead::ReadBody(HINTERNET request, DWord& got)
{
    const CWinInetFuncs& f = mLib.Funcs();
    char* text = mText.get();
    for (;;) {
        DWORD available = 0;
        if (!f.pInternetQueryDataAvailable(request, &available, 0, 0))
            return Failure;
        if (available == 0)
            break;
        if (static_cast<Int64>(got) + available > mMax)
            return E_TooMuchData;
        DWORD read = 0;
        if (!f.pInternetReadFile(request, text + got, available, &read))
            return Failure;
        if (read == 0)
            break;
        got += read;
        text[got] = 0;
    }
    return Ok;
}

DWORD WINAPI WorkerMain(void* param)
{
    std::unique_ptr<std::shared_ptr<CPageRead>> read(static_cast<std::shared_ptr<CPageRead>*>(param));
    return (*read)->Run().Word();
}

// The caller's view of a worker: its thread handle and a share of its state.
class CWinPageReadThread : public CPageReadThread {
public:
    CWinPageReadThread(HANDLE thread, const std::shared_ptr<CPageRead>& read) : mThread(thread), mRead(read) {}

    RStatus Poll() const override
    {
        DWORD code = 0;
        if (!WaitForEnd(0))
            return S_Busy;
        if (!::GetExitCodeThread(mThread.Get(), &code))
            return Failure;
        return RStatus::FromWord(code);
    }
    bool WaitForEnd(DWord ms) const override { return ::WaitForSingleObject(mThread.Get(), ms) != WAIT_TIMEOUT; }
    DWord LastInternetStatus() const override { return mRead->LastInternetStatus(); }

private:
    CKernelHandle mThread;
    std::shared_ptr<CPageRead> mRead;
};

} // namespace

std::unique_ptr<CPageReadThread> StartPageReadThread(const char* clientName, const CWebRequest& request,
                                                     const std::shared_ptr<char[]>& text, Int max)
{
    auto read = std::make_shared<CPageRead>(clientName, request, text, max);
    if (!read->LoadWinInet())
        return nullptr;
    auto* param = new std::shared_ptr<CPageRead>(read);
    DWORD threadId = 0;
    HANDLE thread = ::CreateThread(nullptr, 0, &WorkerMain, param, 0, &threadId);
    if (!thread) {
        delete param;
        return nullptr;
    }
    return std::make_unique<CWinPageReadThread>(thread, read);
}

} // namespace Orn
