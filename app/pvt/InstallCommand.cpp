// The install command: reading and checking its arguments, the trust rule and the result variable.
#include "InstallCommand.h"

#include "OpenURLPolicy.h"
#include "SignedReply.h"
#include "VarList.h"
#include "WebPageReader.h"

using namespace Orn;

namespace {

const char* const cResultNames[] = {"started", "cancelled", "network", "redirect",
                                    "size",    "checksum",  "disk",    "start"};

// The last part of the URL's path (the host when the path has none).
CString FileNameOf(const CString& url)
{
    Int end = url.Length();
    for (Int i = 0; i < end; ++i) {
        if (url[i] == '?' || url[i] == '#')
            end = i;
    }
    Int begin = end;
    while (begin > 0 && url[begin - 1] != '/')
        --begin;
    if (begin == end) {
        Int host = url.Find("://") + 3;
        return url.Mid(host, url.Find("/", host) - host);
    }
    return url.Mid(begin, end - begin);
}

} // namespace

const char* InstallResultName(EInstallResult result) { return cResultNames[result]; }

bool InstallResultFromName(const char* name, EInstallResult& result)
{
    for (Int i = irStarted; i <= irStart; ++i) {
        if (Str::Equal(name, cResultNames[i])) {
            result = static_cast<EInstallResult>(i);
            return true;
        }
    }
    return false;
}

void CInstallingInterpreter::SetReplyTrust(bool signedAndVerified, bool overHttps)
{
    mSignedReply = signedAndVerified;
    mHttpsReply = overHttps;
}

void CInstallingInterpreter::SetReplyTrustFromGlobals()
{
    const char* scheme = GlobalVars.Find("VersionScheme");
    SetReplyTrust(GlobalVars.Find(ReplyKeyVar) != nullptr, scheme && Str::Equal(scheme, "https"));
}

bool CInstallingInterpreter::RunExtraCommand(const char* name)
{
    if (!Str::Equal(name, "install"))
        return CVersionScriptInterpreter::RunExtraCommand(name);
    CmdInstall();
    return true;
}

void CInstallingInterpreter::CmdInstall()
{
    CInstallRequest request;
    ReadRequest(request);
    CheckRequest(request);
    ++mInstalls;
    EInstallResult result = Install(request);
    mStarted = mStarted || result == irStarted;
    GlobalVars.Set(InstallResultVar, InstallResultName(result));
}

// The whole command is read before anything is checked, as the other commands do.
void CInstallingInterpreter::ReadRequest(CInstallRequest& request)
{
    Expect(tokString);
    request.url = TokenText();
    Expect(tokComma);
    Expect(tokString);
    request.sha256 = TokenText();
    Expect(tokComma);
    Expect(tokNumber);
    request.size = NumberValue();
    Expect(tokComma);
    Expect(tokString);
    // Only a reply page may install, and it holds at most 10000 bytes: the arguments always fit a command line.
    request.args = TokenText();
    Expect(tokSemicolon);
}

// Checks the arguments and fills in what follows from them.
void CInstallingInterpreter::CheckRequest(CInstallRequest& request)
{
    if (!DecodeHexExactly(request.sha256, DownloadDigestBytes, request.digest))
        Refuse("illegal hash (", request.sha256, ") for 'install' command: 64 hexadecimal digits expected");
    if (request.size <= 0) {
        CString size;
        size.Format("%d", request.size);
        Refuse("illegal size (", size, ") for 'install' command: a positive number of bytes expected");
    }
    if (request.url.Find("https://") != 0)
        Refuse("illegal URL (", request.url, ") for 'install' command: https only");
    COpenURLPolicy policy(GlobalVars.Find("OpenURLPolicy"));
    if (request.url.Length() > MaxGetURLLength || !policy.AdmitsDownload(request.url))
        Refuse("illegal URL (", request.url, ") for 'install' command");
    if (!mSignedReply && !mHttpsReply)
        ScriptError("'install' refused: the reply was neither signed nor fetched over https");
    if (mStarted)
        ScriptError("'install' after an installer was started (one per run)");
    static_assert(MaxInstallsPerRun == 3, "the message names the cap");
    if (mInstalls >= MaxInstallsPerRun)
        ScriptError("too many downloads for 'install' (at most 3 per run)");
    request.fileName = FileNameOf(request.url);
}

void CInstallingInterpreter::Refuse(const char* before, const char* value, const char* after)
{
    CString message(before);
    message.Append(value);
    message.Append(after);
    ScriptError(message);
}
