// Variable lists in files: the binary configuration file with its checksum, its text source form, and dumps.
#include <cstdlib>

#include "Debug.h"
#include "Environment.h"
#include "FileStream.h"
#include "Format.h"
#include "Time.h"
#include "VarList.h"

namespace Orn {

namespace {

constexpr const char* cHeader = "Vantrel Configuration File 1.0";
constexpr Int64 cSecondsPerDay = 86400;

// Fills an item of a template. The template searches its own insertion again, so a value that holds the
// item itself would never end; such a value is put in by plain replacement instead.
void FillItem(CFormat& fmt, const char* item, const char* value)
{
    CString open;
    open.Format("<%s", item);
    if (Str::Find(value, open) < 0) {
        fmt.Item(item, value);
        return;
    }
    CString text = fmt.Text();
    open.AppendChar('>');
    text.Replace(open, value);
    fmt = CFormat(text, nullptr, fmtNoGlobals);
}

// The name a variable is stored under: a leading "%" only marks it read-only.
const char* BareName(const char* name) { return name[0] == '%' ? name + 1 : name; }

// ---- Binary file

// Reads up to the next NUL; false when the stream ended (or failed) before it.
bool ReadCStr(CStream& stream, CString& text)
{
    text.Empty();
    for (Int ch = stream.ReadChar(); ch != -1; ch = stream.ReadChar()) {
        if (ch == 0)
            return true;
        text.AppendChar(static_cast<char>(ch));
    }
    return false;
}

// A file that ends too early is bad data, unless reading it failed.
RStatus EndedEarly(const CStream& stream) { return stream.GetStatus().Failed() ? stream.GetStatus() : E_BadData; }

// Writes each variable as an optional "%" (read-only), the name and the value, each text with its NUL.
class CSaveVisitor : public CVarList::CVisitor {
public:
    CSaveVisitor(CStream& stream, const CVarList& list) : mStream(stream), mList(list) {}

    bool Visit(const char* name, const char* value) override
    {
        if (mList.IsReadOnly(name) && !mStream.WriteByte('%'))
            return false;
        return mStream.WriteCStr(name) && mStream.WriteCStr(value);
    }

private:
    CStream& mStream;
    const CVarList& mList;
};

// ---- Text form

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\f'; }

CString TrimEnd(const CString& text)
{
    Int end = text.Length();
    while (end > 0 && IsBlank(text[end - 1]))
        --end;
    return text.Mid(0, end);
}

CString Trim(const CString& text)
{
    Int start = 0;
    while (start < text.Length() && IsBlank(text[start]))
        ++start;
    return TrimEnd(text.Mid(start));
}

// Positive n is the start of the UTC day n days from today; 0 and negative values are stored as they are.
CString DateValue(const CString& text)
{
    long parsed = std::strtol(text, nullptr, 10);
    // The same range on every platform, whatever the width of long.
    Int64 n = parsed > 0x7FFFFFFFL ? 0x7FFFFFFFL : parsed < -0x7FFFFFFFL - 1 ? -0x7FFFFFFFL - 1 : parsed;
    if (n > 0)
        n = (CTime::Now().Seconds() / cSecondsPerDay + n) * cSecondsPerDay;
    CString value;
    value.Format("%lld", static_cast<long long>(n));
    return value;
}

// Parses the text form line by line into a list, reporting each problem with its line number.
class CTextFormParser {
public:
    CTextFormParser(CVarList& list, CStream& errors) : mList(list), mErrors(errors) {}

    void ParseLine(const CString& rawLine)
    {
        ++mLineNum;
        CString line = Trim(rawLine);
        if (line.IsEmpty() || (line[0] == '/' && line[1] == '/'))
            return;
        if (!mHeaderSeen) {
            mHeaderSeen = true;
            if (line != cHeader)
                ReportHeader();
            return;
        }
        ParseVariable(line);
    }

private:
    void ParseVariable(const CString& line);
    bool ConvertValue(const CString& type, CString& value);
    bool CanSet(const CString& name);
    void ExpandEnvironment(CString& value);
    void ExpandReference(const CString& envName, CString& out);
    void ReportHeader();
    void Report(const char* message);

    CVarList& mList;
    CStream& mErrors;
    Int mLineNum = 0;
    bool mHeaderSeen = false;
};

// name ":" type "=" value. A line without ":" is still processed as if the ":" stood before the line, and a
// line without "=" as if the "=" did; the absent "=" is only reported for a line that also lacks ":" (the
// files in use rely on this).
void CTextFormParser::ParseVariable(const CString& line)
{
    Int colon = line.Find(":");
    if (colon < 0)
        Report("can't find ':' in non-comment line.");
    CString name = TrimEnd(colon >= 0 ? line.Mid(0, colon) : line);
    Int equals = line.Find("=", colon + 1);
    if (colon < 0)
        Report("can't find '=' in non-comment line.");
    Int typeEnd = equals >= 0 ? equals : line.Length();
    CString type = Trim(line.Mid(colon + 1, typeEnd - colon - 1));
    CString value = Trim(line.Mid(equals + 1));
    if (!ConvertValue(type, value))
        return;
    ExpandEnvironment(value);
    if (CanSet(name))
        mList.Set(name, value);
}

// An empty name would end the binary file's list early, and a read-only variable cannot be set again.
bool CTextFormParser::CanSet(const CString& name)
{
    if (name.IsEmpty()) {
        Report("empty variable name.");
        return false;
    }
    if (mList.IsReadOnly(BareName(name))) {
        CString message(BareName(name));
        message.Append(": read-only variable set again.");
        Report(message);
        return false;
    }
    return true;
}

bool CTextFormParser::ConvertValue(const CString& type, CString& value)
{
    if (type == "STRING")
        return true;
    if (type == "BOOL") {
        if (value == "0" || value == "1")
            return true;
        Report("bad value for type.");
        return false;
    }
    if (type == "DATE") {
        value = DateValue(value);
        return true;
    }
    Report("bad type");
    return false;
}

// "%NAME%" becomes the environment variable's value and "%%" one "%". An undefined or unterminated reference
// stays in the value as written.
void CTextFormParser::ExpandEnvironment(CString& value)
{
    CString out;
    Int pos = 0;
    while (pos < value.Length()) {
        if (value[pos] != '%') {
            out.AppendChar(value[pos++]);
            continue;
        }
        Int close = value.Find("%", pos + 1);
        if (close < 0) {
            CString message = value.Mid(pos + 1);
            message.Append(": Unterminated environment variable.");
            Report(message);
            out.Append(value.Mid(pos));
            break;
        }
        ExpandReference(value.Mid(pos + 1, close - pos - 1), out);
        pos = close + 1;
    }
    value = out;
}

void CTextFormParser::ExpandReference(const CString& envName, CString& out)
{
    CString envValue;
    if (envName.IsEmpty()) {
        out.AppendChar('%');
    } else if (GetEnvVariable(envName, envValue)) {
        out.Append(envValue);
    } else {
        CString message = envName;
        message.Append(": Environment variable not defined.");
        Report(message);
        out.AppendChar('%');
        out.Append(envName);
        out.AppendChar('%');
    }
}

void CTextFormParser::ReportHeader()
{
    CFormat message("first non-comment line of input file is not '<Header>'.");
    message.Item("Header", cHeader);
    Report(message);
}

void CTextFormParser::Report(const char* message)
{
    ORN_ASSERT(mLineNum >= 0);
    if (mLineNum < 0)
        return;
    CFormat line("mkconfig: line #<LineNum>: <Message>\n");
    line.Item("LineNum", mLineNum);
    FillItem(line, "Message", message);
    mErrors.WriteText(line);
}

bool HasVrcExtension(const char* path)
{
    const char* dot = nullptr;
    for (const char* p = path; *p; ++p) {
        if (*p == '.')
            dot = p;
        else if (*p == '/' || *p == '\\')
            dot = nullptr;
    }
    return dot && Str::IEqual(dot + 1, "vrc");
}

} // namespace

// Writes each variable in the dump format; read-only marks come from the list that is visited.
class CWriteVisitor : public CVarList::CVisitor {
public:
    CWriteVisitor(CStream& stream, const CVarList& list) : mStream(stream), mList(list) {}

    bool Visit(const char* name, const char* value) override
    {
        CFormat line("<name><modify>\t=\t\"<value>\"\n");
        FillItem(line, "name", name);
        line.Item("modify", mList.IsReadOnly(name) ? " (READ-ONLY)" : "");
        FillItem(line, "value", value);
        return mStream.WriteText(line);
    }

private:
    CStream& mStream;
    const CVarList& mList;
};

RStatus CVarList::Save(const char* path) const
{
    ORN_ASSERT(path);
    if (!path)
        return E_BadArgument;
    CFileStream file;
    RStatus status = file.Open(path, smWrite | fsmCreate | smChecksum);
    if (status.Failed())
        return status;
    CSaveVisitor visitor(file, *this);
    bool ok = file.WriteCStr(cHeader) && Visit(visitor) && file.WriteByte(0);
    if (ok) {
        // The sum covers everything up to and including the terminating empty name.
        CString sum;
        sum.Format("%lu", static_cast<unsigned long>(file.GetChecksum()));
        ok = file.WriteCStr(sum);
    }
    ok = file.Close() && ok;
    if (ok)
        return Ok;
    return file.GetStatus().Failed() ? file.GetStatus() : E_Write;
}

// The list is not emptied first, and what was read before a failure stays in it.
RStatus CVarList::Load(const char* path)
{
    ORN_ASSERT(path);
    if (!path)
        return E_BadArgument;
    CFileStream file;
    RStatus status = file.Open(path, smRead | smChecksum);
    if (status.Failed())
        return status;
    CString name, value;
    if (!ReadCStr(file, name))
        return EndedEarly(file);
    if (name != cHeader)
        return E_BadData;
    for (;;) {
        if (!ReadCStr(file, name))
            return EndedEarly(file);
        if (name.IsEmpty())
            break;
        if (!ReadCStr(file, value))
            return EndedEarly(file);
        Set(name, value);
    }
    DWord sum = file.GetChecksum();
    if (!ReadCStr(file, value))
        return EndedEarly(file);
    return std::strtoul(value, nullptr, 10) == sum ? Ok : E_BadData;
}

RStatus CVarList::Parse(CStream& input, CStream& errorStream)
{
    CTextFormParser parser(*this, errorStream);
    CString line;
    while (input.ReadLine(line))
        parser.ParseLine(line);
    return input.GetStatus().Failed() ? input.GetStatus() : Ok;
}

// Line errors of the text form go to errorStream only; the result tells whether the file could be read.
RStatus CVarList::LoadAny(const char* path, CStream& errorStream)
{
    ORN_ASSERT(path);
    if (!path)
        return E_BadArgument;
    if (HasVrcExtension(path))
        return Load(path);
    CFileStream file;
    RStatus status = file.Open(path, smRead | smText);
    if (status.Failed())
        return status;
    (void)Parse(file, errorStream);
    return Ok;
}

void CVarList::WriteDump(CStream& stream) const
{
    CWriteVisitor visitor(stream, *this);
    Visit(visitor);
}

} // namespace Orn
