// The text form of a registry tree ("!VRREG 1.0 {"): its reader, its writer and the file registry.
#include <memory>

#include "ErrorHandler.h"
#include "FileStream.h"
#include "Registry.h"

namespace Orn {

namespace {

// Deeper than Windows allows keys to nest; keeps a hostile file from exhausting the stack.
constexpr Int cMaxDepth = 512;

bool IsBlank(Int ch) { return ch == ' ' || ch == '\t' || ch == '\n' || ch == '\r'; }
bool IsPunctuation(Int ch) { return ch == ';' || ch == '=' || ch == '{' || ch == '}'; }
bool IsBareChar(Int ch) { return ch > ' ' && ch != 0x7F && !IsPunctuation(ch) && ch != '"' && ch != '\\'; }

CString JoinPath(const char* dirPath, const char* name)
{
    CString path(dirPath);
    if (!path.IsEmpty())
        path.AppendChar('\\');
    path.Append(name);
    return path;
}

CString Quoted(const char* text)
{
    CString out("\"");
    for (const char* p = text; *p; ++p) {
        Int ch = static_cast<unsigned char>(*p);
        if (ch == '"' || ch == '\\') {
            out.AppendChar('\\');
            out.AppendChar(*p);
        } else if (ch < ' ' || ch == 0x7F) {
            char hex[8];
            Str::Format(hex, Int(sizeof hex), "\\x%02X", ch);
            out.Append(hex);
        } else {
            out.AppendChar(*p);
        }
    }
    out.AppendChar('"');
    return out;
}

CString NameToken(const char* name)
{
    bool bare = *name != 0;
    for (const char* p = name; bare && *p; ++p)
        bare = IsBareChar(static_cast<unsigned char>(*p));
    return bare ? CString(name) : Quoted(name);
}

Int HexValue(Int ch)
{
    Int value = Str::HexValue(ch);
    if (value < 0)
        throw E_BadSyntax;
    return value;
}

// Reads the text form into a registry; every failure is thrown as a status.
class CTreeReader {
public:
    CTreeReader(CStream& stream, CRegistry& registry, bool countLines)
        : mStream(stream), mRegistry(registry), mCountLines(countLines)
    {
    }
    void Run(const char* dirPath);

private:
    enum : Int { tokEnd = -1, tokText = 0 }; // punctuation tokens are their own character

    Int Peek();
    Int Get();
    Int Next(CString& text);
    void ReadBare(CString& text);
    void ReadQuoted(CString& text);
    Int ReadEscape();
    void ReadItems(const CString& path, Int depth);
    void ReadItem(const CString& path, const CString& name, Int depth);
    void ReadComment(const CString& path);
    static void Store(RStatus status);

    CStream& mStream;
    CRegistry& mRegistry;
    bool mCountLines;
    Int mPeeked = -2;
    bool mQuoted = false;
};

Int CTreeReader::Peek()
{
    if (mPeeked == -2) {
        mPeeked = mStream.ReadChar();
        if (mPeeked < 0 && mStream.GetStatus().Failed())
            throw mStream.GetStatus();
    }
    return mPeeked;
}

Int CTreeReader::Get()
{
    Int ch = Peek();
    if (ch >= 0)
        mPeeked = -2;
    if (ch == '\n' && mCountLines)
        CurrentErrorHandler().NextLine();
    return ch;
}

Int CTreeReader::Next(CString& text)
{
    text.Empty();
    mQuoted = false;
    while (IsBlank(Peek()))
        Get();
    Int ch = Peek();
    if (ch < 0)
        return tokEnd;
    if (IsPunctuation(ch))
        return Get();
    if (ch == '"') {
        Get();
        ReadQuoted(text);
    } else if (IsBareChar(ch)) {
        ReadBare(text);
    } else {
        throw E_BadSyntax;
    }
    return tokText;
}

void CTreeReader::ReadBare(CString& text)
{
    while (IsBareChar(Peek()))
        mStream.AppendReadChar(text, Get());
}

void CTreeReader::ReadQuoted(CString& text)
{
    mQuoted = true;
    for (;;) {
        Int ch = Get();
        if (ch <= 0 || ch == '\n' || ch == '\r')
            throw E_BadSyntax;
        if (ch == '"')
            return;
        if (ch == '\\')
            text.AppendChar(static_cast<char>(ReadEscape()));
        else
            mStream.AppendReadChar(text, ch);
    }
}

Int CTreeReader::ReadEscape()
{
    Int ch = Get();
    if (ch == '\\' || ch == '"')
        return ch;
    if (ch != 'x')
        throw E_BadSyntax;
    Int high = HexValue(Get());
    Int code = high * 16 + HexValue(Get());
    if (code == 0)
        throw E_BadSyntax;
    return code;
}

void CTreeReader::Run(const char* dirPath)
{
    CString word;
    if (mCountLines)
        CurrentErrorHandler().NextLine();
    if (Next(word) != tokText || mQuoted || word != "!VRREG")
        throw E_BadSyntax;
    if (Next(word) != tokText || mQuoted || word != "1.0" || Next(word) != '{')
        throw E_BadSyntax;
    ReadItems(dirPath, 0);
    if (Next(word) != tokEnd)
        throw E_BadSyntax;
}

void CTreeReader::ReadItems(const CString& path, Int depth)
{
    for (;;) {
        CString name;
        Int tok = Next(name);
        if (tok == '}')
            return;
        if (tok == ';')
            ReadComment(path);
        else if (tok == tokText && name.Length() <= CRegistry::NameMax)
            ReadItem(path, name, depth);
        else
            throw E_BadSyntax;
    }
}

// After a name: "=" and a value, or "{" and a directory.
void CTreeReader::ReadItem(const CString& path, const CString& name, Int depth)
{
    CString text;
    Int tok = Next(text);
    if (tok == '=') {
        if (Next(text) != tokText)
            throw E_BadSyntax;
        Store(mRegistry.SetValue(path, name, text));
        return;
    }
    // A "\" would turn one directory name into a path.
    if (tok != '{' || name.IsEmpty() || name.Find("\\") >= 0 || depth >= cMaxDepth)
        throw E_BadSyntax;
    CString child = JoinPath(path, name);
    Store(mRegistry.CreateDir(child));
    ReadItems(child, depth + 1);
}

void CTreeReader::ReadComment(const CString& path)
{
    // Comment texts never hold a CR, so one ends a comment as a line feed does (CR LF and CR-only files).
    CString text;
    for (Int ch = Get(); ch >= 0 && ch != '\n' && ch != '\r'; ch = Get())
        mStream.AppendReadChar(text, ch);
    Store(mRegistry.AddComment(path, text));
}

void CTreeReader::Store(RStatus status)
{
    if (status.Failed())
        throw Failure;
}

RStatus WriteFailure(CStream& stream) { return stream.GetStatus().Failed() ? stream.GetStatus() : E_Write; }

} // namespace

RStatus CRegistry::Read(CStream& stream, const char* dirPath, const char* sourceName)
{
    std::unique_ptr<CErrorSourceScope> source;
    if (sourceName)
        source = std::make_unique<CErrorSourceScope>(sourceName);
    try {
        CTreeReader reader(stream, *this, sourceName != nullptr);
        reader.Run(dirPath ? dirPath : "");
        return Ok;
    } catch (RStatus status) {
        CString msg;
        msg.Format("Exception: %s", status.Name());
        CurrentErrorHandler().Report(msg, errERROR);
        return status;
    }
}

RStatus CRegistry::Write(CStream& stream, const char* dirPath)
{
    if (!stream.WriteText("!VRREG 1.0 {\n"))
        return WriteFailure(stream);
    stream.Indent();
    RStatus status = WriteDir(stream, dirPath ? dirPath : "");
    stream.Outdent();
    if (status.Succeeded() && !stream.WriteText("}\n"))
        status = WriteFailure(stream);
    return status;
}

RStatus CRegistry::WriteDir(CStream& stream, const CString& path)
{
    CRegDir listing;
    RStatus status = ListDir(path, listing);
    for (Int i = 0; status.Succeeded() && i < listing.Count(); ++i)
        status = WriteNode(stream, path, listing.Child(i));
    return status;
}

RStatus CRegistry::WriteNode(CStream& stream, const CString& dirPath, const CRegNode& node)
{
    if (node.Type() == regComment) {
        if (!IsCommentText(node.Text()))
            return E_BadArgument;
        bool ok = stream.WriteText(";") && stream.WriteText(node.Text()) && stream.WriteText("\n");
        return ok ? Ok : WriteFailure(stream);
    }
    // The reader would refuse it, so the writer does not produce it.
    if (node.Name().Length() > NameMax)
        return E_BadSyntax;
    CString line = NameToken(node.Name());
    if (node.Type() == regValue) {
        line.Append("=");
        line.Append(Quoted(node.Text()));
        line.Append("\n");
        return stream.WriteText(line) ? Ok : WriteFailure(stream);
    }
    line.Append(" {\n");
    if (!stream.WriteText(line))
        return WriteFailure(stream);
    stream.Indent();
    RStatus status = WriteDir(stream, JoinPath(dirPath, node.Name()));
    stream.Outdent();
    if (status.Succeeded() && !stream.WriteText("}\n"))
        status = WriteFailure(stream);
    return status;
}

RStatus CFileRegistry::Load(const char* path)
{
    Clear();
    if (!path)
        return E_BadArgument;
    mPath = path;
    CFileStream file;
    RStatus status = file.Open(path, smRead | smText);
    if (status.Succeeded())
        status = Read(file, "", path);
    if (status.Failed())
        Clear();
    return status;
}

RStatus CFileRegistry::Save(const char* path)
{
    if (path)
        mPath = path;
    if (mPath.IsEmpty())
        return E_BadArgument;
    CFileStream file;
    RStatus status = file.Open(mPath, smWrite | smText | fsmCreate);
    if (status.Succeeded())
        status = Write(file);
    if (!file.Close() && status.Succeeded())
        status = WriteFailure(file);
    return status;
}

} // namespace Orn
