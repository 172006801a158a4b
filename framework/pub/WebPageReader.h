// Reading one web page over HTTP on a worker thread that the caller polls, and its variable-list form.
#pragma once

#include <memory>

#include "Platform.h"
#include "Status.h"
#include "String.h"
#include "VarList.h"

namespace Orn {

// What the reader sends for one URL.
struct CWebRequest {
    CString host;
    Int port = 80;
    // HTTPS: the server's certificate is checked in full, and a refused one ends the read.
    bool secure = false;
    // The path after the host's "/", without that "/"; with the query unless it went to the body.
    CString object;
    // The form-encoded query, sent as the body of a POST.
    CString body;
    // A POST is sent exactly when there is a body.
    bool doPOST = false;
    // The setting the URL was split under, for the worker's check that it got a body.
    bool alwaysUsePOST = false;
};

// URLs up to this length always go as a GET.
constexpr Int MaxGetURLLength = 2000;

// Splits "http://host[:port]/object[?query]" or the same with "https://" (default port 443). When
// alwaysUsePOST is set or the URL is longer than MaxGetURLLength, the text after the first "?" becomes the
// body and the object ends before the "?"; an empty body leaves a GET. False, with request untouched, for a
// URL without either prefix or with a port that is not a decimal number from 1 to 65535.
bool SplitWebURL(const char* url, bool alwaysUsePOST, CWebRequest& request);

// In plain words, why the certificate of a read that ended with status was refused; null for any other status.
const char* CertificateFailureCause(RStatus status);

// The platform's worker thread (pvt/WebPageReaderPlatform.h).
class CPageReadThread;

// Fetches one page (one read per object). The worker owns what it uses, so a reader that is given up
// while its worker still waits on the network may be destroyed at once: the worker finishes on its own.
//
// Outcomes: Ok; E_NotFound (HTTP 404); E_InternetBadHTTPStatus (any other code but 200, redirects
// included: they are not followed, so a read never ends on another server's page); E_TooMuchData (more
// than the maximum); E_InternetResourceNotText (the page holds a NUL byte, which text cannot carry);
// E_InternetCertUntrusted, E_InternetCertWrongHost, E_InternetCertExpired, E_InternetCertInvalid (HTTPS: the
// server's certificate was refused; nothing is retried over HTTP); Failure (the library, the connection or
// the transfer failed, a body cut short included).
class CWebPageReader {
public:
    // The client name is the agent name the session announces.
    explicit CWebPageReader(const char* clientName);
    CWebPageReader(const CWebPageReader&) = delete;
    CWebPageReader& operator=(const CWebPageReader&) = delete;
    // Does not wait for a worker that is still running.
    virtual ~CWebPageReader();

    // Starts reading a page of at most max bytes and returns the status as Poll would. The global flag
    // AlwaysUsePOST makes every URL with a query a POST (the worker asserts when it has no body to send).
    // Failure when the worker cannot be started, E_BadArgument when the URL cannot be split.
    RStatus StartRead(const char* url, Int max);
    // S_Busy while the worker runs, then the status of the read (Failure before any read was started).
    RStatus Poll() const;
    // Blocks up to ms milliseconds for the worker to end; true when no worker is running any more.
    bool WaitForEnd(DWord ms) const;
    // The page as text (CR LF read as LF), only when Poll gives Ok.
    bool GetText(CString& text) const;
    // The page's bytes exactly as they came, only when Poll gives Ok.
    bool GetPage(CString& page) const;
    // The last progress notification of the library (INTERNET_STATUS_*), 0 before any; for diagnosis.
    DWord LastInternetStatus() const;

    // What the current read sends (empty before StartRead).
    const CWebRequest& Request() const { return mRequest; }

private:
    CString mClientName;
    CWebRequest mRequest;
    Int mMax = 0;
    // max + 1 bytes, always zero-terminated; the worker's until Poll no longer gives S_Busy.
    std::shared_ptr<char[]> mText;
    std::unique_ptr<CPageReadThread> mThreadHand;
    RStatus mStartStatus = Failure;
};

// A reader that carries the request parameters as a variable list and sends them as the query.
class CVarListPageReader : public CWebPageReader {
public:
    using CWebPageReader::CWebPageReader;

    CVarList& RequestVars() { return mRequestVars; }
    const CVarList& RequestVars() const { return mRequestVars; }
    // baseURL, then "?" and the form-encoded request variables when there are any.
    void BuildURL(const char* baseURL, CString& url) const;
    // Reads BuildURL(baseURL).
    RStatus StartReadWithVars(const char* baseURL, Int max);

private:
    CVarList mRequestVars;
};

// The form the version-check engine derives from; the Windows worker is the reader's own, so it adds nothing.
class CWinVarListPageReader : public CVarListPageReader {
public:
    using CVarListPageReader::CVarListPageReader;
};

} // namespace Orn
