// The version-check engine's Windows half: the persistent identity in the registry, the tick count and the box.
#include "VersionRequest.h"

#include <windows.h>

#include "RegKey.h"
#include "Time.h"

namespace Orn {

namespace {

const char MachineKeyPath[] = "HKEY_LOCAL_MACHINE\\SOFTWARE\\Vantrel";
const char UserKeyPath[] = "HKEY_CURRENT_USER\\SOFTWARE\\Vantrel";

class CRegIdentityKey : public IIdentityKey {
public:
    explicit CRegIdentityKey(CRegKey& key) : mKey(key) {}
    bool Get(const char* name, CString& value) override { return mKey.GetString(name, value); }
    bool Set(const char* name, const char* value) override { return mKey.SetString(name, value); }

private:
    CRegKey& mKey;
};

} // namespace

bool CUpdateWatcher::UpdatePersistentIdentity(bool write, bool evenIfUnreadable)
{
    CRegKey machineKey;
    machineKey.OpenRooted(MachineKeyPath, write ? CRegKey::regReadWrite : CRegKey::regRead);
    // A user who may not write the key still reports the time stored there.
    CRegKey userKey;
    if (!userKey.OpenRooted(UserKeyPath, CRegKey::regReadWrite))
        userKey.OpenRooted(UserKeyPath, CRegKey::regRead);

    CRegIdentityKey machine(machineKey);
    CRegIdentityKey user(userKey);
    return UpdateIdentityValues(machineKey.IsValid() ? &machine : nullptr, userKey.IsValid() ? &user : nullptr, write,
                                evenIfUnreadable, ::GetTickCount(), CTime::Now().Seconds());
}

void CUpdateWatcher::ShowNonStandardBox(const char* text, const char* title)
{
    ::MessageBoxA(nullptr, text, title, MB_OK);
}

DWord CUpdateWatcher::TickCount() { return ::GetTickCount(); }

} // namespace Orn
