// Registry directories and the tree registry in memory.
#include "Registry.h"

#include <cctype>

namespace Orn {

// ---- CRegistry

RStatus CRegistry::SplitPath(const char* path, std::vector<CString>& parts)
{
    parts.clear();
    if (!path)
        return E_BadArgument;
    if (!*path)
        return Ok;
    const char* start = path;
    for (const char* p = path;; ++p) {
        if (*p && *p != '\\')
            continue;
        Int len = static_cast<Int>(p - start);
        if (len == 0)
            return E_BadArgument;
        if (len > NameMax)
            return E_BadSyntax;
        parts.emplace_back(start, len);
        if (!*p)
            return Ok;
        start = p + 1;
    }
}

RStatus CRegistry::CheckValueName(const char* name)
{
    if (!name)
        return E_BadArgument;
    return Str::Length(name) > NameMax ? E_BadSyntax : Ok;
}

bool CRegistry::IsCommentText(const char* text)
{
    return text && Str::Find(text, '\n') < 0 && Str::Find(text, '\r') < 0;
}

// ---- CRegDir

std::string CRegDir::Key(const char* name, Int type)
{
    std::string key(1, static_cast<char>('0' + type));
    for (const char* p = name; *p; ++p)
        key += static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
    return key;
}

CRegNode* CRegDir::Find(const char* name, Int type) const
{
    auto it = mIndex.find(Key(name, type));
    return it == mIndex.end() ? nullptr : it->second;
}

CRegNode& CRegDir::Append(std::unique_ptr<CRegNode> node)
{
    mChildren.push_back(std::move(node));
    CRegNode& added = *mChildren.back();
    if (added.Type() != regComment)
        mIndex[Key(added.Name(), added.Type())] = &added;
    return added;
}

CRegDir* CRegDir::FindDir(const char* name) const { return static_cast<CRegDir*>(Find(name, regDirectory)); }

const CRegNode* CRegDir::FindValue(const char* name) const { return Find(name, regValue); }

CRegDir& CRegDir::AddDir(const char* name)
{
    if (CRegDir* dir = FindDir(name))
        return *dir;
    return static_cast<CRegDir&>(Append(std::make_unique<CRegDir>(name)));
}

void CRegDir::SetValue(const char* name, const char* text)
{
    if (CRegNode* value = Find(name, regValue))
        value->SetText(text);
    else
        Append(std::make_unique<CRegNode>(regValue, name, text));
}

void CRegDir::AddComment(const char* text) { Append(std::make_unique<CRegNode>(regComment, "", text)); }

bool CRegDir::Remove(const char* name, Int type)
{
    CRegNode* node = Find(name, type);
    if (!node)
        return false;
    mIndex.erase(Key(name, type));
    for (auto it = mChildren.begin(); it != mChildren.end(); ++it) {
        if (it->get() == node) {
            mChildren.erase(it);
            break;
        }
    }
    return true;
}

void CRegDir::Clear()
{
    mIndex.clear();
    mChildren.clear();
}

bool CRegDir::RemoveDir(const char* name) { return Remove(name, regDirectory); }

bool CRegDir::RemoveValue(const char* name) { return Remove(name, regValue); }

// ---- CMemRegistry

RStatus CMemRegistry::FindDir(const char* path, CRegDir*& dir)
{
    std::vector<CString> parts;
    RStatus status = SplitPath(path, parts);
    dir = &mRoot;
    for (size_t i = 0; status.Succeeded() && i < parts.size(); ++i) {
        dir = dir->FindDir(parts[i]);
        if (!dir)
            status = E_NotFound;
    }
    if (status.Failed())
        dir = nullptr;
    return status;
}

const CRegNode* CMemRegistry::Find(const char* path)
{
    std::vector<CString> parts;
    if (SplitPath(path, parts).Failed())
        return nullptr;
    CRegDir* dir = &mRoot;
    for (size_t i = 0; dir && i + 1 < parts.size(); ++i)
        dir = dir->FindDir(parts[i]);
    if (!dir || parts.empty())
        return dir;
    if (CRegDir* sub = dir->FindDir(parts.back()))
        return sub;
    return dir->FindValue(parts.back());
}

RStatus CMemRegistry::Open(const char* path)
{
    std::vector<CString> parts;
    RStatus status = SplitPath(path, parts);
    if (status.Failed())
        return status;
    const CRegNode* node = Find(path);
    if (!node)
        return E_NotFound;
    return node->Type() == regDirectory ? S_RegIsDirectory : S_RegIsValue;
}

RStatus CMemRegistry::GetValue(const char* dirPath, const char* name, CString& text)
{
    text.Empty();
    CRegDir* dir = nullptr;
    RStatus status = CheckValueName(name);
    if (status.Succeeded())
        status = FindDir(dirPath, dir);
    if (status.Failed())
        return status;
    const CRegNode* value = dir->FindValue(name);
    if (!value)
        return E_NotFound;
    text = value->Text();
    return Ok;
}

RStatus CMemRegistry::SetValue(const char* dirPath, const char* name, const char* text)
{
    CRegDir* dir = nullptr;
    RStatus status = text ? CheckValueName(name) : E_BadArgument;
    if (status.Succeeded())
        status = FindDir(dirPath, dir);
    if (status.Succeeded())
        dir->SetValue(name, text);
    return status;
}

RStatus CMemRegistry::CreateDir(const char* path)
{
    std::vector<CString> parts;
    RStatus status = SplitPath(path, parts);
    CRegDir* dir = &mRoot;
    for (size_t i = 0; status.Succeeded() && i < parts.size(); ++i)
        dir = &dir->AddDir(parts[i]);
    return status;
}

RStatus CMemRegistry::RemoveDir(const char* path)
{
    std::vector<CString> parts;
    RStatus status = SplitPath(path, parts);
    if (status.Failed() || parts.empty())
        return status.Failed() ? status : E_BadArgument;
    CRegDir* dir = &mRoot;
    for (size_t i = 0; dir && i + 1 < parts.size(); ++i)
        dir = dir->FindDir(parts[i]);
    return dir && dir->RemoveDir(parts.back()) ? Ok : E_NotFound;
}

RStatus CMemRegistry::RemoveValue(const char* dirPath, const char* name)
{
    CRegDir* dir = nullptr;
    RStatus status = CheckValueName(name);
    if (status.Succeeded())
        status = FindDir(dirPath, dir);
    if (status.Failed())
        return status;
    return dir->RemoveValue(name) ? Ok : E_NotFound;
}

RStatus CMemRegistry::AddComment(const char* dirPath, const char* text)
{
    if (!IsCommentText(text))
        return E_BadArgument;
    CRegDir* dir = nullptr;
    RStatus status = FindDir(dirPath, dir);
    if (status.Succeeded())
        dir->AddComment(text);
    return status;
}

RStatus CMemRegistry::ListDir(const char* path, CRegDir& listing)
{
    listing.Clear();
    CRegDir* dir = nullptr;
    RStatus status = FindDir(path, dir);
    for (Int i = 0; status.Succeeded() && i < dir->Count(); ++i) {
        const CRegNode& child = dir->Child(i);
        if (child.Type() == regDirectory)
            listing.AddDir(child.Name());
        else if (child.Type() == regValue)
            listing.SetValue(child.Name(), child.Text());
        else
            listing.AddComment(child.Text());
    }
    return status;
}

} // namespace Orn
