// Path rules: roots of local paths, special directory prefixes, components, extensions and unique names.
#include "Path.h"

#include "Debug.h"

namespace Orn {

namespace {

// The last index of ch in text at or after from, or -1.
Int FindLast(const CString& text, char ch, Int from)
{
    for (Int i = text.Length() - 1; i >= from; --i)
        if (text[i] == ch)
            return i;
    return -1;
}

// The first index of ch in text at or after from, or -1.
Int FindFrom(const char* text, char ch, Int from)
{
    Int found = Str::Find(text + from, ch);
    return found < 0 ? -1 : from + found;
}

// Six hexadecimal digits give this many distinct names.
constexpr DWord cUniqueNameCount = 0x1000000;

} // namespace

// ---- CFSPathDefinition

bool CFSPathDefinition::IsFullPath(const char* text) const
{
    if (!text || !*text)
        return false;
    return text[0] == '[' || RootLength(text) > 0;
}

Int CFSPathDefinition::PrefixLength(const char* text) const
{
    if (!text || !*text)
        return 0;
    if (text[0] == '[') {
        Int close = Str::Find(text, ']');
        return close < 0 ? Str::Length(text) : close + 1;
    }
    Int root = RootLength(text);
    return root > 0 ? root : 0;
}

bool CFSPathDefinition::SplitSpecialName(const char* text, CString& name, CString& rest) const
{
    name.Empty();
    rest.Empty();
    if (!text || text[0] != '[')
        return false;
    Int close = Str::Find(text, ']');
    if (close <= 1)
        return false;
    name = CString(text + 1, close - 1);
    const char* after = text + close + 1;
    while (*after == '/' || *after == Delimiter())
        ++after;
    rest = after;
    const char delimiter[2] = {Delimiter(), 0};
    rest.Replace("/", delimiter);
    return true;
}

// ---- CLocalFSPathDefinition

const CLocalFSPathDefinition& CLocalFSPathDefinition::Get()
{
    static const CLocalFSPathDefinition cLocal;
    return cLocal;
}

Int CLocalFSPathDefinition::RootLength(const char* pathPart) const
{
    ORN_ASSERT(pathPart);
    if (!pathPart)
        return -1;
    ORN_ASSERT(Str::Length(pathPart) > 0);
    ORN_ASSERT(pathPart[0] != '[');
    if (!*pathPart || pathPart[0] == '[')
        return -1;

    const char delim = Delimiter();
    const char twoDelims[3] = {delim, delim, 0};
    Int root = 0;
    Int colon = Str::Find(pathPart, ':');
    if (colon >= 0) {
        // Drive root: "C:" up to and including the first delimiter after it.
        if (colon != 1)
            return -1;
        Int end = FindFrom(pathPart, delim, colon + 1);
        root = end < 0 ? Str::Length(pathPart) : end + 1;
    } else if (Int net = Str::Find(pathPart, twoDelims); net >= 0) {
        // Network root: "\\server\share", without the delimiter that follows the share.
        Int afterServer = FindFrom(pathPart, delim, net + 2);
        if (afterServer < 0)
            return -1;
        Int afterShare = FindFrom(pathPart, delim, afterServer + 1);
        root = afterShare < 0 ? Str::Length(pathPart) : afterShare;
    } else if (pathPart[0] == delim) {
        root = 1;
    }
    return root > 0 ? root : -1;
}

// ---- CPath

CPath::CPath() : mDefinition(&CLocalFSPathDefinition::Get()) {}

CPath::CPath(const char* text, const CFSPathDefinition& definition) : mText(text), mDefinition(&definition) {}

void CPath::SetText(const char* text) { mText = text ? text : ""; }

RStatus CPath::Append(const char* component)
{
    ORN_ASSERT(component);
    if (!component)
        return E_BadArgument;
    if (mDefinition->IsFullPath(component)) {
        ORN_ASSERT_FMT("Attempt to add a component that is a full path.\ncomponent = '%s', pathStr = '%s'",
                       component, mText.Chars());
        return E_BadArgument;
    }
    if (!*component)
        return Ok;
    const char delim = mDefinition->Delimiter();
    if (!mText.IsEmpty() && mText[mText.Length() - 1] != delim)
        mText.AppendChar(delim);
    mText.Append(component);
    return Ok;
}

Int CPath::FileNameStart() const
{
    Int prefix = mDefinition->PrefixLength(mText);
    Int lastDelim = FindLast(mText, mDefinition->Delimiter(), prefix);
    return lastDelim < 0 ? prefix : lastDelim + 1;
}

CPath CPath::Directory() const
{
    Int prefix = mDefinition->PrefixLength(mText);
    Int lastDelim = FindLast(mText, mDefinition->Delimiter(), prefix);
    // A root keeps its own delimiter: the directory of "C:\a" is "C:\".
    Int length = lastDelim < 0 ? prefix : (lastDelim > prefix ? lastDelim : prefix);
    return CPath(mText.Mid(0, length), *mDefinition);
}

CString CPath::FileName() const { return mText.Mid(FileNameStart()); }

// Index of the extension delimiter in the file name, or -1.
Int CPath::ExtensionStart() const
{
    return FindLast(mText, mDefinition->ExtensionDelimiter(), FileNameStart());
}

CString CPath::Extension() const
{
    Int dot = ExtensionStart();
    return dot < 0 ? CString() : CString(mText.Mid(dot + 1));
}

RStatus CPath::SetExtension(const char* extension)
{
    ORN_ASSERT(extension);
    if (!extension)
        return E_BadArgument;
    const char extDelim = mDefinition->ExtensionDelimiter();
    ORN_ASSERT((Str::Length(extension) > 0) && (extension[0] != extDelim));
    if (!*extension || extension[0] == extDelim)
        return E_BadArgument;
    if (FileNameStart() >= mText.Length())
        return E_BadName;
    Int dot = ExtensionStart();
    if (dot >= 0)
        mText.Remove(dot);
    mText.AppendChar(extDelim);
    mText.Append(extension);
    return Ok;
}

const char* CPath::DisplayText() const { return IsValid() ? mText.Chars() : "(bad path)"; }

RStatus CPath::GetFileURL(CString& url) const
{
    url.Empty();
    if (!IsValid())
        return E_BadName;
    url = "file:///";
    const char delim = mDefinition->Delimiter();
    for (Int i = 0; i < mText.Length(); ++i)
        url.AppendChar(mText[i] == delim ? '/' : mText[i]);
    return Ok;
}

// ---- CUniqueNameMaker

RStatus CUniqueNameMaker::Make(const CPath& dir, const char* prefix, const ExistsFunc& exists, CPath& path)
{
    ORN_ASSERT(prefix);
    if (!prefix)
        return E_BadArgument;
    Int prefixLength = Str::Length(prefix);
    for (DWord attempt = 0; attempt < cUniqueNameCount; ++attempt) {
        CString name;
        // Twenty digits, of which the first fourteen go: the counter's last six hex digits.
        name.Format("%s%020X", prefix, static_cast<unsigned>(mCounter++));
        name.Remove(prefixLength, 14);
        CPath candidate(dir);
        RStatus status = candidate.Append(name);
        if (status.Failed())
            return status;
        if (!exists(candidate)) {
            path = candidate;
            return Ok;
        }
    }
    return E_AlreadyExists;
}

} // namespace Orn
