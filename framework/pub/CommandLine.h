// The argument list of a program: splitting a command-line text, and the option tests that consume it.
#pragma once

#include "Array.h"
#include "String.h"

namespace Orn {

class CArgList {
public:
    // Replaces the list by the arguments of a command-line text (double quotes group, no escapes).
    void Split(const char* cmdLine);
    void Clear() { mArgs.Clear(); }
    void Append(const char* arg) { mArgs.Add(arg); }

    Int GetArgCount() const { return mArgs.Size(); }
    const CString& GetArg(Int index) const;
    void RemoveArg(Int index);

    // True, consuming it, if the first remaining argument is "-name" or "/name" (case-sensitive).
    bool TestOption(const char* option);
    // The flag test, then the next argument as the value unless it is missing or itself an option.
    bool TestOptionValue(const char* option, CString& value);

private:
    static bool IsOptionWord(const CString& arg);
    CArray<CString> mArgs;
};

} // namespace Orn
