// Windows half of version reading: the version resource through the version-information API.
#include <windows.h>

#include <memory>

#include "FileSystem.h"
#include "VersionPlatform.h"

namespace Orn::VersionPlatform {

bool FileExists(const char* path) { return CLocalFileSystem::Get().GetEntryKind(CPath(path)) == S_FSIsFile; }

bool ReadResourceValue(const char* path, const char* valueName, CString& value)
{
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
    void* text = nullptr;
    UINT textLen = 0;
    if (!::VerQueryValueA(data.get(), valueName, &text, &textLen) || !text)
        return false;
    value = static_cast<const char*>(text);
    return true;
}

} // namespace Orn::VersionPlatform
