// Windows half of version reading: the version resource through the version-information API.
#include <windows.h>

#include <memory>

#include "FileSystem.h"
#include "VersionPlatform.h"

namespace Orn::VersionPlatform {

bool FileExists(const char* path) { return CLocalFileSystem::Get().GetEntryKind(CPath(path)) == S_FSIsFile; }

bool ReadResourceValues(const char* path, Int count, const char* const valueNames[], CString values[], bool found[])
{
    for (Int i = 0; i < count; ++i)
        found[i] = false;
    DWORD unused = 0;
    DWORD size = ::GetFileVersionInfoSizeA(path, &unused);
    if (size == 0)
        return false;
    // Zeroed and with room to spare, so a value that lacks its terminator still ends inside the buffer.
    std::unique_ptr<char[]> data(new char[size + 100]());
    if (!::GetFileVersionInfoA(path, 0, size + 100, data.get()))
        return false;
    void* root = nullptr;
    UINT rootLen = 0;
    if (!::VerQueryValueA(data.get(), "\\", &root, &rootLen))
        return false;
    for (Int i = 0; i < count; ++i) {
        void* text = nullptr;
        UINT textLen = 0;
        found[i] = ::VerQueryValueA(data.get(), valueNames[i], &text, &textLen) && text;
        if (found[i])
            values[i] = static_cast<const char*>(text);
    }
    return true;
}

} // namespace Orn::VersionPlatform
