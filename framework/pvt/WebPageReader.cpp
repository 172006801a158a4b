// The web page reader's portable half: URL splitting, the read's life cycle and the text of the page.
#include "WebPageReader.h"

#include <cstring>

#include "Debug.h"
#include "MemStream.h"
#include "WebPageReaderPlatform.h"

namespace Orn {

namespace {

const char HttpPrefix[] = "http://";
const char HttpsPrefix[] = "https://";
constexpr Int HttpPort = 80;
constexpr Int HttpsPort = 443;

bool HasPrefix(const char* url, const char* prefix)
{
    return std::strncmp(url, prefix, static_cast<size_t>(Str::Length(prefix))) == 0;
}

// A host may carry a port ("127.0.0.1:8080"), so that a test server can stand in for the real one.
bool SplitHostPort(const CString& hostPort, Int defaultPort, CString& host, Int& port)
{
    Int colon = -1;
    for (Int i = 0; i < hostPort.Length(); ++i)
        if (hostPort[i] == ':')
            colon = i;
    if (colon < 0) {
        host = hostPort;
        port = defaultPort;
        return true;
    }
    Int digits = hostPort.Length() - colon - 1;
    if (digits < 1 || digits > 5)
        return false;
    Int value = 0;
    for (Int i = colon + 1; i < hostPort.Length(); ++i) {
        if (hostPort[i] < '0' || hostPort[i] > '9')
            return false;
        value = value * 10 + (hostPort[i] - '0');
    }
    if (value < 1 || value > 65535)
        return false;
    host = hostPort.Mid(0, colon);
    port = value;
    return true;
}

} // namespace

bool SplitWebURL(const char* url, bool alwaysUsePOST, CWebRequest& request)
{
    CWebRequest split;
    if (url && HasPrefix(url, HttpsPrefix))
        split.secure = true;
    else if (!url || !HasPrefix(url, HttpPrefix))
        return false;
    CString rest(url + Str::Length(split.secure ? HttpsPrefix : HttpPrefix));
    Int slash = rest.Find("/");
    Int defaultPort = split.secure ? HttpsPort : HttpPort;
    if (!SplitHostPort(slash < 0 ? rest : rest.Mid(0, slash), defaultPort, split.host, split.port))
        return false;
    if (slash >= 0)
        split.object = rest.Mid(slash + 1);

    bool tooLong = Str::Length(url) > MaxGetURLLength;
    Int query = split.object.Find("?");
    if ((alwaysUsePOST || tooLong) && query >= 0) {
        split.body = split.object.Mid(query + 1);
        split.object = split.object.Mid(0, query);
    } else if (tooLong) {
        ORN_ASSERT_MSG("URL longer than max but does not contain query parameters");
    }
    split.doPOST = !split.body.IsEmpty();
    split.alwaysUsePOST = alwaysUsePOST;
    request = split;
    return true;
}

const char* CertificateFailureCause(RStatus status)
{
    if (status == E_InternetCertUntrusted)
        return "untrusted issuer";
    if (status == E_InternetCertWrongHost)
        return "wrong host name";
    if (status == E_InternetCertExpired)
        return "expired or not yet valid";
    if (status == E_InternetCertInvalid)
        return "revoked, not verifiable or malformed";
    return nullptr;
}

CWebPageReader::CWebPageReader(const char* clientName)
{
    ORN_ASSERT(clientName);
    mClientName = clientName ? clientName : "";
}

// The worker keeps its own share of the buffer, so nothing here waits for it.
CWebPageReader::~CWebPageReader() = default;

RStatus CWebPageReader::StartRead(const char* url, Int max)
{
    ORN_ASSERT(max > 0);
    ORN_ASSERT(!mThreadHand);
    ORN_ASSERT(! mText);
    if (max <= 0 || mThreadHand || mText)
        return Failure;

    bool alwaysUsePOST = false;
    GlobalVars.GetBool("AlwaysUsePOST", alwaysUsePOST);
    if (!SplitWebURL(url, alwaysUsePOST, mRequest)) {
        mStartStatus = E_BadArgument;
        return mStartStatus;
    }

    mMax = max;
    mText.reset(new char[static_cast<size_t>(max) + 1]);
    mText[0] = 0;
    mStartStatus = Failure;
    mThreadHand = StartPageReadThread(mClientName, mRequest, mText, max);
    return Poll();
}

RStatus CWebPageReader::Poll() const
{
    return mThreadHand ? mThreadHand->Poll() : mStartStatus;
}

bool CWebPageReader::WaitForEnd(DWord ms) const
{
    return !mThreadHand || mThreadHand->WaitForEnd(ms);
}

bool CWebPageReader::GetText(CString& text) const
{
    if (Poll() != Ok)
        return false;
    // The worker keeps the buffer zero-terminated, so the read stops at the page's end.
    CMemStream textStream(mText.get(), mMax + 1, smRead | smText);
    if (!textStream.ReadToDelim(text)) {
        ORN_ASSERT_MSG("textStream.ReadToDelim(text)");
        return false;
    }
    return true;
}

bool CWebPageReader::GetPage(CString& page) const
{
    if (Poll() != Ok)
        return false;
    page = mText.get();
    return true;
}

DWord CWebPageReader::LastInternetStatus() const
{
    return mThreadHand ? mThreadHand->LastInternetStatus() : 0;
}

void CVarListPageReader::BuildURL(const char* baseURL, CString& url) const
{
    url = baseURL ? baseURL : "";
    CString query;
    if (mRequestVars.BuildQuery(query) > 0) {
        url.AppendChar('?');
        url.Append(query);
    }
}

RStatus CVarListPageReader::StartReadWithVars(const char* baseURL, Int max)
{
    CString url;
    BuildURL(baseURL, url);
    return StartRead(url, max);
}

} // namespace Orn
