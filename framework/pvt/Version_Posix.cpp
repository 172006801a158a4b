// POSIX half of version reading: files exist, but there are no version resources to read.
#include <sys/stat.h>

#include "VersionPlatform.h"

namespace Orn::VersionPlatform {

bool FileExists(const char* path)
{
    struct stat info;
    return ::stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

bool ReadResourceValues(const char*, Int count, const char* const[], CString[], bool found[])
{
    for (Int i = 0; i < count; ++i)
        found[i] = false;
    return false;
}

} // namespace Orn::VersionPlatform
