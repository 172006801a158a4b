// Loading GlobalVars from the string values of a registry key.
#include "RegKey.h"
#include "VarList.h"

namespace Orn {

RStatus LoadGlobalsFromRegistry(const char* rootedKeyPath)
{
    CRegKey key;
    if (!key.OpenRooted(rootedKeyPath, CRegKey::regRead))
        return E_NotFound;
    CRegKey::CEnumValues values(key);
    CString name, data;
    while (values.Next(name, &data)) {
        // An empty value would wipe a default that an earlier source set.
        if (!data.IsEmpty())
            GlobalVars.Set(name, data);
    }
    return Ok;
}

} // namespace Orn
