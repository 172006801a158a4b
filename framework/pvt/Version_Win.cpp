// Windows half of version reading: the version resource through the version-information API.
#include <windows.h>

#include <vector>

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
    std::vector<char> data(size + 100, 0);
    if (!::GetFileVersionInfoA(path, 0, static_cast<DWORD>(data.size()), data.data()))
        return false;
    void* root = nullptr;
    UINT rootLen = 0;
    if (!::VerQueryValueA(data.data(), "\\", &root, &rootLen))
        return false;
    void* text = nullptr;
    UINT textLen = 0;
    if (!::VerQueryValueA(data.data(), valueName, &text, &textLen) || !text)
        return false;
    value = static_cast<const char*>(text);
    return true;
}

} // namespace Orn::VersionPlatform
