// The tree registry: directories, values and comments, over memory, a text file or (Registry_Win.h) Windows.
//
// Paths name directories from the top of a registry with "\" between the parts ("" is the top). Names are
// compared without regard to ASCII case, as Windows does; within a directory values and subdirectories
// have names of their own, so a value and a subdirectory may share one. A path that names both is taken
// as the directory.
//
// Text form (Read/Write):
//     !VRREG 1.0 {
//         Software {
//             ;a comment, kept in place
//             Path="C:\\Program Files\\x"
//             "two words"="a \"quoted\" line\x0A"
//         }
//     }
// White space (blank, tab, line feed; also carriage return) separates tokens; ";", "=", "{" and "}" are
// punctuation. A name is a bare token of characters above the blank other than ; = { } " \ and DEL, or a
// quoted text, and is at most NameMax characters long. A value takes the same two forms; the writer quotes
// every value, and every name that is empty or holds a character a bare name cannot. In quotes "\\" is a
// backslash, "\"" a quote and "\xHH" the character with that hexadecimal code (never 00); the writer puts
// every character below the blank, and DEL, that way; a raw CR or LF inside quotes is an error. A
// comment runs from ";" to the next CR or LF, so comment texts cannot hold either.
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

class CStream;

// Node kinds.
enum : Int { regDirectory = 0, regValue = 1, regComment = 2 };

// One node: a directory (CRegDir), a value (name and text) or a comment (text only).
class CRegNode {
public:
    CRegNode(Int type, const char* name, const char* text) : mType(type), mName(name), mText(text) {}
    CRegNode(const CRegNode&) = delete;
    CRegNode& operator=(const CRegNode&) = delete;
    virtual ~CRegNode() = default;

    Int Type() const { return mType; }
    const CString& Name() const { return mName; }
    // The value's text or the comment's; empty for a directory.
    const CString& Text() const { return mText; }
    void SetText(const char* text) { mText = text; }

private:
    Int mType;
    CString mName;
    CString mText;
};

// A directory: child nodes in the order they were added.
class CRegDir : public CRegNode {
public:
    explicit CRegDir(const char* name = "") : CRegNode(regDirectory, name, "") {}

    Int Count() const { return static_cast<Int>(mChildren.size()); }
    const CRegNode& Child(Int index) const { return *mChildren[static_cast<size_t>(index)]; }
    CRegDir* FindDir(const char* name) const;
    const CRegNode* FindValue(const char* name) const;
    // The subdirectory of that name, appended when missing.
    CRegDir& AddDir(const char* name);
    // Changes the value in place, or appends it when missing.
    void SetValue(const char* name, const char* text);
    void AddComment(const char* text);
    // False when there was none.
    bool RemoveDir(const char* name);
    bool RemoveValue(const char* name);
    void Clear();

private:
    // The index key: the kind, then the name folded to lower case, as names compare.
    static std::string Key(const char* name, Int type);
    CRegNode* Find(const char* name, Int type) const;
    CRegNode& Append(std::unique_ptr<CRegNode> node);
    bool Remove(const char* name, Int type);

    std::vector<std::unique_ptr<CRegNode>> mChildren;
    // Directories and values by name, so that a large directory is not searched from the start each time.
    std::unordered_map<std::string, CRegNode*> mIndex;
};

// A tree of directories and values. Failures: E_BadArgument (malformed path), E_BadSyntax (a name longer
// than NameMax), E_NotFound, Failure.
class CRegistry {
public:
    enum : Int { NameMax = 64 };

    CRegistry() = default;
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;
    virtual ~CRegistry() = default;

    // What the path names: S_RegIsDirectory or S_RegIsValue; E_NotFound when nothing.
    virtual RStatus Open(const char* path) = 0;
    virtual RStatus GetValue(const char* dirPath, const char* name, CString& text) = 0;
    // Creates or changes a value of an existing directory.
    virtual RStatus SetValue(const char* dirPath, const char* name, const char* text) = 0;
    // Creates the directory and any missing above it; Ok when it exists.
    virtual RStatus CreateDir(const char* path) = 0;
    // Removes the directory and everything below it.
    virtual RStatus RemoveDir(const char* path) = 0;
    virtual RStatus RemoveValue(const char* dirPath, const char* name) = 0;
    // Appends a comment line (no line ends in text) to a directory.
    virtual RStatus AddComment(const char* dirPath, const char* text) = 0;
    // Copies a directory's children in order into listing, subdirectories without their contents.
    virtual RStatus ListDir(const char* path, CRegDir& listing) = 0;

    // Reads the text form into the directory dirPath. With a source name, errors carry its name and line.
    // A failure is reported as "Exception: <status name>" and returned; what was read before it stays.
    RStatus Read(CStream& stream, const char* dirPath = "", const char* sourceName = nullptr);
    // Writes the directory dirPath in the text form, one indentation level per depth.
    RStatus Write(CStream& stream, const char* dirPath = "");

protected:
    // Splits "A\B" into its parts ("" has none): an empty part is E_BadArgument, an overlong one E_BadSyntax.
    static RStatus SplitPath(const char* path, std::vector<CString>& parts);
    // Value names may be empty (the unnamed value) and hold any character, "\" included.
    static RStatus CheckValueName(const char* name);
    // A comment is one line: no line feed or carriage return.
    static bool IsCommentText(const char* text);

private:
    RStatus WriteDir(CStream& stream, const CString& path);
    RStatus WriteNode(CStream& stream, const CString& dirPath, const CRegNode& node);
};

// The tree in memory.
class CMemRegistry : public CRegistry {
public:
    CRegDir& Root() { return mRoot; }
    // The node a path names (a directory before a value of the same name), or null.
    const CRegNode* Find(const char* path);
    void Clear() { mRoot.Clear(); }

    RStatus Open(const char* path) override;
    RStatus GetValue(const char* dirPath, const char* name, CString& text) override;
    RStatus SetValue(const char* dirPath, const char* name, const char* text) override;
    RStatus CreateDir(const char* path) override;
    RStatus RemoveDir(const char* path) override;
    RStatus RemoveValue(const char* dirPath, const char* name) override;
    RStatus AddComment(const char* dirPath, const char* text) override;
    RStatus ListDir(const char* path, CRegDir& listing) override;

private:
    RStatus FindDir(const char* path, CRegDir*& dir);

    CRegDir mRoot;
};

// A tree in memory that is loaded from and saved to a text file.
class CFileRegistry : public CMemRegistry {
public:
    // Replaces the tree by the file's; a failed load leaves the tree empty.
    RStatus Load(const char* path);
    // Writes the tree to path, or without one to the file last loaded or saved.
    RStatus Save(const char* path = nullptr);
    const CString& Path() const { return mPath; }

private:
    CString mPath;
};

} // namespace Orn
