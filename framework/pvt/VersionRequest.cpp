// The version-check engine's portable half: request parameters, their checks, the URL and the time-out loop.
#include "VersionRequest.h"

#include <cstdlib>

#include "Debug.h"
#include "Escape.h"
#include "Format.h"
#include "OSQueries.h"
#include "Time.h"
#include "Version.h"
#include "VersionScript.h"

namespace Orn {

namespace {

// In the order the required check goes through them.
const char* const CoreRequiredVars[] = {
    "VR_Product",  "VR_ProdLang", "VR_ProdVer", "VR_Vendor", "VR_OS",       "VR_OSVer",  "VR_OSLang",  "VR_OSBits",
    "VR_MachTime", "VR_UserTime", "VR_Random",  "VR_MACAddr", "VR_ShowTips", "VR_LastUW", "VR_LastTip", "VR_AutoUW",
    nullptr,
};
const char* const TestVars[] = {"VR_TestVer", "VR_TestScript", nullptr};

const char RequestURLTemplate[] = "<VersionScheme>://<VersionDomain>/updatewatch/updatewatch.aspx?<RequestVars>";
const char DelayTestPath[] = "/updatewatch/UwDelayTest.aspx";
const char ErrorValue[] = "ERROR";
constexpr DWord PollIntervalMs = 1000;
constexpr Int64 SecondsPerDay = 86400;

bool IsListed(const char* const* names, const char* name)
{
    for (; names && *names; ++names) {
        if (Str::Equal(*names, name))
            return true;
    }
    return false;
}

// A missing or empty parameter goes out as "ERROR", so the server sees the fault too.
bool EnsureAllVarsSet(CVarList& requestVars, const char* const* names)
{
    bool allSet = true;
    for (; *names; ++names) {
        const char* value = requestVars.Find(*names);
        if (!value || !*value) {
            requestVars.Set(*names, ErrorValue);
            allSet = false;
        }
    }
    return allSet;
}

class CUnknownNameCheck : public CVarList::CVisitor {
public:
    explicit CUnknownNameCheck(const char* const* appVarNames) : mAppVarNames(appVarNames) {}

    bool Visit(const char* name, const char* /*value*/) override
    {
        if (!IsListed(mAppVarNames, name) && !IsListed(CoreRequiredVars, name) && !IsListed(TestVars, name) &&
            !Str::Equal(name, ReplyNonceVar)) {
            ORN_ASSERT_FMT("unknown version request parameter: '%s'", name);
            mAllKnown = false;
        }
        return true;
    }
    bool AllKnown() const { return mAllKnown; }

private:
    const char* const* mAppVarNames;
    bool mAllKnown = true;
};

// Every unknown name is reported on its own; the request still carries it.
bool EnsureNoUnknownVars(const CVarList& requestVars, const char* const* appVarNames)
{
    CUnknownNameCheck check(appVarNames);
    requestVars.Visit(check);
    return check.AllKnown();
}

// Copies values without their read-only marks, so overrides can replace any of them.
class CVarCopy : public CVarList::CVisitor {
public:
    explicit CVarCopy(CVarList& target) : mTarget(target) {}
    bool Visit(const char* name, const char* value) override
    {
        mTarget.Set(name, value);
        return true;
    }

private:
    CVarList& mTarget;
};

class CQueryWriter : public CVarList::CVisitor {
public:
    explicit CQueryWriter(CString& query) : mQuery(query) { mQuery.Empty(); }
    bool Visit(const char* name, const char* value) override
    {
        if (!mQuery.IsEmpty())
            mQuery.AppendChar('&');
        AppendEscaped(name);
        mQuery.AppendChar('=');
        AppendEscaped(value);
        return true;
    }

private:
    void AppendEscaped(const char* text)
    {
        EscapeURLComponent(mEscaped, text, Ch::uriQuery, ueoSpaceAsPlus, true);
        mQuery.Append(mEscaped);
    }

    CString& mQuery;
    CString mEscaped;
};

void SetFromGlobal(CVarList& requestVars, const char* param, const char* global)
{
    CString value;
    if (!GlobalVars.GetValue(global, value)) {
        ORN_ASSERT_FMT("global variable undefined: '%s'", global);
        value = ErrorValue;
    }
    requestVars.Set(param, value);
}

// A time is stored as its decimal seconds; anything else is no time.
CTime ParseStoredTime(const char* text)
{
    if (!text || !*text)
        return CTime();
    char* end = nullptr;
    long long seconds = std::strtoll(text, &end, 10);
    return *end == 0 ? CTime(seconds) : CTime();
}

// Whole days since the last check, -1 when there was none; the difference is taken in 32 bits.
Int DaysSinceLastCheck()
{
    CTime last = ParseStoredTime(GlobalVars.Find("LastUpdateWatch"));
    if (!last.IsValid())
        return -1;
    Int elapsed = static_cast<Int>(static_cast<DWord>(CTime::Now().Seconds() - last.Seconds()));
    return elapsed / static_cast<Int>(SecondsPerDay);
}

void SetInt(CVarList& requestVars, const char* param, Int value)
{
    CString text;
    text.Format("%d", value);
    requestVars.Set(param, text);
}

void AddTestVars(CVarList& requestVars)
{
    Int testVer = 0;
    if (GlobalVars.GetInt("UWServerTestVer", testVer))
        SetInt(requestVars, "VR_TestVer", testVer);
    CString scriptId;
    if (GlobalVars.GetValue("UWServerScriptId", scriptId))
        requestVars.Set("VR_TestScript", scriptId);
}

// Reads one identity value; an absent one takes the fresh value, stored when asked. A failed store leaves "1".
bool TakeIdentityValue(IIdentityKey& key, const char* name, const CString& fresh, bool store, CString& value)
{
    if (key.Get(name, value))
        return true;
    value = fresh;
    if (store && !key.Set(name, fresh)) {
        value = "1";
        return false;
    }
    return true;
}

// The request's scheme from the global variable VersionScheme: "http" when it is absent, or "https"; false,
// with scheme untouched, for any other value.
bool GetVersionScheme(CString& scheme)
{
    CString value;
    if (!GlobalVars.GetValue("VersionScheme", value))
        value = "http";
    if (value != "http" && value != "https")
        return false;
    scheme = value;
    return true;
}

} // namespace

bool UpdateIdentityValues(IIdentityKey* machineKey, IIdentityKey* userKey, bool write, bool evenIfUnreadable,
                          DWord tickCount, Int64 now)
{
    if ((!machineKey || !userKey) && !evenIfUnreadable)
        return false;
    CString freshRandom;
    CString freshTime;
    freshRandom.Format("%d", static_cast<Int>(tickCount));
    freshTime.Format("%d", static_cast<Int>(now));
    CString random("1");
    CString machTime("1");
    CString userTime("1");
    bool result = true;
    if (machineKey) {
        result = TakeIdentityValue(*machineKey, "Random", freshRandom, write, random) && result;
        result = TakeIdentityValue(*machineKey, "MachTime", freshTime, write, machTime) && result;
    }
    // The user's own time is stored whatever the caller says, so each user keeps one from the first check on.
    if (userKey)
        result = TakeIdentityValue(*userKey, "UserTime", freshTime, true, userTime) && result;
    if (result) {
        GlobalVars.Set("Random", random);
        GlobalVars.Set("MachTime", machTime);
        GlobalVars.Set("UserTime", userTime);
    }
    return result;
}

RStatus WaitForRead(IReadWait& read, DWord startTick, Int timeout)
{
    DWord limitMs = static_cast<DWord>(timeout) * 1000u;
    RStatus status = read.Poll();
    while (status == S_Busy) {
        // Unsigned difference, so a tick count that wraps around during the wait still measures right.
        if (read.TickCount() - startTick >= limitMs)
            return E_Timeout;
        // Wakes early when the read ends, rather than sleeping out the whole interval.
        read.Wait(PollIntervalMs);
        status = read.Poll();
    }
    return status;
}

// The engine's own read, timed by its own clock.
class CUpdateWatcher::CReadWait : public IReadWait {
public:
    explicit CReadWait(CUpdateWatcher& watcher) : mWatcher(watcher) {}
    RStatus Poll() override { return mWatcher.Poll(); }
    void Wait(DWord ms) override { mWatcher.WaitForEnd(ms); }
    DWord TickCount() override { return mWatcher.TickCount(); }

private:
    CUpdateWatcher& mWatcher;
};

CUpdateWatcher::CUpdateWatcher(const char* const* appVarNames)
    : CWinVarListPageReader(VersionCheckClientName), mAppVarNames(appVarNames)
{
    ORN_ASSERT(appVarNames);
}

RStatus CUpdateWatcher::CheckWithTimeout(RStatus& status, bool automatic, const char* productCode,
                                         const CVersion& productVersion, const char* productLanguage,
                                         const CVarList& appVars, CString& replyText, CString& url,
                                         const CVarList* overrideVars, bool overrideOnly, Int timeout)
{
    ORN_ASSERT(timeout > 0);
    replyText.Empty();
    DWord startTick = TickCount();
    StartCheck(status, automatic, productCode, productVersion, productLanguage, appVars, url, overrideVars,
               overrideOnly);
    if (status.Failed())
        return status;
    CReadWait wait(*this);
    status = WaitForRead(wait, startTick, timeout);
    if (status.Failed())
        return status;
    if (mSigned)
        status = FetchSignedScript(replyText);
    else
        FetchScript(replyText);
    return status;
}

void CUpdateWatcher::StartCheck(RStatus& status, bool automatic, const char* productCode,
                                const CVersion& productVersion, const char* productLanguage, const CVarList& appVars,
                                CString& url, const CVarList* overrideVars, bool overrideOnly)
{
    url.Empty();
    mStandard = true;
    CString scheme;
    if (!GetVersionScheme(scheme)) {
        status = E_InternetBadScheme;
        return;
    }
    if (!PrepareSignedReply(status))
        return;
    CVarList& requestVars = RequestVars();
    requestVars.Clear();
    CVarCopy copy(requestVars);
    appVars.Visit(copy);

    if (!overrideOnly) {
        AddCoreVars(requestVars, automatic, productCode, productVersion, productLanguage);
        AddTestVars(requestVars);
        ORN_ASSERT(EnsureAllVarsSet(requestVars,CoreRequiredVars));
    }
    if (overrideVars) {
        CVarCopy replace(requestVars);
        overrideVars->Visit(replace);
        mStandard = false;
    }
    // After the overrides, so that the nonce the reply is checked against is always the fresh one.
    if (mSigned)
        requestVars.Set(ReplyNonceVar, mNonce);
    ORN_ASSERT(EnsureNoUnknownVars(requestVars,mAppVarNames));
    BuildRequestURL(scheme, requestVars, url);
    StartRequestRead(scheme, url);
    status = Poll();
}

void CUpdateWatcher::AddCoreVars(CVarList& requestVars, bool automatic, const char* productCode,
                                 const CVersion& productVersion, const char* productLanguage)
{
    SetFromGlobal(requestVars, "VR_ShowTips", "ShowTips");
    SetInt(requestVars, "VR_LastUW", DaysSinceLastCheck());
    const char* lastTip = GlobalVars.Find("LastTip");
    requestVars.Set("VR_LastTip", lastTip ? lastTip : "-1");
    SetInt(requestVars, "VR_AutoUW", automatic ? 1 : 0);

    CMachineFacts facts;
    GetMachineFacts(facts);
    AddIdentityVars(requestVars, facts);
    requestVars.Set("VR_OS", "WIN");
    requestVars.Set("VR_OSVer", facts.osVersion);
    requestVars.Set("VR_OSLang", facts.osLanguage);
    requestVars.Set("VR_OSBits", facts.osBits);

    CString version;
    if (productVersion.IsValid())
        productVersion.Format(version, vsDotted);
    requestVars.Set("VR_Product", productCode ? productCode : "");
    requestVars.Set("VR_ProdLang", productLanguage ? productLanguage : "");
    requestVars.Set("VR_ProdVer", version);
    SetFromGlobal(requestVars, "VR_Vendor", "VendorId");
}

void CUpdateWatcher::AddIdentityVars(CVarList& requestVars, const CMachineFacts& facts)
{
    // Fixes this machine's and user's identity on the first check; later checks repeat it.
    UpdatePersistentIdentity(false, true);
    SetFromGlobal(requestVars, "VR_MachTime", "MachTime");
    SetFromGlobal(requestVars, "VR_UserTime", "UserTime");
    SetFromGlobal(requestVars, "VR_Random", "Random");
    requestVars.Set("VR_MACAddr", facts.macAddress);
}

void CUpdateWatcher::GetMachineFacts(CMachineFacts& facts)
{
    Int major = 0;
    Int minor = 0;
    Int reserved = 0;
    GetOSVersion(major, minor, reserved);
    facts.osVersion.Format("%d.%d", major, minor);
    if (!GetOSLanguageName(facts.osLanguage))
        facts.osLanguage.Empty();
    facts.osBits = Is64BitWindows() ? "64" : "32";
    Byte address[6];
    if (GetAdapterAddress(address))
        facts.macAddress.SetHex(address, 6);
    else
        facts.macAddress = "none";
}

void CUpdateWatcher::BuildRequestURL(const char* scheme, const CVarList& requestVars, CString& url)
{
    CString query;
    CQueryWriter writer(query);
    requestVars.Visit(writer);

    CString versionDomain;
    ORN_ASSERT(GlobalVars.GetValue("VersionDomain",versionDomain));
    if (versionDomain != StandardVersionHost)
        mStandard = false;

    // Filled by name only: a global variable must not slip into the URL through the template.
    CFormat request(RequestURLTemplate, nullptr, fmtNoGlobals);
    request.Item("VersionScheme", scheme);
    request.Item("VersionDomain", versionDomain.Chars());
    request.Item("RequestVars", query.Chars());
    url = request.Text();
}

void CUpdateWatcher::StartRequestRead(const char* scheme, const CString& url)
{
    CString delay;
    bool delayTest = GlobalVars.GetValue("UWDelay", delay);
    if (delayTest)
        (void)StartPageRead(DelayTestURL(scheme, delay), MaxReplyPageSize);
    else
        (void)StartPageRead(url, MaxReplyPageSize);
    // After the read has started, so the page comes in while the box waits for its click.
    if (delayTest || !mStandard)
        ShowNonStandardBox(NonStandardCheckText, NonStandardCheckTitle);
}

CString CUpdateWatcher::DelayTestURL(const char* scheme, const CString& delay) const
{
    CString delayURL(scheme);
    delayURL.Append("://");
    delayURL.Append(DelayTestHost);
    delayURL.Append(DelayTestPath);
    if (delay != "1") {
        delayURL.Append("?VR_TIMEDELAY=");
        delayURL.Append(delay);
    }
    // The delay page's reply is checked like any other, so it too must be signed for this request.
    if (mSigned) {
        delayURL.Append(delay != "1" ? "&" : "?");
        delayURL.Append(ReplyNonceVar);
        delayURL.AppendChar('=');
        delayURL.Append(mNonce);
    }
    return delayURL;
}

RStatus CUpdateWatcher::StartPageRead(const char* url, Int max) { return StartRead(url, max); }

// With ReplyKey set the reply must be signed for a fresh nonce; a key that cannot be read is a failure, never
// a reason to run an unsigned reply.
bool CUpdateWatcher::PrepareSignedReply(RStatus& status)
{
    mSigned = false;
    mNonce.Empty();
    mReplyCheck = rcSigned;
    mReplyKeyIndex = 0;
    mVerified = false;
    CString keyText;
    if (!GlobalVars.GetValue(ReplyKeyVar, keyText))
        return true;
    if (!ParseReplyKeys(keyText, mReplyKeys)) {
        mReplyCheck = rcMalformedKey;
        status = E_InternetBadReplyKey;
        return false;
    }
    if (!MakeReplyNonce(mNonce)) {
        mReplyCheck = rcNoNonce;
        status = Failure;
        return false;
    }
    mSigned = true;
    return true;
}

RStatus CUpdateWatcher::FetchSignedScript(CString& replyText)
{
    replyText.Empty();
    CString page;
    if (!GetPage(page))
        return Failure;
    RStatus status = CheckSignedReply(page, SentRequest(), mReplyKeys, replyText, mReplyCheck, mReplyKeyIndex);
    mVerified = status == Ok;
    return status;
}

// The request as the reader sent it: the object is the path without its "/", with the query unless a POST
// took it into the body.
CSignedRequest CUpdateWatcher::SentRequest() const
{
    const CWebRequest& sent = Request();
    CSignedRequest request;
    request.method = sent.doPOST ? "POST" : "GET";
    Int mark = sent.object.Find("?");
    request.path = "/";
    request.path.Append(mark < 0 ? sent.object : sent.object.Mid(0, mark));
    if (mark >= 0)
        request.query = sent.object.Mid(mark + 1);
    request.body = sent.body;
    request.nonce = mNonce;
    return request;
}

bool CUpdateWatcher::FetchScript(CString& replyText)
{
    replyText.Empty();
    if (!GetText(replyText))
        return false;
    return CutReplyEnvelope(replyText);
}

} // namespace Orn
