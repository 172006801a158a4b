// The platform half of version reading (Version_Win.cpp, Version_Posix.cpp).
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn::VersionPlatform {

// True when path names an existing file (not a directory).
bool FileExists(const char* path);
// String values of a file's version resource, such as "\StringFileInfo\040904E4\FileVersion", from one reading
// of the resource: found[i] tells whether valueNames[i] was there. False when the resource cannot be read.
bool ReadResourceValues(const char* path, Int count, const char* const valueNames[], CString values[], bool found[]);

} // namespace Orn::VersionPlatform
