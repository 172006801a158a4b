// The abstract file system, the local one, special directories such as "[TempDir]", and directory deletion.
#pragma once

#include "Path.h"
#include "Platform.h"
#include "Status.h"

namespace Orn {

// Special directories by number; their names are matched exactly.
enum : Int {
    sdTempDir = 0,
    sdDebugLogDir,
    sdFontsDir,
    sdAppDir,
    sdAppPrivateDir,
    sdModuleDir,
    sdUserAppDataDir,
    sdMachineAppDataDir,
    sdUserDocDir,
    sdCurrentDir,
    sdLogDir,
    sdWinOSDir,
    sdWinProgramFilesDir,
    sdWinCommonFilesDir,
    sdCount
};

// The number of a special directory name, or -1.
Int SpecialDirectoryNumber(const char* dirType);

class CFileSystem {
public:
    // Sees each entry of a directory (not "." or "..").
    class CVisitor {
    public:
        virtual ~CVisitor() = default;
        virtual RStatus Visit(CFileSystem& fs, const CPath& entry, bool isDirectory) = 0;
    };

    virtual ~CFileSystem() = default;

    virtual const CFSPathDefinition& Definition() const = 0;
    // Ok and the directory, E_BadArgument for an unknown name, or the failure of the query.
    RStatus GetSpecialDirectory(const char* dirType, CPath& path);
    // A text that begins with "[Name]" has the name replaced by its directory; other texts are taken as given.
    RStatus ResolvePath(const char* text, CPath& path);

    // S_FSIsDirectory, S_FSIsFile, or the failure (E_NotFound when nothing is there).
    virtual RStatus GetEntryKind(const CPath& path) = 0;
    virtual RStatus CreateDirectory(const CPath& path) = 0;
    virtual RStatus DeleteFile(const CPath& path) = 0;
    // Fails with E_DirNotEmpty unless the directory is empty.
    virtual RStatus RemoveDirectory(const CPath& path) = 0;
    // Copies a file, replacing an existing copy.
    virtual RStatus CopyFile(const CPath& from, const CPath& to) = 0;
    virtual RStatus VisitDirectory(const CPath& dir, CVisitor& visitor) = 0;

    // A name "prefix" + six hexadecimal digits in dir that names nothing yet.
    RStatus MakeUniqueTempName(const CPath& dir, const char* prefix, CPath& path);

protected:
    virtual RStatus ResolveSpecialDirectory(Int number, CPath& path) = 0;
    virtual DWord TickCount() const = 0;
};

// Local files of this machine.
class CLocalFileSystem : public CFileSystem {
public:
    static CLocalFileSystem& Get();

    const CFSPathDefinition& Definition() const override { return CLocalFSPathDefinition::Get(); }
    RStatus GetEntryKind(const CPath& path) override;
    RStatus CreateDirectory(const CPath& path) override;
    RStatus DeleteFile(const CPath& path) override;
    RStatus RemoveDirectory(const CPath& path) override;
    RStatus CopyFile(const CPath& from, const CPath& to) override;
    RStatus VisitDirectory(const CPath& dir, CVisitor& visitor) override;

protected:
    RStatus ResolveSpecialDirectory(Int number, CPath& path) override;
    DWord TickCount() const override;

private:
    RStatus RegistryDirectory(const char* rootedKey, const char* valueName, CPath& path);
    RStatus WindowsSubdirectory(const char* component, CPath& path);
};

// Deletes a directory tree: the contents of each directory before the directory itself.
class CDeleteDirectoryVisitor : public CFileSystem::CVisitor {
public:
    RStatus Visit(CFileSystem& fs, const CPath& entry, bool isDirectory) override;
    // Deletes dir and everything below it.
    static RStatus DeleteTree(CFileSystem& fs, const CPath& dir);
};

} // namespace Orn
