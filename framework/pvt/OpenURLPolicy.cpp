// The open_new policy: the plain web URL test, the host list and the cap on pages per run.
#include "OpenURLPolicy.h"

#include <cstring>

namespace Orn {

namespace {

const char HostsPrefix[] = "hosts:";

// Printable ASCII that a URL may carry as it stands; the rest could mean something to a shell or a command line.
bool IsURLChar(unsigned char c)
{
    if (c <= 0x20 || c >= 0x7F)
        return false;
    return Str::Find("\\\"<>^`{|}", static_cast<char>(c)) < 0;
}

// Every "%" starts two hex digits that stand for neither a control character nor a quote or backslash, which
// a browser's command line could take for its own.
bool EscapesAreSafe(const char* url)
{
    for (const char* p = url; *p; ++p) {
        if (*p != '%')
            continue;
        Int hi = Str::HexValue(static_cast<unsigned char>(p[1]));
        Int lo = hi < 0 ? -1 : Str::HexValue(static_cast<unsigned char>(p[2]));
        if (lo < 0)
            return false;
        Int value = hi * 16 + lo;
        if (value < 0x20 || value == 0x7F || value == '"' || value == '\\')
            return false;
        p += 2;
    }
    return true;
}

// The length of a leading "http://" or "https://" in any case, or 0.
Int SchemeLength(const char* url)
{
    static const char* const schemes[] = {"http://", "https://"};
    for (const char* scheme : schemes) {
        Int i = 0;
        while (scheme[i] && (url[i] | 0x20) == scheme[i])
            ++i;
        if (!scheme[i])
            return i;
    }
    return 0;
}

bool IsHostChar(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-';
}

// A host name or dotted address as DNS allows it: labels of letters, digits and "-", none of them empty.
bool IsPlainHost(const char* begin, const char* end)
{
    if (end - begin > MaxHostLength)
        return false;
    Int label = 0;
    for (const char* p = begin; p < end; ++p) {
        if (*p == '.' && label == 0)
            return false;
        if (*p != '.' && !IsHostChar(*p))
            return false;
        label = *p == '.' ? 0 : label + 1;
        if (label > MaxHostLabelLength)
            return false;
    }
    return label > 0;
}

bool IsPort(const char* begin, const char* end)
{
    if (end - begin < 1 || end - begin > 5)
        return false;
    Int value = 0;
    for (const char* p = begin; p < end; ++p) {
        if (*p < '0' || *p > '9')
            return false;
        value = value * 10 + (*p - '0');
    }
    return value >= 1 && value <= 65535;
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// host is name or a sub-domain of it.
bool IsSameOrBelow(const CString& host, const char* name, Int nameLen)
{
    Int extra = host.Length() - nameLen;
    if (nameLen == 0 || extra < 0 || (extra > 0 && host[extra - 1] != '.'))
        return false;
    return Str::IEqual(CString(host.Chars() + extra), CString(name, nameLen));
}

} // namespace

bool IsPlainWebURL(const char* url, CString* host)
{
    if (!url || Str::Length(url) > MaxWebURLLength)
        return false;
    for (const char* p = url; *p; ++p) {
        if (!IsURLChar(static_cast<unsigned char>(*p)))
            return false;
    }
    Int schemeLen = SchemeLength(url);
    if (schemeLen == 0 || !EscapesAreSafe(url))
        return false;
    // The authority ends where the path, the query or the fragment begins; an "@" in it is refused as a host char.
    const char* authority = url + schemeLen;
    const char* end = authority + std::strcspn(authority, "/?#");
    const char* colon = static_cast<const char*>(std::memchr(authority, ':', static_cast<size_t>(end - authority)));
    const char* hostEnd = colon ? colon : end;
    if (!IsPlainHost(authority, hostEnd) || (colon && !IsPort(colon + 1, end)))
        return false;
    if (host)
        *host = CString(authority, static_cast<Int>(hostEnd - authority));
    return true;
}

COpenURLPolicy::COpenURLPolicy(const char* setting)
{
    const Int prefixLen = Str::Length(HostsPrefix);
    if (!setting || Str::Equal(setting, "any")) {
        mKind = kindAny;
    } else if (Str::Equal(setting, "web")) {
        mKind = kindWeb;
    } else if (std::strncmp(setting, HostsPrefix, static_cast<size_t>(prefixLen)) == 0) {
        mKind = kindHosts;
        mHosts = setting + prefixLen;
    } else {
        mKind = kindWeb;
        mKnown = false;
    }
}

COpenURLPolicy::Verdict COpenURLPolicy::Admit(const char* url)
{
    if (mKind == kindAny)
        return urlAllowed;
    CString host;
    if (!IsPlainWebURL(url, &host) || (mKind == kindHosts && !ListsHost(host)))
        return urlRefused;
    if (mOpened >= MaxPagesPerRun)
        return urlOverLimit;
    ++mOpened;
    return urlAllowed;
}

bool COpenURLPolicy::AdmitsDownload(const char* url) const
{
    CString host;
    if (!url || std::strncmp(url, "https://", 8) != 0 || !IsPlainWebURL(url, &host))
        return false;
    // The request's host ends at the first "/" only, so a query or fragment may not follow the authority.
    char afterAuthority = url[8 + std::strcspn(url + 8, "/?#")];
    return (afterAuthority == '/' || afterAuthority == 0) && (mKind != kindHosts || ListsHost(host));
}

bool COpenURLPolicy::ListsHost(const CString& host) const
{
    for (const char* p = mHosts; *p;) {
        const char* end = p + std::strcspn(p, ",");
        const char* first = p;
        const char* last = end;
        while (first < last && IsBlank(*first))
            ++first;
        while (last > first && IsBlank(last[-1]))
            --last;
        if (IsSameOrBelow(host, first, static_cast<Int>(last - first)))
            return true;
        p = *end ? end + 1 : end;
    }
    return false;
}

} // namespace Orn
