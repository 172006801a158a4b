// Command-line splitting and option tests.
#include "CommandLine.h"

#include "Debug.h"

namespace Orn {

namespace {
bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }
} // namespace

void CArgList::Split(const char* cmdLine)
{
    mArgs.Clear();
    const char* p = cmdLine;
    for (;;) {
        while (IsSpace(*p))
            ++p;
        if (!*p)
            break;
        const char* start = p;
        if (*p == '"') {
            start = ++p;
            while (*p && *p != '"')
                ++p;
            mArgs.Add(CString(start, static_cast<Int>(p - start)));
            if (*p)
                ++p;
        } else {
            while (*p && !IsSpace(*p))
                ++p;
            mArgs.Add(CString(start, static_cast<Int>(p - start)));
        }
    }
}

const CString& CArgList::GetArg(Int index) const
{
    static const CString cNone;
    ORN_ASSERT(index < GetArgCount());
    return index >= 0 && index < GetArgCount() ? mArgs[index] : cNone;
}

void CArgList::RemoveArg(Int index)
{
    ORN_ASSERT(index < GetArgCount());
    if (index >= 0 && index < GetArgCount())
        mArgs.RemoveAt(index);
}

bool CArgList::IsOptionWord(const CString& arg) { return arg[0] == '-' || arg[0] == '/'; }

bool CArgList::TestOption(const char* option)
{
    ORN_ASSERT(option);
    if (!option || mArgs.IsEmpty())
        return false;
    const CString& arg = mArgs[0];
    if (!IsOptionWord(arg) || !Str::Equal(arg.Chars() + 1, option))
        return false;
    RemoveArg(0);
    return true;
}

bool CArgList::TestOptionValue(const char* option, CString& value)
{
    if (!TestOption(option))
        return false;
    if (mArgs.IsEmpty() || IsOptionWord(mArgs[0]))
        return false;
    value = mArgs[0];
    RemoveArg(0);
    return true;
}

} // namespace Orn
