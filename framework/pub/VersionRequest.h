// The version-check engine: builds the version request, reads the server's reply page with a time limit and
// cuts it down to the reply script.
//
// What the request sends where the server leaves the form to us:
//   VR_OSVer   "major.minor" of the Windows version;
//   VR_OSLang  the user's UI language name, e.g. "en-US";
//   VR_OSBits  "64" on 64-bit Windows, else "32";
//   VR_MACAddr the first adapter's address as 12 upper-case hex digits, e.g. "00E04C6811A2", or "none";
//   the query escapes names and values as form fields (strict, a space as "+"), which the server decodes.
#pragma once

#include "Platform.h"
#include "SignedReply.h"
#include "Status.h"
#include "String.h"
#include "VarList.h"
#include "WebPageReader.h"

namespace Orn {

class CVersion;

// The agent name of every version request.
constexpr char VersionCheckClientName[] = "VRL Version Checker";
// The version server the product talks to; a check against any other host is non-standard.
constexpr char StandardVersionHost[] = "versioncheck.vantrel.com";
// The test server whose delay page answers when UWDelay is set.
constexpr char DelayTestHost[] = "uwtest.vantrel.com";
// The largest reply page the engine accepts.
constexpr Int MaxReplyPageSize = 10000;
// The text and title of the box that warns of a check against something other than the product's server.
constexpr char NonStandardCheckText[] = "Non-standard version check.";
constexpr char NonStandardCheckTitle[] = "Version Check";

// The machine's part of a request, each as the text it sends.
struct CMachineFacts {
    CString osVersion;
    CString osLanguage;
    CString osBits;
    CString macAddress;
};

// One registry key of the persistent identity, as the identity update uses it.
class IIdentityKey {
public:
    // False when the value is absent.
    virtual bool Get(const char* name, CString& value) = 0;
    // False when the value cannot be stored.
    virtual bool Set(const char* name, const char* value) = 0;

protected:
    ~IIdentityKey() = default;
};

// The persistent identity once its keys are open (null: could not be opened): Random and MachTime from the
// machine key, UserTime from the user key, fresh values ("%d" of tickCount and now) where they are absent.
// Fresh machine values are stored only with write, the user value always. The three global variables are
// set only when nothing failed; a key that was not opened leaves its values "1".
bool UpdateIdentityValues(IIdentityKey* machineKey, IIdentityKey* userKey, bool write, bool evenIfUnreadable,
                          DWord tickCount, Int64 now);

// What the time-out loop of a check waits on: the engine's own read and clock, or a test's script of them.
class IReadWait {
public:
    virtual RStatus Poll() = 0;
    // Blocks up to ms milliseconds, less when the read ends first.
    virtual void Wait(DWord ms) = 0;
    // Milliseconds from an arbitrary start; may wrap around.
    virtual DWord TickCount() = 0;

protected:
    ~IReadWait() = default;
};

// Polls once a second while the read is busy; E_Timeout as soon as timeout seconds have passed since
// startTick, else the read's status.
RStatus WaitForRead(IReadWait& read, DWord startTick, Int timeout);

// One version check: one request, one reply. The application's own request parameters are named at
// construction; any other name that is not a core or test parameter is reported as unknown.
class CUpdateWatcher : public CWinVarListPageReader {
public:
    // appVarNames: null-terminated, not owned; it must outlive the engine.
    explicit CUpdateWatcher(const char* const* appVarNames);

    // The whole check: status (also returned) is E_InternetBadScheme when VersionScheme names neither "http"
    // nor "https" (nothing is sent), E_Timeout when no answer came within timeout seconds, the read's failure,
    // or its success with the reply script in replyText. url gets the request as built.
    // overrideVars (may be null) replace request parameters and make the check non-standard; overrideOnly
    // sends only the application and override variables (no core parameter is added or required). With
    // UWDelay set the delay page of DelayTestHost is read instead, over the same scheme; then, or when the
    // check is non-standard, ShowNonStandardBox is called once the read has started.
    // With the global variable ReplyKey set, the request (the delay page's too) carries a fresh VR_Nonce and
    // only a reply signed for it runs: E_InternetBadReplyKey when the key is not 128 hexadecimal digits
    // (nothing is sent) or not a P-256 key, E_InternetBadSignature when the signature is missing, malformed or
    // wrong; ReplyCheck says which.
    RStatus CheckWithTimeout(RStatus& status, bool automatic, const char* productCode, const CVersion& productVersion,
                             const char* productLanguage, const CVarList& appVars, CString& replyText, CString& url,
                             const CVarList* overrideVars, bool overrideOnly, Int timeout);
    // Builds the request (into RequestVars and url), starts reading and returns at once; status is the
    // read's as Poll gives it, or E_InternetBadScheme, E_InternetBadReplyKey or Failure (no nonce) with nothing
    // built.
    void StartCheck(RStatus& status, bool automatic, const char* productCode, const CVersion& productVersion,
                    const char* productLanguage, const CVarList& appVars, CString& url, const CVarList* overrideVars,
                    bool overrideOnly);
    // The finished page cut down to the reply script; true only when the page was read and both envelope
    // markers were found (the text is kept either way).
    bool FetchScript(CString& replyText);
    // Sets the global variables Random, MachTime and UserTime from "SOFTWARE\Vantrel" of HKLM (the first
    // two) and HKCU (the last), making and storing fresh ones as UpdateIdentityValues says. False when a key
    // could not be opened (unless evenIfUnreadable) or a value could not be stored. Virtual so that a test can
    // keep the machine's registry out of its requests.
    virtual bool UpdatePersistentIdentity(bool write, bool evenIfUnreadable);

    // False once overrides or another host than the standard one make the check non-standard.
    bool IsStandardCheck() const { return mStandard; }
    // Why a signed check failed; rcSigned otherwise.
    EReplyCheck ReplyCheck() const { return mReplyCheck; }
    // Whether the reply had to be signed: after a check that succeeded, its signature was verified.
    bool ReplySigned() const { return mSigned; }

protected:
    // Shows the non-standard box; the default is a plain message box. The application routes it through its
    // own message dialogs.
    virtual void ShowNonStandardBox(const char* text, const char* title);
    // The machine's facts for the request.
    virtual void GetMachineFacts(CMachineFacts& facts);
    // Milliseconds for the time limit.
    virtual DWord TickCount();
    // Starts reading the page (the reader's StartRead); the status as Poll gives it.
    virtual RStatus StartPageRead(const char* url, Int max);

private:
    class CReadWait;

    void AddCoreVars(CVarList& requestVars, bool automatic, const char* productCode, const CVersion& productVersion,
                     const char* productLanguage);
    void AddIdentityVars(CVarList& requestVars, const CMachineFacts& facts);
    void BuildRequestURL(const char* scheme, const CVarList& requestVars, CString& url);
    void StartRequestRead(const char* scheme, const CString& url);
    CString DelayTestURL(const char* scheme, const CString& delay) const;
    bool PrepareSignedReply(RStatus& status);
    RStatus FetchSignedScript(CString& replyText);

    const char* const* mAppVarNames;
    bool mStandard = true;
    // Set by ReplyKey: the reply must be signed for mNonce with mReplyKey.
    bool mSigned = false;
    CReplyKey mReplyKey;
    CString mNonce;
    EReplyCheck mReplyCheck = rcSigned;
};

} // namespace Orn
