// Downloading a file that a program is about to run: what every platform shares (limits, outcomes, redirects).
// The download itself is Windows' (FileDownload_Win.h).
#pragma once

#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

// Redirects one download follows at most.
constexpr Int MaxDownloadRedirects = 5;
// A download gives up when no byte came for this long; there is no limit on the whole, so that a large file on
// a slow line gets through.
constexpr Int DownloadIdleSeconds = 30;
constexpr Int DownloadDigestBytes = 32;

// How a download ended.
enum EDownloadEnd {
    deBusy,             // the worker still runs
    deVerified,         // the file holds exactly the bytes asked for and is held open against writers
    deCancelled,        // Cancel was called
    deNoAnswer,         // no connection, or the request failed before an answer came
    deCertificate,      // the server's certificate was refused (the facts' status says why)
    deHTTPStatus,       // a status other than 200 or a redirect (the facts' httpStatus)
    deRedirectRefused,  // a redirect to a URL the policy refuses or that cannot be resolved (the facts' url)
    deTooManyRedirects, // more than MaxDownloadRedirects
    deTimeout,          // no byte for DownloadIdleSeconds
    deCut,              // the answer broke off before its announced length (the facts' received)
    deWrongLength,      // the server announced another length than asked for (the facts' announced)
    deTooLong,          // more bytes came than asked for (at least the facts' received); refused as they arrived
    deTooShort,         // the answer ended before the length asked for
    deChecksum,         // the file's SHA-256 is another (the facts' digest)
    deCreateFile,       // the file could not be made (the facts' status)
    deWriteFile,        // the file could not be written or read back (the facts' status)
};

// What a download met, for the log; complete once it has ended.
struct CDownloadFacts {
    RStatus status = Ok;
    DWord httpStatus = 0;
    Int64 received = 0;
    Int64 announced = -1; // none
    CString url;          // the last URL asked for, or the redirect target refused
    Byte digest[DownloadDigestBytes] = {};
};

// The absolute URL a redirect's Location leads to from `from`: an absolute URL as it stands, or a path that
// begins with a single "/", put after from's scheme and host. False for anything else (a relative path, a
// "//host" reference, an empty location), which a download does not follow.
bool ResolveRedirect(const char* from, const char* location, CString& to);

} // namespace Orn
