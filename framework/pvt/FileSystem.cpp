// Special-directory names, path resolution, unique names and tree deletion, common to all file systems.
#include "FileSystem.h"

#include "Application.h"
#include "Debug.h"

namespace Orn {

namespace {

const char* const cSpecialNames[sdCount] = {
    "TempDir", "DebugLogDir", "FontsDir", "AppDir", "AppPrivateDir", "ModuleDir", "UserAppDataDir",
    "MachineAppDataDir", "UserDocDir", "CurrentDir", "LogDir", "WinOSDir", "WinProgramFilesDir",
    "WinCommonFilesDir",
};

bool cDebugLogDirUsed = false;

} // namespace

Int SpecialDirectoryNumber(const char* dirType)
{
    for (Int i = 0; i < sdCount; ++i)
        if (Str::Equal(cSpecialNames[i], dirType))
            return i;
    return -1;
}

RStatus CFileSystem::GetSpecialDirectory(const char* dirType, CPath& path)
{
    ORN_ASSERT(dirType);
    Int number = dirType ? SpecialDirectoryNumber(dirType) : -1;
    if (number < 0) {
        ORN_ASSERT_MSG("bad dir type");
        return E_BadArgument;
    }
    if (number == sdDebugLogDir && !cDebugLogDirUsed) {
        cDebugLogDirUsed = true;
        ORN_ASSERT_MSG("Debug log directory being used.");
    }
    if (number == sdCurrentDir && !dynamic_cast<CCmdApplication*>(CApplication::Get())) {
        ORN_ASSERT_MSG("only command-line apps support current directory access");
        return Failure;
    }
    return ResolveSpecialDirectory(number, path);
}

RStatus CFileSystem::ResolvePath(const char* text, CPath& path)
{
    CString name, rest;
    if (!Definition().SplitSpecialName(text, name, rest)) {
        path = CPath(text, Definition());
        return Ok;
    }
    RStatus status = GetSpecialDirectory(name, path);
    if (status.Succeeded() && !rest.IsEmpty())
        status = path.Append(rest);
    return status;
}

RStatus CFileSystem::MakeUniqueTempName(const CPath& dir, const char* prefix, CPath& path)
{
    ORN_ASSERT(prefix);
    if (!prefix)
        return E_BadArgument;
    // One counter per process, seeded once from the tick count.
    static CUniqueNameMaker cMaker(TickCount());
    return cMaker.Make(dir, prefix, [this](const CPath& candidate) {
        return GetEntryKind(candidate) != E_NotFound;
    }, path);
}

RStatus CDeleteDirectoryVisitor::Visit(CFileSystem& fs, const CPath& entry, bool isDirectory)
{
    return isDirectory ? DeleteTree(fs, entry) : fs.DeleteFile(entry);
}

RStatus CDeleteDirectoryVisitor::DeleteTree(CFileSystem& fs, const CPath& dir)
{
    CDeleteDirectoryVisitor visitor;
    RStatus status = fs.VisitDirectory(dir, visitor);
    return status.Failed() ? status : fs.RemoveDirectory(dir);
}

} // namespace Orn
