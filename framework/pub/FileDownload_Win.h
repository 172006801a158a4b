// Downloading a program over HTTPS into a file of its own, on a worker thread that the caller polls, and
// verifying it there so that it can be started as it was checked.
#pragma once

#include "FileDownload.h"
#include "Handle_Win.h"
#include "OpenURLPolicy.h"

namespace Orn {

class CDownloadJob;

// One share of a download's state: the caller holds one, its worker another, and the last to go frees it.
class CDownloadJobShare {
public:
    CDownloadJobShare() = default;
    CDownloadJobShare(const CDownloadJobShare& other);
    CDownloadJobShare& operator=(const CDownloadJobShare&) = delete;
    ~CDownloadJobShare() { Reset(nullptr); }

    // Lets go of the share held, and takes over the first share of a new job (or none).
    void Reset(CDownloadJob* job);

    CDownloadJob* operator->() const { return mJob; }
    explicit operator bool() const { return mJob != nullptr; }

private:
    CDownloadJob* mJob = nullptr;
};

// One download. The file is made new, written with no other handle allowed on it, and marked for deletion
// from the start: however the download ends (a failure, Cancel, the process ending), it is gone once its last
// handle closes, unless it was verified and kept. Verification reads it back through a handle that admits
// readers only, so no one can change it between the check and the start of the program, as long as this
// object lives.
class CFileDownload {
public:
    // The client name is the agent name the session announces; it must outlive the download.
    explicit CFileDownload(const char* clientName);
    CFileDownload(const CFileDownload&) = delete;
    CFileDownload& operator=(const CFileDownload&) = delete;
    // Does not wait for a worker that still runs: it ends on its own and deletes the file.
    ~CFileDownload();

    // Makes the file (folder, ending in a separator, then prefix, eight hexadecimal digits and ".exe") and
    // starts the worker, which follows redirects only to URLs that the policy admits for downloads. False,
    // with Poll giving deCreateFile or deNoAnswer, when the file or the worker cannot be made.
    bool Start(const char* url, Int64 size, const Byte (&sha256)[DownloadDigestBytes], const COpenURLPolicy& policy,
               const char* folder, const char* prefix);
    // deBusy while the worker runs, then how the download ended.
    EDownloadEnd Poll() const;
    // Blocks up to ms milliseconds; true when no worker runs any more.
    bool WaitForEnd(DWord ms) const;
    // Bytes received so far, and whether the worker has gone on to check the file.
    Int64 Received() const;
    bool Verifying() const;
    // Stops the download at the worker's next step; the file is deleted when the worker lets go of it.
    void Cancel();

    // The file made by Start.
    const CString& FilePath() const { return mPath; }
    // What the download met; only once Poll no longer gives deBusy.
    const CDownloadFacts& Facts() const;
    // After deVerified: whether the file stays when this object goes (true: for the program started from it).
    bool KeepFile(bool keep);

private:
    const char* mClientName;
    CString mPath;
    CDownloadJobShare mJob;
    CKernelHandle mThread;
    EDownloadEnd mStartEnd = deCreateFile;
    CDownloadFacts mStartFacts;
};

} // namespace Orn
