// The web page reader's worker: one HTTP request through WinINet, which is loaded at run time.
#include <atomic>
#include <cstring>

#include "Handle_Win.h"
#include "WebPageReaderPlatform.h"
#include "WinInet_Win.h"

namespace Orn {

namespace {

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
    RStatus Receive(const CHttpExchange& exchange);
    RStatus ReadPage(const CHttpExchange& exchange);
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
    if (!OpenInternetSession(f, mClientName, &OnInternetStatus, session))
        return Failure;
    CHttpExchange exchange(f);
    RStatus status = exchange.Send(session.Get(), mRequest, Context());
    return status == Ok ? Receive(exchange) : status;
}

RStatus CPageRead::Receive(const CHttpExchange& exchange)
{
    DWORD code = exchange.StatusCode();
    if (code < 100)
        return Failure;
    if (code == HTTP_STATUS_OK)
        return ReadPage(exchange);
    return code == HTTP_STATUS_NOT_FOUND ? E_NotFound : E_InternetBadHTTPStatus;
}

RStatus CPageRead::ReadPage(const CHttpExchange& exchange)
{
    DWord got = 0;
    RStatus status = ReadBody(exchange.Request(), got);
    if (status != Ok)
        return status;
    // A connection that ends early leaves the page short of its announced length without any error.
    DWORD announced = 0;
    if (exchange.QueryNumber(HTTP_QUERY_CONTENT_LENGTH, announced) && got < announced)
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
