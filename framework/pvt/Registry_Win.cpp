// The tree registry mapped onto registry keys.
#include "Registry_Win.h"

#include "RegKey.h"

namespace Orn {

namespace {

// Splits "Root\A\B" at its last "\" into "Root\A" and "B".
void SplitLast(const char* path, CString& parent, CString& name)
{
    Int cut = Str::Length(path) - 1;
    while (cut >= 0 && path[cut] != '\\')
        --cut;
    parent = CString(path, cut < 0 ? 0 : cut);
    name = path + cut + 1;
}

} // namespace

RStatus CWinRegRegistry::CheckPath(const char* path)
{
    std::vector<CString> parts;
    return path && Str::Find(path, '\\') >= 0 ? SplitPath(path, parts) : E_BadArgument;
}

RStatus CWinRegRegistry::OpenKey(CRegKey& key, const char* path, Int mode)
{
    RStatus status = CheckPath(path);
    if (status.Succeeded() && !key.OpenRooted(path, mode))
        status = E_NotFound;
    return status;
}

RStatus CWinRegRegistry::Open(const char* path)
{
    RStatus status = CheckPath(path);
    if (status.Failed())
        return status;
    CString dirPath, name, text;
    SplitLast(path, dirPath, name);
    // The parent may be a root name alone, which OpenKey would refuse.
    CRegKey parent, key;
    if (!parent.OpenRooted(dirPath, CRegKey::regRead))
        return E_NotFound;
    if (key.OpenRelative(parent, name, CRegKey::regRead))
        return S_RegIsDirectory;
    return parent.GetString(name, text) ? S_RegIsValue : E_NotFound;
}

RStatus CWinRegRegistry::GetValue(const char* dirPath, const char* name, CString& text)
{
    text.Empty();
    CRegKey key;
    RStatus status = CheckValueName(name);
    if (status.Succeeded())
        status = OpenKey(key, dirPath, CRegKey::regRead);
    if (status.Succeeded() && !key.GetString(name, text))
        status = E_NotFound;
    return status;
}

RStatus CWinRegRegistry::SetValue(const char* dirPath, const char* name, const char* text)
{
    CRegKey key;
    RStatus status = text ? CheckValueName(name) : E_BadArgument;
    if (status.Succeeded())
        status = OpenKey(key, dirPath, CRegKey::regReadWrite);
    if (status.Succeeded() && !key.SetString(name, text))
        status = Failure;
    return status;
}

RStatus CWinRegRegistry::CreateDir(const char* path)
{
    CRegKey key;
    return OpenKey(key, path, CRegKey::regCreate);
}

RStatus CWinRegRegistry::RemoveDir(const char* path)
{
    CRegKey key;
    RStatus status = OpenKey(key, path, CRegKey::regRead);
    if (status.Failed())
        return status;
    key.Close();
    CString dirPath, name;
    SplitLast(path, dirPath, name);
    CRegKey parent;
    if (!parent.OpenRooted(dirPath, CRegKey::regReadWrite))
        return E_NotFound;
    return parent.DeleteKey(name) ? Ok : Failure;
}

RStatus CWinRegRegistry::RemoveValue(const char* dirPath, const char* name)
{
    CRegKey key;
    CString text;
    RStatus status = CheckValueName(name);
    if (status.Succeeded())
        status = OpenKey(key, dirPath, CRegKey::regReadWrite);
    // Only string values belong to the tree.
    if (status.Succeeded() && !key.GetString(name, text))
        status = E_NotFound;
    if (status.Succeeded() && !key.DeleteValue(name))
        status = Failure;
    return status;
}

RStatus CWinRegRegistry::AddComment(const char* dirPath, const char* text)
{
    if (!IsCommentText(text))
        return E_BadArgument;
    CRegKey key;
    return OpenKey(key, dirPath, CRegKey::regRead);
}

RStatus CWinRegRegistry::ListDir(const char* path, CRegDir& listing)
{
    listing.Clear();
    CRegKey key;
    RStatus status = OpenKey(key, path, CRegKey::regRead);
    if (status.Failed())
        return status;
    CString name, text;
    CRegKey::CEnumValues values(key);
    while (values.Next(name, &text))
        listing.SetValue(name, text);
    CRegKey::CEnumSubkeys subkeys(key);
    while (subkeys.Next(name))
        listing.AddDir(name);
    return Ok;
}

} // namespace Orn
