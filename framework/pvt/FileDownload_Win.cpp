// The file download's worker: the request through the page reader's WinINet client, redirects, the exact
// length and the check of the written file through a handle that shuts out writers.
#include "FileDownload_Win.h"

#include <atomic>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "Cng_Win.h"
#include "WinInet_Win.h"

namespace Orn {

namespace {

constexpr DWORD BufferBytes = 64 * 1024;
// A read waits for at least this much (or the end): fewer, larger writes; and on a slow line still a step of
// progress, and a look at Cancel, every few seconds.
constexpr DWORD MinReadBytes = 16 * 1024;
constexpr DWORD IdleMs = DownloadIdleSeconds * 1000;
constexpr Int NameAttempts = 16;

// Marks the file for deletion when its last handle closes, or takes the mark back.
bool MarkForDeletion(HANDLE file, bool remove)
{
    FILE_DISPOSITION_INFO info{};
    info.DeleteFile = remove ? TRUE : FALSE;
    return ::SetFileInformationByHandle(file, FileDispositionInfo, &info, sizeof info) != FALSE;
}

// Wine ends a read that timed out as if the answer had ended: the silence before it tells the two apart.
bool TimedOut(DWORD lastByteTick) { return ::GetTickCount() - lastByteTick >= IdleMs - 1000; }

DWORD ReadSize(DWORD available)
{
    return available < MinReadBytes ? MinReadBytes : (available < BufferBytes ? available : BufferBytes);
}

bool IsRedirect(DWORD code) { return (code >= 301 && code <= 303) || code == 307 || code == 308; }

// A new file that no one else may open while this handle lives, marked for deletion at once.
HANDLE CreateNewFile(const char* folder, const char* prefix, CString& path, RStatus& status)
{
    DWORD seed = ::GetTickCount() ^ (::GetCurrentProcessId() << 16);
    for (Int i = 0; i < NameAttempts; ++i, seed = seed * 1103515245u + 12345u) {
        path.Format("%s%s%08lX.exe", folder, prefix, static_cast<unsigned long>(seed));
        HANDLE file =
            ::CreateFileA(path, GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
        DWORD error = ::GetLastError();
        status = LastOSErrorStatus();
        if (file != INVALID_HANDLE_VALUE && MarkForDeletion(file, true))
            return file;
        if (file != INVALID_HANDLE_VALUE) {
            status = LastOSErrorStatus();
            ::CloseHandle(file);
            ::DeleteFileA(path);
            break;
        }
        if (error != ERROR_FILE_EXISTS)
            break;
    }
    return INVALID_HANDLE_VALUE;
}

} // namespace

// Everything one download uses. The worker and the caller each hold a share, so whichever ends last frees it;
// the facts and the file are the worker's until it has ended.
class CDownloadJob {
public:
    CDownloadJob(const char* clientName, const char* url, Int64 size, const Byte (&sha256)[DownloadDigestBytes],
                 const COpenURLPolicy& policy, const char* path, HANDLE handle)
        : file(handle), mClientName(clientName), mURL(url), mSize(size), mPolicy(policy), mPath(path)
    {
        std::memcpy(mDigest, sha256, sizeof mDigest);
    }

    bool LoadWinInet() { return mLib.Load(); }
    EDownloadEnd Run();

    std::atomic<Int> shares{1};
    std::atomic<Int64> received{0};
    std::atomic<bool> verifying{false};
    std::atomic<bool> cancelled{false};
    CDownloadFacts facts;
    // The file: the writer's handle, then the reader's; marked for deletion unless kept.
    CFileHandle file;

private:
    EDownloadEnd Download();
    EDownloadEnd Fetch(HINTERNET session, CString& url);
    EDownloadEnd Receive(const CHttpExchange& exchange);
    EDownloadEnd Store(const char* bytes, DWORD count);
    EDownloadEnd Verify();
    EDownloadEnd Digest(HANDLE reader);
    EDownloadEnd Failed(EDownloadEnd end)
    {
        facts.status = LastOSErrorStatus();
        return end;
    }

    const char* mClientName;
    CString mURL;
    Int64 mSize;
    Byte mDigest[DownloadDigestBytes];
    COpenURLPolicy mPolicy;
    CString mPath;
    CWinInet mLib;
    char mBuffer[BufferBytes];
};

EDownloadEnd CDownloadJob::Run()
{
    // deVerified from the download means that every byte came: the check is still to come.
    EDownloadEnd end = Download();
    if (end == deVerified)
        end = Verify();
    // Still marked for deletion: closing the file removes it.
    if (end != deVerified)
        file.Reset();
    return end;
}

EDownloadEnd CDownloadJob::Download()
{
    const CWinInetFuncs& f = mLib.Funcs();
    CInternetHandle session(f, true);
    if (!OpenInternetSession(f, mClientName, nullptr, session))
        return deNoAnswer;
    DWORD idle = IdleMs;
    for (DWORD option :
         {INTERNET_OPTION_CONNECT_TIMEOUT, INTERNET_OPTION_SEND_TIMEOUT, INTERNET_OPTION_RECEIVE_TIMEOUT})
        f.pInternetSetOptionA(session.Get(), option, &idle, sizeof idle);
    CString url = mURL;
    for (Int redirects = 0; redirects <= MaxDownloadRedirects; ++redirects) {
        EDownloadEnd end = Fetch(session.Get(), url);
        if (end != deBusy)
            return end;
    }
    return deTooManyRedirects;
}

// One request: deBusy with url moved on for a redirect the policy admits, else how the download ended.
EDownloadEnd CDownloadJob::Fetch(HINTERNET session, CString& url)
{
    facts.url = url;
    CWebRequest request;
    if (cancelled)
        return deCancelled;
    // Only a redirect can bring a URL that is too long for a GET or not https.
    if (url.Length() > MaxGetURLLength || !SplitWebURL(url, false, request) || !request.secure)
        return deRedirectRefused;
    CHttpExchange exchange(mLib.Funcs());
    facts.status = exchange.Send(session, request, 0);
    if (facts.status != Ok)
        return CertificateFailureCause(facts.status) ? deCertificate : deNoAnswer;
    facts.httpStatus = exchange.StatusCode();
    if (IsRedirect(facts.httpStatus)) {
        CString location, next;
        if (!exchange.QueryText(HTTP_QUERY_LOCATION, location) || !ResolveRedirect(url, location, next) ||
            !mPolicy.AdmitsDownload(next)) {
            facts.url = next.IsEmpty() ? location : next;
            return deRedirectRefused;
        }
        url = next;
        return deBusy;
    }
    if (facts.httpStatus < 100)
        return deNoAnswer;
    return facts.httpStatus == HTTP_STATUS_OK ? Receive(exchange) : deHTTPStatus;
}

EDownloadEnd CDownloadJob::Receive(const CHttpExchange& exchange)
{
    DWORD announced = 0;
    if (exchange.QueryNumber(HTTP_QUERY_CONTENT_LENGTH, announced)) {
        facts.announced = announced;
        if (facts.announced != mSize)
            return deWrongLength;
    }
    const CWinInetFuncs& f = mLib.Funcs();
    DWORD lastByte = ::GetTickCount();
    for (;;) {
        DWORD available = 0;
        DWORD got = 0;
        DWORD readStart = ::GetTickCount();
        if (cancelled)
            return deCancelled;
        if (!f.pInternetQueryDataAvailable(exchange.Request(), &available, 0, 0) ||
            !f.pInternetReadFile(exchange.Request(), mBuffer, ReadSize(available), &got))
            return ::GetLastError() == ERROR_INTERNET_TIMEOUT || TimedOut(lastByte) ? deTimeout : deCut;
        if (got == 0)
            break;
        // A short read may have ended in silence (Wine hands over what came): count that from its start.
        lastByte = got == ReadSize(available) ? ::GetTickCount() : readStart;
        EDownloadEnd end = Store(mBuffer, got);
        if (end != deBusy)
            return end;
    }
    if (cancelled)
        return deCancelled;
    if (facts.received == mSize)
        return deVerified;
    if (TimedOut(lastByte))
        return deTimeout;
    return facts.announced >= 0 ? deCut : deTooShort;
}

// deBusy once the bytes are written.
EDownloadEnd CDownloadJob::Store(const char* bytes, DWORD count)
{
    facts.received += count;
    if (facts.received > mSize)
        return deTooLong;
    DWORD written = 0;
    if (!::WriteFile(file.Get(), bytes, count, &written, nullptr) || written != count)
        return Failed(deWriteFile);
    received = facts.received;
    return deBusy;
}

// The writer's handle goes, and one that shuts out writers takes its place before anything is read: what is
// checked is what will run. Someone who opened the file for writing in between makes the new handle fail;
// bytes written in between and closed again fail the digest.
EDownloadEnd CDownloadJob::Verify()
{
    verifying = true;
    if (!MarkForDeletion(file.Get(), false))
        return Failed(deWriteFile);
    file.Reset();
    file.Reset(::CreateFileA(mPath, GENERIC_READ | DELETE, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                              FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file.IsValid()) {
        EDownloadEnd end = Failed(deWriteFile);
        ::DeleteFileA(mPath);
        return end;
    }
    if (!MarkForDeletion(file.Get(), true))
        return Failed(deWriteFile);
    return Digest(file.Get());
}

EDownloadEnd CDownloadJob::Digest(HANDLE reader)
{
    CBcrypt lib;
    CSha256 hash(lib);
    if (!lib.Load() || !hash.Start())
        return Failed(deWriteFile);
    for (;;) {
        DWORD got = 0;
        if (cancelled)
            return deCancelled;
        if (!::ReadFile(reader, mBuffer, BufferBytes, &got, nullptr))
            return Failed(deWriteFile);
        if (got == 0)
            break;
        if (!hash.Add(mBuffer, got))
            return Failed(deWriteFile);
    }
    if (!hash.Finish(facts.digest))
        return Failed(deWriteFile);
    return std::memcmp(facts.digest, mDigest, sizeof mDigest) == 0 ? deVerified : deChecksum;
}

CDownloadJobShare::CDownloadJobShare(const CDownloadJobShare& other) : mJob(other.mJob)
{
    if (mJob)
        ++mJob->shares;
}

void CDownloadJobShare::Reset(CDownloadJob* job)
{
    if (mJob && --mJob->shares == 0)
        delete mJob;
    mJob = job;
}

namespace {

DWORD WINAPI WorkerMain(void* param)
{
    std::unique_ptr<CDownloadJobShare> job(static_cast<CDownloadJobShare*>(param));
    return static_cast<DWORD>((*job)->Run());
}

} // namespace

CFileDownload::CFileDownload(const char* clientName) : mClientName(clientName) {}

CFileDownload::~CFileDownload() = default;

bool CFileDownload::Start(const char* url, Int64 size, const Byte (&sha256)[DownloadDigestBytes],
                          const COpenURLPolicy& policy, const char* folder, const char* prefix)
{
    HANDLE file = CreateNewFile(folder, prefix, mPath, mStartFacts.status);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    mJob.Reset(new CDownloadJob(mClientName, url, size, sha256, policy, mPath, file));
    mStartEnd = deNoAnswer;
    if (!mJob->LoadWinInet())
        return false;
    auto* param = new CDownloadJobShare(mJob);
    DWORD threadId = 0;
    mThread.Reset(::CreateThread(nullptr, 0, &WorkerMain, param, 0, &threadId));
    if (!mThread.IsValid()) {
        delete param;
        return false;
    }
    return true;
}

EDownloadEnd CFileDownload::Poll() const
{
    DWORD code = 0;
    if (!mThread.IsValid())
        return mStartEnd;
    if (!WaitForEnd(0))
        return deBusy;
    return ::GetExitCodeThread(mThread.Get(), &code) ? static_cast<EDownloadEnd>(code) : deNoAnswer;
}

bool CFileDownload::WaitForEnd(DWord ms) const
{
    return !mThread.IsValid() || ::WaitForSingleObject(mThread.Get(), ms) != WAIT_TIMEOUT;
}

Int64 CFileDownload::Received() const { return mJob ? mJob->received.load() : 0; }

bool CFileDownload::Verifying() const { return mJob && mJob->verifying; }

void CFileDownload::Cancel()
{
    if (mJob)
        mJob->cancelled = true;
}

const CDownloadFacts& CFileDownload::Facts() const { return mThread.IsValid() ? mJob->facts : mStartFacts; }

bool CFileDownload::KeepFile(bool keep)
{
    return Poll() == deVerified && MarkForDeletion(mJob->file.Get(), !keep);
}

} // namespace Orn
