// The product's install: the download with its window or log lines, the start of the verified file, and a line
// of the log for every outcome.
#include "Installer.h"

#include <windows.h>

#include <shellapi.h>

#include "FileDownload_Win.h"
#include "ProgressDialog.h"
#include "UpdateWatch.h"
#include "VarList.h"
#include "VersionRequest.h"

using namespace Orn;

namespace {

const char* const cFilePrefix = "NimbraUpdate-";
const DWord cLogPollMs = 250;

CString Joined(const char* a, const char* b, const char* c = "")
{
    CString text(a);
    text.Append(b);
    text.Append(c);
    return text;
}

EInstallResult ResultOf(EDownloadEnd end)
{
    switch (end) {
    case deVerified: return irStarted;
    case deCancelled: return irCancelled;
    case deRedirectRefused:
    case deTooManyRedirects: return irRedirect;
    case deWrongLength:
    case deTooLong:
    case deTooShort: return irSize;
    case deChecksum: return irChecksum;
    case deCreateFile:
    case deWriteFile: return irDisk;
    default: return irNetwork;
    }
}

// What ended the download, in plain words.
CString EndText(EDownloadEnd end, const CDownloadFacts& facts, Int size)
{
    CString text;
    long long number = end == deWrongLength ? facts.announced : facts.received;
    const char* format = "the server could not be reached";
    switch (end) {
    case deCancelled: return "the download was cancelled";
    case deCertificate: return Joined("the server's certificate was refused: ", CertificateFailureCause(facts.status));
    case deRedirectRefused: return Joined("the server redirected to a URL that is not allowed (", facts.url, ")");
    case deCreateFile: return Joined("the file could not be made in the temporary folder (", facts.status.Name(), ")");
    case deWriteFile: return Joined("the file could not be written or read back (", facts.status.Name(), ")");
    case deChecksum:
        text.SetHex(facts.digest, DownloadDigestBytes);
        return Joined("the file's SHA-256 is ", text, ", not the one the script gives");
    // The rest take a number and the size, and use what they need of them.
    case deHTTPStatus: number = facts.httpStatus; format = "the server answered with HTTP status %lld"; break;
    case deTooManyRedirects: number = MaxDownloadRedirects; format = "the server redirected more than %lld times"; break;
    case deTimeout: number = DownloadIdleSeconds; format = "no data came for %lld seconds"; break;
    case deCut: format = "the connection broke off after %lld of %d bytes"; break;
    case deWrongLength: format = "the server announced %lld bytes, not the %d the script gives"; break;
    case deTooLong: format = "the server sent %lld bytes, more than the %d the script gives"; break;
    case deTooShort: format = "the server sent %lld bytes, fewer than the %d the script gives"; break;
    default: break;
    }
    text.Format(format, number, size);
    return text;
}

// Without windows the log hears of every 10 %.
EDownloadEnd WaitLogging(CFileDownload& download, Int size, CUpdateWatchApp& app)
{
    CDownloadProgress progress(size);
    bool ended = false;
    while (!ended) {
        ended = download.WaitForEnd(cLogPollMs);
        Int64 done = download.Received();
        if (progress.NextLogStep(done))
            app.LogText("Install: ", progress.AmountText(done), ".\n");
    }
    return download.Poll();
}

// The shell asks for elevation where the installer needs it, which starting the process ourselves would not.
RStatus StartInstaller(CFileDownload& download, const CString& args)
{
    SHELLEXECUTEINFOA info{};
    info.cbSize = sizeof info;
    info.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
    info.lpVerb = "open";
    info.lpFile = download.FilePath();
    info.lpParameters = args;
    info.nShow = SW_SHOWNORMAL;
    if (download.KeepFile(true) && ::ShellExecuteExA(&info))
        return Ok;
    RStatus status = LastOSErrorStatus();
    (void)download.KeepFile(false);
    return status;
}

// Starts the verified file; what happened, in plain words.
CString Start(CFileDownload& download, const CInstallRequest& request, EInstallResult& result)
{
    RStatus started = StartInstaller(download, request.args);
    if (started.Failed()) {
        result = irStart;
        return Joined("the installer could not be started (", started.Name(), ")");
    }
    CString text = Joined("started \"", download.FilePath(), "\" ");
    text.Append(request.args);
    return text;
}

EDownloadEnd Download(CFileDownload& download, const CInstallRequest& request, CUpdateWatchApp& app)
{
    char folder[MAX_PATH + 1] = {0};
    ::GetTempPathA(MAX_PATH, folder);
    if (!download.Start(request.url, request.size, request.digest, COpenURLPolicy(GlobalVars.Find("OpenURLPolicy")),
                        folder, cFilePrefix))
        return download.Poll();
    if (app.SuppressDialogs())
        return WaitLogging(download, request.size, app);
    return CProgressDialog(download, request).Run();
}

} // namespace

EInstallResult RunInstall(const CInstallRequest& request)
{
    CUpdateWatchApp& app = *CUpdateWatchApp::Get();
    app.LogText("Install: downloading ", request.url, "\n");
    CFileDownload download(VersionCheckClientName);
    EDownloadEnd end = Download(download, request, app);
    EInstallResult result = ResultOf(end);
    CString outcome =
        end == deVerified ? Start(download, request, result) : EndText(end, download.Facts(), request.size);
    app.LogText("Install: ", outcome, ".\n");
    if (result != irStarted && result != irCancelled)
        app.MessageDialog(Joined("The Nimbra update could not be installed: ", outcome, "."), MB_OK | MB_ICONSTOP);
    CString step;
    step.Format("Install (%s)", InstallResultName(result));
    app.StepResult(result == irStarted, step);
    return result;
}
