// Which pages a reply script's open_new may hand to the shell: the OpenURLPolicy setting and a cap per run.
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn {

// Pages one run may open under a policy other than "any": a reply has a page or two to show (release notes,
// a download page), and a looping script must not bury the desktop in browser windows.
constexpr Int MaxPagesPerRun = 3;

// Limits of a plain web URL: what browsers and DNS take, with no reason to hand anything longer to the shell.
constexpr Int MaxWebURLLength = 2048;
constexpr Int MaxHostLength = 253;
constexpr Int MaxHostLabelLength = 63;

// True for an absolute "http://" or "https://" URL (scheme in any case) of at most MaxWebURLLength characters
// whose authority is a plain host name (at most MaxHostLength characters, labels of at most
// MaxHostLabelLength) or dotted address with an optional port (1 to 65535), and nothing the shell could take
// for a path or a command: printable ASCII only (no blank, backslash, quote, "<>^`{|}"), no user-info, and
// every "%" followed by two hex digits that stand for neither a control character, a quote nor a backslash
// (and no "%" at all in the host). host, when given, gets the host name.
bool IsPlainWebURL(const char* url, CString* host = nullptr);

// One run's policy, read once from the setting's text:
//   null (absent) or "any"  any text passes, without a cap;
//   "web"                   plain web URLs only (IsPlainWebURL), at most MaxPagesPerRun of them;
//   "hosts:a.com,b.org"     as "web", and the host must be a listed one or end in "." and a listed one
//                           (blanks around the names are ignored, case does not count).
// Any other text is read as "web".
class COpenURLPolicy {
public:
    enum Verdict { urlAllowed, urlRefused, urlOverLimit };

    explicit COpenURLPolicy(const char* setting);

    // False when the setting was none of the forms above (and is read as "web").
    bool Known() const { return mKnown; }
    // The verdict on one page; each allowed page counts against the cap.
    Verdict Admit(const char* url);
    // Whether a file may be downloaded from the URL (no cap): a plain web URL that begins with "https://"
    // (lower case), with nothing but a path after its host and port, whose host a "hosts:" list names,
    // whatever the policy is otherwise.
    bool AdmitsDownload(const char* url) const;

private:
    enum Kind { kindAny, kindWeb, kindHosts };

    bool ListsHost(const CString& host) const;

    Kind mKind = kindAny;
    bool mKnown = true;
    CString mHosts;
    Int mOpened = 0;
};

} // namespace Orn
