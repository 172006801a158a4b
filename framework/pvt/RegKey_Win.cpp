// The registry key: rooted and relative opening, string and DWORD values, enumeration, recursive deletion.
#include "RegKey.h"

#include <climits>
#include <cstring>

#include "Debug.h"

namespace Orn {

namespace {

struct RootKey {
    const char* name;
    HKEY key;
};

// The order matters: a first path part that only begins a root name picks the first root that begins with
// it, so "HKEY_CURRENT\X" lands below HKEY_CURRENT_CONFIG. Kept that way on purpose.
const RootKey cRoots[] = {
    {"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG}, {"HKEY_DYN_DATA", HKEY_DYN_DATA},
    {"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},     {"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
    {"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},   {"HKEY_USERS", HKEY_USERS},
    {"HKEY_PERFORMANCE_DATA", HKEY_PERFORMANCE_DATA},
};

const char cCurrentUser[] = "HKEY_CURRENT_USER";

// Empty, or a leading part of "HKEY_CURRENT_USER": a failed open then falls back to the user's own key.
bool NamesCurrentUser(const char* path)
{
    Int len = Str::Length(path);
    return len < Int(sizeof(cCurrentUser)) && std::strncmp(path, cCurrentUser, size_t(len)) == 0;
}

REGSAM AccessFor(Int mode) { return mode == CRegKey::regRead ? KEY_READ : KEY_READ | KEY_WRITE; }

} // namespace

bool CRegKey::CheckValid() const
{
    ORN_ASSERT(IsValid());
    return IsValid();
}

bool CRegKey::CheckOpenable() const
{
    ORN_ASSERT(! IsValid());
    return !IsValid();
}

bool CRegKey::OpenRooted(const char* rootedPath, Int mode)
{
    ORN_ASSERT(rootedPath);
    if (!rootedPath || !CheckOpenable())
        return false;
    Int sep = Str::Find(rootedPath, '\\');
    size_t n = size_t(sep >= 0 ? sep : Str::Length(rootedPath) + 1);
    for (const RootKey& root : cRoots) {
        if (std::strncmp(root.name, rootedPath, n) != 0)
            continue;
        if (sep < 0) {
            mHKey = root.key;
            mMode = mode;
            return true;
        }
        CRegKey rootKey;
        rootKey.mHKey = root.key;
        rootKey.mMode = mode;
        return OpenRelative(rootKey, rootedPath + sep + 1, mode);
    }
    ORN_ASSERT_MSG("unknown root key");
    return false;
}

bool CRegKey::OpenRelative(const CRegKey& parent, const char* path, Int mode)
{
    ORN_ASSERT(path);
    if (!path || !CheckOpenable() || !parent.CheckValid())
        return false;
    static char emptyClass[] = "";
    REGSAM access = AccessFor(mode);
    HKEY h = nullptr;
    LONG rc;
    if (mode == regCreate)
        rc = ::RegCreateKeyExA(parent.mHKey, path, 0, emptyClass, 0, access, nullptr, &h, nullptr);
    else
        rc = ::RegOpenKeyExA(parent.mHKey, path, 0, access, &h);
    if (rc != ERROR_SUCCESS && NamesCurrentUser(path)) {
        h = nullptr;
        rc = ::RegOpenCurrentUser(access, &h);
    }
    if (rc != ERROR_SUCCESS)
        return false;
    mOwned.Reset(h);
    mHKey = h;
    mMode = mode;
    return true;
}

void CRegKey::Close()
{
    // A predefined root is only borrowed; mOwned never holds one.
    if (mOwned.IsValid() && !mOwned.Reset())
        ORN_ASSERT_MSG("RegCloseKey(mHKey) == 0L");
    mHKey = nullptr;
    mMode = regRead;
    mSubkeyCount = mMaxSubkeyLen = mValueCount = mMaxNameLen = mMaxDataLen = 0;
}

bool CRegKey::QueryInfo()
{
    LONG rc = ::RegQueryInfoKeyA(mHKey, nullptr, nullptr, nullptr, &mSubkeyCount, &mMaxSubkeyLen, nullptr,
                                 &mValueCount, &mMaxNameLen, &mMaxDataLen, nullptr, nullptr);
    return rc == ERROR_SUCCESS;
}

bool CRegKey::GetString(const char* name, CString& value)
{
    value.Empty();
    ORN_ASSERT(name);
    if (!name || !CheckValid() || !QueryInfo())
        return false;
    DWORD dataLen = mMaxDataLen;
    ORN_ASSERT(dataLen<=INT_MAX);
    if (dataLen > INT_MAX)
        return false;
    // One more than the data so a value stored without its NUL still ends.
    char* buf = value.Lock(Int(dataLen));
    DWORD type = REG_NONE;
    LONG rc = ::RegQueryValueExA(mHKey, name, nullptr, &type, reinterpret_cast<BYTE*>(buf), &dataLen);
    bool ok = rc == ERROR_SUCCESS && (type == REG_SZ || type == REG_EXPAND_SZ);
    buf[ok ? dataLen : 0] = 0;
    value.Unlock();
    return ok;
}

bool CRegKey::GetDword(const char* name, DWord& n)
{
    n = 0;
    ORN_ASSERT(name);
    if (!name || !CheckValid())
        return false;
    DWORD type = REG_NONE, value = 0, size = sizeof(value);
    LONG rc = ::RegQueryValueExA(mHKey, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size);
    if (rc != ERROR_SUCCESS || type != REG_DWORD || size != 4)
        return false;
    n = value;
    return true;
}

bool CRegKey::SetString(const char* name, const char* value)
{
    ORN_ASSERT(name);
    ORN_ASSERT(value);
    if (!name || !value || !CheckValid())
        return false;
    DWORD size = DWORD(Str::Length(value)) + 1;
    return ::RegSetValueExA(mHKey, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), size) == ERROR_SUCCESS;
}

bool CRegKey::SetDefault(const char* value)
{
    ORN_ASSERT(value);
    if (!value || !CheckValid())
        return false;
    DWORD size = DWORD(Str::Length(value)) + 1;
    return ::RegSetValueExA(mHKey, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), size) ==
           ERROR_SUCCESS;
}

bool CRegKey::SetDword(const char* name, DWord n)
{
    ORN_ASSERT(name);
    if (!name || !CheckValid())
        return false;
    DWORD value = n;
    return ::RegSetValueExA(mHKey, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value)) ==
           ERROR_SUCCESS;
}

bool CRegKey::DeleteValue(const char* name)
{
    ORN_ASSERT(name);
    if (!name || !CheckValid())
        return false;
    return ::RegDeleteValueA(mHKey, name) == ERROR_SUCCESS;
}

bool CRegKey::DeleteKey(const char* name)
{
    ORN_ASSERT(name);
    if (!name || !CheckValid())
        return false;
    CRegKey subKey;
    if (!subKey.OpenRelative(*this, name, mMode))
        return false;
    // Each deletion shifts the indexes, so always take the first subkey again.
    CString child;
    while (subKey.EnumSubkey(0, child)) {
        if (!subKey.DeleteKey(child))
            return false;
    }
    subKey.Close();
    return ::RegDeleteKeyA(mHKey, name) == ERROR_SUCCESS;
}

bool CRegKey::EnumSubkey(Int index, CString& name)
{
    name.Empty();
    if (!CheckValid() || !QueryInfo())
        return false;
    DWORD nameLen = mMaxSubkeyLen + 1;
    ORN_ASSERT(nameLen<=INT_MAX);
    if (nameLen > INT_MAX)
        return false;
    char* buf = name.Lock(Int(nameLen));
    LONG rc = ::RegEnumKeyExA(mHKey, DWORD(index), buf, &nameLen, nullptr, nullptr, nullptr, nullptr);
    bool ok = rc == ERROR_SUCCESS;
    buf[ok ? nameLen : 0] = 0;
    name.Unlock();
    return ok;
}

bool CRegKey::CEnumSubkeys::Next(CString& name) { return mKey.EnumSubkey(mIndex++, name); }

CRegKey::CEnumValues::CEnumValues(CRegKey& key) : mKey(key)
{
    mReady = mKey.CheckValid() && mKey.QueryInfo();
    ORN_ASSERT(mKey.mMaxNameLen<=INT_MAX);
    ORN_ASSERT(mKey.mMaxDataLen<=INT_MAX);
    if (mKey.mMaxNameLen >= INT_MAX || mKey.mMaxDataLen > INT_MAX)
        mReady = false;
}

bool CRegKey::CEnumValues::Next(CString& name, CString* data)
{
    name.Empty();
    if (data)
        data->Empty();
    while (mReady) {
        DWORD nameLen = mKey.mMaxNameLen + 1, dataLen = mKey.mMaxDataLen, type = REG_NONE;
        char* nameBuf = name.Lock(Int(nameLen));
        char* dataBuf = data ? data->Lock(Int(dataLen)) : nullptr;
        LONG rc = ::RegEnumValueA(mKey.mHKey, mIndex++, nameBuf, &nameLen, nullptr, &type,
                                  reinterpret_cast<BYTE*>(dataBuf), data ? &dataLen : nullptr);
        bool ok = rc == ERROR_SUCCESS;
        nameBuf[ok ? nameLen : 0] = 0;
        name.Unlock();
        if (data) {
            dataBuf[ok && type == REG_SZ ? dataLen : 0] = 0;
            data->Unlock();
        }
        // No more items, or the key changed under us: either way the walk is over.
        if (!ok)
            mReady = false;
        else if (type == REG_SZ)
            return true;
    }
    name.Empty();
    return false;
}

} // namespace Orn
