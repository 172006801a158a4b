// The tree registry over the Windows registry, addressed by rooted paths.
#pragma once

#include "Registry.h"

namespace Orn {

class CRegKey;

// Paths begin with a root name ("HKEY_CURRENT_USER\Software\Vantrel"); a path without "\" is E_BadArgument and
// a key that cannot be opened E_NotFound. Only REG_SZ values are seen. Windows keeps no comments: adding one
// to an existing key succeeds and drops it, so a text file read into this registry loses its comments.
class CWinRegRegistry : public CRegistry {
public:
    RStatus Open(const char* path) override;
    RStatus GetValue(const char* dirPath, const char* name, CString& text) override;
    RStatus SetValue(const char* dirPath, const char* name, const char* text) override;
    RStatus CreateDir(const char* path) override;
    RStatus RemoveDir(const char* path) override;
    RStatus RemoveValue(const char* dirPath, const char* name) override;
    RStatus AddComment(const char* dirPath, const char* text) override;
    RStatus ListDir(const char* path, CRegDir& listing) override;

private:
    static RStatus CheckPath(const char* path);
    // A rooted path with well-formed parts, opened in the key mode given.
    static RStatus OpenKey(CRegKey& key, const char* path, Int mode);
};

} // namespace Orn
