// POSIX half of version reading: files exist, but there are no version resources to read.
#include <sys/stat.h>

#include "VersionPlatform.h"

namespace Orn::VersionPlatform {

bool FileExists(const char* path)
{
    struct stat info;
    return ::stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

bool ReadResourceValue(const char*, const char*, CString&) { return false; }

} // namespace Orn::VersionPlatform
