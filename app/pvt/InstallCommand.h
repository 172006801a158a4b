// The reply-script command `install "URL", "SHA256", SIZE, "ARGS";`: its arguments, their checks, the trust it
// needs and its result, shared by the program and the tools around it. Carrying it out is the subclass's.
#pragma once

#include "FileDownload.h"
#include "String.h"
#include "VersionScript.h"

// The global variable that tells the script how its last install ended.
constexpr char InstallResultVar[] = "InstallResult";
// Downloads one run may make: a mirror or two after a failure, never a loop.
constexpr Orn::Int MaxInstallsPerRun = 3;

// How an install ended; InstallResult holds its name.
enum EInstallResult {
    irStarted,   // "started": verified and started
    irCancelled, // "cancelled": the user cancelled the download
    irNetwork,   // "network": no connection, a refused certificate, an HTTP error, a break or 30 s of silence
    irRedirect,  // "redirect": a redirect to a refused URL, or too many
    irSize,      // "size": the server sent more or fewer bytes than the script gives
    irChecksum,  // "checksum": the bytes are not the ones the script's SHA-256 names
    irDisk,      // "disk": the temporary folder could not take the file
    irStart,     // "start": the verified file could not be started
};

const char* InstallResultName(EInstallResult result);
// The result of that name; false for any other text.
bool InstallResultFromName(const char* name, EInstallResult& result);

// One install as the script asks for it, checked.
struct CInstallRequest {
    Orn::CString url;
    Orn::CString sha256; // as written: 64 hexadecimal digits
    Orn::Byte digest[Orn::DownloadDigestBytes] = {};
    Orn::Int size = 0;
    Orn::CString args;
    // The last part of the URL's path, for people to read.
    Orn::CString fileName;
};

// The interpreter with the install command. A reply may install only when it was signed and its signature
// verified, or when it came over https; the command is a script error otherwise, before anything is fetched.
class CInstallingInterpreter : public Orn::CVersionScriptInterpreter {
public:
    using CVersionScriptInterpreter::CVersionScriptInterpreter;

    // Where the running reply came from; until this is called, it is trusted by neither.
    void SetReplyTrust(bool signedAndVerified, bool overHttps);
    // The trust a check that succeeded gives its reply under the global variables: ReplyKey set (its signature
    // was verified), VersionScheme "https". The tools run scripts under it.
    void SetReplyTrustFromGlobals();

protected:
    bool RunExtraCommand(const char* name) override;
    // Downloads, verifies and starts what the checked request names, and says how that ended.
    virtual EInstallResult Install(const CInstallRequest& request) = 0;

private:
    void CmdInstall();
    void ReadRequest(CInstallRequest& request);
    void CheckRequest(CInstallRequest& request);
    [[noreturn]] void Refuse(const char* before, const char* value, const char* after);

    bool mSignedReply = false;
    bool mHttpsReply = false;
    Orn::Int mInstalls = 0;
    bool mStarted = false;
};
