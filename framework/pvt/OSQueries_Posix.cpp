// Native half of the operating-system queries: there is no Windows, no window and no drive letter here.
#include <cstdlib>
#include <cstring>

#include "Debug.h"
#include "OSQueries.h"

namespace Orn {

namespace {

bool IsAsciiLetter(char ch) { return (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z'); }

// The locale that messages are shown in, by the usual precedence of the variables.
const char* MessagesLocale()
{
    static const char* const cVars[] = {"LC_ALL", "LC_MESSAGES", "LANG"};
    for (const char* var : cVars) {
        const char* value = std::getenv(var);
        if (value && *value)
            return value;
    }
    return "C";
}

bool NoDrive(char, CString&, void*) { return false; }

} // namespace

void GetOSVersion(Int& first, Int& second, Int& third) { first = second = third = 0; }

bool IsNTFamily() { return false; }

bool Is64BitWindows() { return false; }

// "de_AT.UTF-8@euro" gives "de-AT". The C locale's messages are English.
bool GetOSLanguageName(CString& name)
{
    name.Empty();
    const char* locale = MessagesLocale();
    if (std::strcmp(locale, "C") == 0 || std::strncmp(locale, "C.", 2) == 0 || std::strcmp(locale, "POSIX") == 0) {
        name = "en";
        return true;
    }
    const char* p = locale;
    while (IsAsciiLetter(*p))
        name.AppendChar(*p++);
    if (name.Length() < 2 || (*p != '\0' && *p != '_' && *p != '.' && *p != '@')) {
        name.Empty();
        return false;
    }
    if (*p == '_' && IsAsciiLetter(p[1])) {
        name.AppendChar('-');
        for (++p; IsAsciiLetter(*p); ++p)
            name.AppendChar(*p);
    }
    return true;
}

bool GetWindowProcessId(void*, DWord& processId)
{
    processId = 0;
    return false;
}

bool GetWindowProcessExe(void*, CString& path)
{
    path.Empty();
    return false;
}

bool DevicePathToDrivePath(const char* inPath, char* outPath, Int outPathLen)
{
    return DevicePathToDrivePath(inPath, outPath, outPathLen, NoDrive, nullptr);
}

bool GetAdapterAddress(Byte address[6])
{
    ORN_ASSERT(address);
    if (address)
        std::memset(address, 0, 6);
    return false;
}

} // namespace Orn
