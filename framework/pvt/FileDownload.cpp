// The portable part of a file download: where a redirect leads.
#include "FileDownload.h"

#include <cstring>

namespace Orn {

bool ResolveRedirect(const char* from, const char* location, CString& to)
{
    if (!from || !location || !*location)
        return false;
    if (location[0] != '/') {
        // Absolute: a scheme of letters, then "://". The download's URL rule judges the rest.
        const char* p = location;
        while ((*p | 0x20) >= 'a' && (*p | 0x20) <= 'z')
            ++p;
        if (p == location || std::strncmp(p, "://", 3) != 0)
            return false;
        to = location;
        return true;
    }
    if (location[1] == '/')
        return false;
    const char* scheme = std::strstr(from, "://");
    if (!scheme)
        return false;
    const char* authority = scheme + 3;
    CString resolved(from, static_cast<Int>(authority - from) + static_cast<Int>(std::strcspn(authority, "/?#")));
    resolved.Append(location);
    to = resolved;
    return true;
}

} // namespace Orn
