// One open Windows registry key, opened from a rooted path such as "HKEY_CURRENT_USER\Software\Vantrel".
#pragma once

#include "Handle_Win.h"
#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

// Registry key handles we opened ourselves; the predefined roots are never put in one.
struct RegKeyHandleTraits {
    using Type = HKEY;
    static Type Invalid() { return nullptr; }
    static bool Close(Type h) { return ::RegCloseKey(h) == ERROR_SUCCESS; }
};
using CRegKeyHandle = CHandle<RegKeyHandleTraits>;

// Keys report by boolean only; the Windows error code is not kept. Every operation on an invalid key is
// an assertion.
class CRegKey {
public:
    // Access modes: read, read and write creating the key when missing, read and write.
    enum : Int { regRead = 0, regCreate = 1, regReadWrite = 2 };

    // Subkey names in index order.
    class CEnumSubkeys {
    public:
        explicit CEnumSubkeys(CRegKey& key) : mKey(key) {}
        bool Next(CString& name);

    private:
        CRegKey& mKey;
        Int mIndex = 0;
    };

    // Names and texts of the REG_SZ values in index order; values of other types are skipped.
    class CEnumValues {
    public:
        explicit CEnumValues(CRegKey& key);
        // Without data only the name is fetched.
        bool Next(CString& name, CString* data = nullptr);

    private:
        CRegKey& mKey;
        DWord mIndex = 0;
        bool mReady;
    };

    CRegKey() = default;
    CRegKey(const CRegKey&) = delete;
    CRegKey& operator=(const CRegKey&) = delete;
    ~CRegKey() { Close(); }

    // Opens a path that begins with a root name; a root name alone takes the predefined key, not owned.
    bool OpenRooted(const char* rootedPath, Int mode = regRead);
    // Opens (mode regCreate: creates) path below an open key.
    bool OpenRelative(const CRegKey& parent, const char* path, Int mode = regRead);
    bool IsValid() const { return mHKey != nullptr; }
    void Close();

    HKEY Handle() const { return mHKey; }
    bool OwnsHandle() const { return mOwned.IsValid(); }
    Int Mode() const { return mMode; }

    // REG_SZ or REG_EXPAND_SZ (not expanded); anything else empties value and gives false.
    bool GetString(const char* name, CString& value);
    // REG_DWORD only; anything else sets n to 0 and gives false.
    bool GetDword(const char* name, DWord& n);
    // Writes REG_SZ.
    bool SetString(const char* name, const char* value);
    // Writes the unnamed value as REG_SZ.
    bool SetDefault(const char* value);
    bool SetDword(const char* name, DWord n);
    bool DeleteValue(const char* name);
    // Deletes the subkey and everything below it.
    bool DeleteKey(const char* name);
    // The name of the subkey at index; false past the last one.
    bool EnumSubkey(Int index, CString& name);

private:
    bool CheckValid() const;
    bool CheckOpenable() const;
    bool QueryInfo();

    HKEY mHKey = nullptr;
    CRegKeyHandle mOwned;
    Int mMode = regRead;
    // Key facts from the key-information query, refreshed whenever a buffer size depends on them.
    DWORD mSubkeyCount = 0;
    DWORD mMaxSubkeyLen = 0;
    DWORD mValueCount = 0;
    DWORD mMaxNameLen = 0;
    DWORD mMaxDataLen = 0;
};

// Sets every non-empty string value of the key on GlobalVars, in the registry's order; E_NotFound when the
// key cannot be opened.
RStatus LoadGlobalsFromRegistry(const char* rootedKeyPath);

} // namespace Orn
