// Path texts and the rules of their file system: delimiters, roots, components, extensions, unique names.
//
// A path text may begin with a special directory name in brackets, "[TempDir]/VRLCrashes/x.dmp". Such a text
// is a full path. SplitSpecialName cuts it into the name ("TempDir") and the rest ("VRLCrashes\x.dmp"): the
// first "]" ends the name, delimiters right after it are dropped, and every "/" in the rest becomes the path
// definition's delimiter, so portable templates can be written with "/". The file system resolves the name to
// a directory path and appends the rest to it.
#pragma once

#include <functional>

#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

// How one file system writes paths: the directory delimiter and where a full path's root ends.
class CFSPathDefinition {
public:
    virtual ~CFSPathDefinition() = default;
    // The character between directory components.
    virtual char Delimiter() const = 0;
    // The character before a file name's extension.
    virtual char ExtensionDelimiter() const { return '.'; }
    // Length of the root part of a non-empty text that does not begin with "[", or -1 when it has none.
    virtual Int RootLength(const char* pathPart) const = 0;

    // True when text begins with a special directory name or a root: it cannot be added to another path.
    bool IsFullPath(const char* text) const;
    // Length of the part a path is never cut into: "[Name]", or the root; 0 for a relative path.
    Int PrefixLength(const char* text) const;
    // Splits "[Name]rest" as the header comment says; false when text has no complete, non-empty "[Name]".
    bool SplitSpecialName(const char* text, CString& name, CString& rest) const;
};

// Local Windows paths: "\" between components, drive roots "C:\" and network roots "\\server\share".
class CLocalFSPathDefinition : public CFSPathDefinition {
public:
    char Delimiter() const override { return '\\'; }
    Int RootLength(const char* pathPart) const override;

    // The one local definition that local paths refer to.
    static const CLocalFSPathDefinition& Get();
};

// A path text held with the definition that gives it meaning. The definition must outlive the path.
class CPath {
public:
    // An empty, invalid local path.
    CPath();
    explicit CPath(const char* text, const CFSPathDefinition& definition = CLocalFSPathDefinition::Get());

    const CString& Text() const { return mText; }
    const char* Chars() const { return mText.Chars(); }
    const CFSPathDefinition& Definition() const { return *mDefinition; }
    void SetText(const char* text);

    // A path is valid once it holds any text.
    bool IsValid() const { return !mText.IsEmpty(); }
    bool IsFullPath() const { return IsValid() && mDefinition->IsFullPath(mText); }
    // True when the text begins with a "[Name]" that the file system still has to resolve.
    bool HasSpecialName() const { return mText.Length() > 0 && mText[0] == '['; }

    // Adds a relative component (which may hold several levels) with one delimiter between.
    RStatus Append(const char* component);
    // Everything before the file name, without the delimiter; a root or "[Name]" stays whole.
    CPath Directory() const;
    // The last component; empty when the path ends with a delimiter or is only a root.
    CString FileName() const;
    // The file name's text after its last extension delimiter, or empty.
    CString Extension() const;
    // Replaces the extension (or adds one); extension is given without the delimiter.
    RStatus SetExtension(const char* extension);

    // The text, or "(bad path)" for an invalid path, for messages and logs.
    const char* DisplayText() const;
    // "file:///" and the text with every delimiter turned into "/".
    RStatus GetFileURL(CString& url) const;

private:
    Int FileNameStart() const;
    Int ExtensionStart() const;

    CString mText;
    const CFSPathDefinition* mDefinition;
};

// Makes names "prefix" + six hexadecimal digits that do not exist yet in a directory. The counter starts at a
// seed (the file system passes the millisecond tick count) and moves on with every attempt, so names asked
// for in a row differ.
class CUniqueNameMaker {
public:
    // Tells whether a candidate path names anything that exists.
    using ExistsFunc = std::function<bool(const CPath& candidate)>;

    explicit CUniqueNameMaker(DWord seed) : mCounter(seed) {}

    // The first candidate in dir that does not exist; E_AlreadyExists once every six-digit name was tried.
    RStatus Make(const CPath& dir, const char* prefix, const ExistsFunc& exists, CPath& path);

private:
    DWord mCounter;
};

} // namespace Orn
