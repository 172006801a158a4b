// The local file system on Windows: special directories, entry kinds and file operations.
#include <windows.h>

#include "Debug.h"
#include "FileSystem.h"
#include "RegKey.h"

namespace Orn {

namespace {

const char* const cShellFolders = "HKEY_CURRENT_USER\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";
const char* const cCurrentVersion = "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion";

// Owns a FindFirstFile search.
struct FindHandleTraits {
    using Type = HANDLE;
    static Type Invalid() { return INVALID_HANDLE_VALUE; }
    static bool Close(Type h) { return ::FindClose(h) != 0; }
};

// The directory part of a module's file name.
RStatus ModuleDirectory(HMODULE module, CPath& path)
{
    char name[MAX_PATH + 1] = {0};
    DWORD n = ::GetModuleFileNameA(module, name, MAX_PATH);
    if (n == 0 || n >= MAX_PATH)
        return n == 0 ? LastOSErrorStatus() : E_BadArgument;
    path = CPath(name).Directory();
    return Ok;
}

// The module that holds this code: the executable, or a library when the framework runs inside one.
HMODULE ThisModule()
{
    HMODULE module = nullptr;
    ::GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCSTR>(&ThisModule), &module);
    return module;
}

// A directory from a call that fills a buffer of 260 characters.
template <class Call> RStatus BufferDirectory(Call call, CPath& path)
{
    char buf[MAX_PATH + 1] = {0};
    DWORD n = call(buf, MAX_PATH);
    if (n == 0 || n > MAX_PATH)
        return n == 0 ? LastOSErrorStatus() : E_BadArgument;
    path = CPath(buf);
    return Ok;
}

} // namespace

CLocalFileSystem& CLocalFileSystem::Get()
{
    static CLocalFileSystem cLocal;
    return cLocal;
}

RStatus CLocalFileSystem::RegistryDirectory(const char* rootedKey, const char* valueName, CPath& path)
{
    CRegKey key;
    CString value;
    if (!key.OpenRooted(rootedKey, CRegKey::regRead) || !key.GetString(valueName, value))
        return Failure;
    path = CPath(value);
    return Ok;
}

RStatus CLocalFileSystem::WindowsSubdirectory(const char* component, CPath& path)
{
    CPath dir;
    RStatus status = ResolveSpecialDirectory(sdWinOSDir, dir);
    if (status.Succeeded())
        status = dir.Append(component);
    if (status.Failed())
        return status;
    if (GetEntryKind(dir) != S_FSIsDirectory)
        return Failure;
    path = dir;
    return Ok;
}

RStatus CLocalFileSystem::ResolveSpecialDirectory(Int number, CPath& path)
{
    switch (number) {
    case sdTempDir:
        return BufferDirectory([](char* b, DWORD n) { return ::GetTempPathA(n, b); }, path);
    case sdDebugLogDir:
    case sdAppDir:
    case sdAppPrivateDir:
        return ModuleDirectory(nullptr, path);
    case sdModuleDir:
        return ModuleDirectory(ThisModule(), path);
    case sdFontsDir:
        return RegistryDirectory(cShellFolders, "Fonts", path).Succeeded() ? Ok : WindowsSubdirectory("Fonts", path);
    case sdUserAppDataDir:
    case sdLogDir:
        return RegistryDirectory(cShellFolders, "AppData", path).Succeeded()
                   ? Ok
                   : WindowsSubdirectory("Application Data", path);
    case sdUserDocDir:
        return RegistryDirectory(cShellFolders, "Personal", path);
    case sdCurrentDir:
        return BufferDirectory([](char* b, DWORD n) { return ::GetCurrentDirectoryA(n, b); }, path);
    case sdWinOSDir:
        return BufferDirectory([](char* b, DWORD n) { return ::GetWindowsDirectoryA(b, n); }, path);
    case sdWinProgramFilesDir:
        return RegistryDirectory(cCurrentVersion, "ProgramFilesDir", path);
    case sdWinCommonFilesDir:
        return RegistryDirectory(cCurrentVersion, "CommonFilesDir", path);
    default: // MachineAppDataDir is known by name but deliberately not resolved here
        ORN_ASSERT_MSG("bad dir type");
        return E_BadArgument;
    }
}

DWord CLocalFileSystem::TickCount() const { return ::GetTickCount(); }

RStatus CLocalFileSystem::GetEntryKind(const CPath& path)
{
    DWORD attributes = ::GetFileAttributesA(path.Chars());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        RStatus status = LastOSErrorStatus();
        return status.Succeeded() ? E_NotFound : status;
    }
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) ? S_FSIsDirectory : S_FSIsFile;
}

RStatus CLocalFileSystem::CreateDirectory(const CPath& path)
{
    return ::CreateDirectoryA(path.Chars(), nullptr) ? Ok : LastOSErrorStatus();
}

RStatus CLocalFileSystem::DeleteFile(const CPath& path)
{
    return ::DeleteFileA(path.Chars()) ? Ok : LastOSErrorStatus();
}

RStatus CLocalFileSystem::RemoveDirectory(const CPath& path)
{
    return ::RemoveDirectoryA(path.Chars()) ? Ok : LastOSErrorStatus();
}

RStatus CLocalFileSystem::CopyFile(const CPath& from, const CPath& to)
{
    return ::CopyFileA(from.Chars(), to.Chars(), FALSE) ? Ok : LastOSErrorStatus();
}

RStatus CLocalFileSystem::VisitDirectory(const CPath& dir, CVisitor& visitor)
{
    CPath pattern = dir;
    RStatus status = pattern.Append("*");
    if (status.Failed())
        return status;
    WIN32_FIND_DATAA data;
    CHandle<FindHandleTraits> find(::FindFirstFileA(pattern.Chars(), &data));
    if (!find.IsValid())
        return LastOSErrorStatus();
    do {
        if (Str::Equal(data.cFileName, ".") || Str::Equal(data.cFileName, ".."))
            continue;
        CPath entry = dir;
        status = entry.Append(data.cFileName);
        if (status.Succeeded())
            status = visitor.Visit(*this, entry, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0);
        if (status.Failed())
            return status;
    } while (::FindNextFileA(find.Get(), &data));
    return Ok;
}

} // namespace Orn
