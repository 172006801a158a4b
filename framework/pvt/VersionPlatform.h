// The platform half of version reading (Version_Win.cpp, Version_Posix.cpp).
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn::VersionPlatform {

// True when path names an existing file (not a directory).
bool FileExists(const char* path);
// One string value of a file's version resource, such as "\StringFileInfo\040904E4\FileVersion".
bool ReadResourceValue(const char* path, const char* valueName, CString& value);

} // namespace Orn::VersionPlatform
