// Native build: there are no resources to load.
#include <cstdio>

#include "Application.h"

namespace Orn {

bool CBasicResSource::LoadResString(Int, CString& text) const
{
    text.Empty();
    return false;
}

// Natively there is no message box: the report goes to standard error.
void CApplication::VReportMessage(bool, const char* format, va_list args)
{
    CString msg;
    msg.VFormat(format, args);
    std::fprintf(stderr, "%s: %s\n", Name().Chars(), msg.Chars());
}

// Natively there are no special directories: the configuration file is looked for in the current directory.
bool CApplication::GetConfigPath(CString& path)
{
    return ConfigFileName(path);
}

} // namespace Orn
