// The version-check engine's native half, for the tests of the portable engine: no registry, no message box.
#include "VersionRequest.h"

#include <ctime>

#include "Debug.h"
#include "Time.h"

namespace Orn {

bool CUpdateWatcher::UpdatePersistentIdentity(bool write, bool evenIfUnreadable)
{
    // Without a registry every key is unreadable, so the identity stays "1".
    return UpdateIdentityValues(nullptr, nullptr, write, evenIfUnreadable, TickCount(), CTime::Now().Seconds());
}

void CUpdateWatcher::ShowNonStandardBox(const char* text, const char* title)
{
    CString line;
    line.Format("%s: %s\n", title, text);
    DebugOutput(line);
}

DWord CUpdateWatcher::TickCount()
{
    timespec now {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<DWord>(now.tv_sec * 1000 + now.tv_nsec / 1000000);
}

} // namespace Orn
