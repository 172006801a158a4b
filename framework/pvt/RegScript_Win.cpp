// Registry scripts: reading the lines, dispatching the commands, and running them from resources.
#include "RegScript.h"

#include <cstdarg>
#include <memory>
#include <new>

#include "Debug.h"
#include "ErrorHandler.h"
#include "MemStream.h"
#include "RegKey.h"
#include "VarList.h"

namespace Orn {

namespace {

bool IsSpace(char ch) { return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n' || ch == '\v' || ch == '\f'; }

// One run of a script: the current root key and subkey.
class CRegScript {
public:
    CRegScript(bool substituteGlobals, const CVarList* extraVariables)
        : mSubstituteGlobals(substituteGlobals), mExtraVariables(extraVariables)
    {
    }
    bool Run(CStream& stream);

private:
    bool RunLine(CString& line);
    bool Dispatch(char command, const CString& path, bool hasValue, const CString& value);
    bool OpenRoot(const CString& path, bool hasValue, const CString& value);
    bool OpenSubkey(const CString& path, bool hasValue, const CString& value);
    bool SetNamedValue(const CString& name, bool hasValue, const CString& value);
    bool DeleteSubkey(const CString& path, bool hasValue);
    static bool Fail(const char* format, ...);

    bool mSubstituteGlobals;
    const CVarList* mExtraVariables;
    CRegKey mRootKey;
    std::unique_ptr<CRegKey> mSubKey;
};

bool CRegScript::Run(CStream& stream)
{
    CString line;
    while (stream.ReadLine(line)) {
        CurrentErrorHandler().NextLine();
        if (!RunLine(line))
            return false;
    }
    return true;
}

bool CRegScript::RunLine(CString& line)
{
    Int start = 0;
    while (IsSpace(line[start]))
        ++start;
    line.Remove(0, start);
    if (line.IsEmpty() || (line[0] == '/' && line[1] == '/'))
        return true;
    if (mSubstituteGlobals)
        GlobalVars.Substitute(line);
    if (mExtraVariables)
        mExtraVariables->Substitute(line);
    char command = line[0];
    line.Remove(0, 1);
    // No trimming around "=": blanks belong to the path or the value.
    Int eq = line.Find("=");
    bool hasValue = eq >= 0;
    CString path = hasValue ? line.Mid(0, eq) : line;
    CString value = hasValue ? line.Mid(eq + 1) : CString();
    path.Replace("/", "\\");
    return Dispatch(command, path, hasValue, value);
}

bool CRegScript::Dispatch(char command, const CString& path, bool hasValue, const CString& value)
{
    switch (command) {
    case '@': return OpenRoot(path, hasValue, value);
    case '/': return OpenSubkey(path, hasValue, value);
    case '#': return SetNamedValue(path, hasValue, value);
    case '-': return DeleteSubkey(path, hasValue);
    default:
        ORN_ASSERT_MSG("bad syntax");
        return true;
    }
}

bool CRegScript::OpenRoot(const CString& path, bool hasValue, const CString& value)
{
    mSubKey.reset();
    mRootKey.Close();
    if (!mRootKey.OpenRooted(path, CRegKey::regCreate))
        return Fail("can't open or create key (%s)", path.Chars());
    if (hasValue && !mRootKey.SetDefault(value))
        return Fail("can't set value (%s) for key (%s)", value.Chars(), path.Chars());
    return true;
}

bool CRegScript::OpenSubkey(const CString& path, bool hasValue, const CString& value)
{
    mSubKey.reset();
    std::unique_ptr<CRegKey> subKey(new (std::nothrow) CRegKey);
    ORN_ASSERT(subKey);
    if (!subKey || !subKey->OpenRelative(mRootKey, path, CRegKey::regCreate))
        return Fail("can't open or create key (%s)", path.Chars());
    mSubKey = std::move(subKey);
    if (hasValue && !mSubKey->SetDefault(value))
        return Fail("can't set value (%s) for key (%s)", value.Chars(), path.Chars());
    return true;
}

bool CRegScript::SetNamedValue(const CString& name, bool hasValue, const CString& value)
{
    if (!hasValue)
        return Fail("# command must have a value for key (%s)", name.Chars());
    CRegKey* valueKey = mSubKey ? mSubKey.get() : mRootKey.IsValid() ? &mRootKey : nullptr;
    ORN_ASSERT(valueKey);
    if (!valueKey)
        return false;
    if (!valueKey->SetString(name, value))
        return Fail("can't set value (%s) for key (%s)", value.Chars(), name.Chars());
    return true;
}

bool CRegScript::DeleteSubkey(const CString& path, bool hasValue)
{
    ORN_ASSERT(! hasValue);
    mSubKey.reset();
    if (!mRootKey.IsValid())
        return Fail("no root key (%s)", path.Chars());
    // A key that is not there is already what the line asks for.
    mRootKey.DeleteKey(path);
    return true;
}

bool CRegScript::Fail(const char* format, ...)
{
    CString msg;
    va_list args;
    va_start(args, format);
    msg.VFormat(format, args);
    va_end(args);
    CurrentErrorHandler().Report(msg, errERROR);
    return false;
}

} // namespace

bool RunRegistryScript(CStream& stream, bool substituteGlobals, const CVarList* extraVariables, const char* sourceName)
{
    CErrorSourceScope source(sourceName, stream);
    CRegScript script(substituteGlobals, extraVariables);
    return script.Run(stream);
}

bool RunRegistryScriptResource(const char* resourceName, bool substituteGlobals, const CVarList* extraVariables,
                               HMODULE module)
{
    if (!module)
        module = ::GetModuleHandleA(nullptr);
    HRSRC info = ::FindResourceA(module, resourceName, MAKEINTRESOURCEA(regScriptResourceType));
    ORN_ASSERT(info);
    // Resource memory belongs to the module and is never freed by hand.
    HGLOBAL loaded = info ? ::LoadResource(module, info) : nullptr;
    const void* data = loaded ? ::LockResource(loaded) : nullptr;
    if (!data)
        return false;
    CString name;
    if (IS_INTRESOURCE(resourceName))
        name.Format("#%u", unsigned(reinterpret_cast<ULONG_PTR>(resourceName)));
    else
        name = resourceName;
    CMemStream stream(data, Int(::SizeofResource(module, info)), smRead | smText);
    return RunRegistryScript(stream, substituteGlobals, extraVariables, name);
}

bool RunRegistryScriptResource(Int resourceId, bool substituteGlobals, const CVarList* extraVariables,
                               HMODULE module)
{
    return RunRegistryScriptResource(MAKEINTRESOURCEA(resourceId), substituteGlobals, extraVariables, module);
}

} // namespace Orn
