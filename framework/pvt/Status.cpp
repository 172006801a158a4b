// Status construction, the module-table registry and the core table of names.
#include "Status.h"

#include <cstddef>

#include "Debug.h"
#include "String.h"

namespace Orn {

namespace {

const CModuleTable* cModuleTables = nullptr;

const CModuleTable::Row cCoreRows[] = {
    {Ok.Word(), "Ok"},
    {S_End.Word(), "S_End"},
    {S_Busy.Word(), "S_Busy"},
    {Failure.Word(), "Failure"},
    {E_AlreadyExists.Word(), "E_AlreadyExists"},
    {E_NotFound.Word(), "E_NotFound"},
    {E_NoAccess.Word(), "E_NoAccess"},
    {E_BadArgument.Word(), "E_BadArgument"},
    {E_BadName.Word(), "E_BadName"},
    {E_AlreadyOpen.Word(), "E_AlreadyOpen"},
    {E_NotOpen.Word(), "E_NotOpen"},
    {E_BadSyntax.Word(), "E_BadSyntax"},
    {E_Read.Word(), "E_Read"},
    {E_Write.Word(), "E_Write"},
    {E_Alloc.Word(), "E_Alloc"},
    {E_Version.Word(), "E_Version"},
    {E_BadData.Word(), "E_BadData"},
    {E_UnexpectedEOF.Word(), "E_UnexpectedEOF"},
    {E_Timeout.Word(), "E_Timeout"},
    {E_BadLogonName.Word(), "E_BadLogonName"},
    {E_BadLogonPassword.Word(), "E_BadLogonPassword"},
    {E_UserCancel.Word(), "E_UserCancel"},
    {E_Memory.Word(), "E_Memory"},
    {E_TooMuchData.Word(), "E_TooMuchData"},
};

// The owners' tables live here too, so they are registered whichever facilities a program links.
const CModuleTable::Row cFileSystemRows[] = {
    {S_FSIsDirectory.Word(), "S_FSIsDirectory"},
    {S_FSIsFile.Word(), "S_FSIsFile"},
    {E_DirNotEmpty.Word(), "E_DirNotEmpty"},
    {E_DiskFull.Word(), "E_DiskFull"},
    {E_FSNotDirectory.Word(), "E_FSNotDirectory"},
    {E_FSNotFile.Word(), "E_FSNotFile"},
    {E_BadUserId.Word(), "E_BadUserId"},
    {E_BadPassword.Word(), "E_BadPassword"},
    {E_BadHostName.Word(), "E_BadHostName"},
    {E_NotConnected.Word(), "E_NotConnected"},
};

const CModuleTable::Row cRegRows[] = {
    {S_RegIsDirectory.Word(), "S_RegIsDirectory"},
    {S_RegIsValue.Word(), "S_RegIsValue"},
};

const CModuleTable::Row cInternetRows[] = {
    {E_InternetBadHTTPStatus.Word(), "E_InternetBadHTTPStatus"},
    {E_InternetResourceNotText.Word(), "E_InternetResourceNotText"},
    {E_InternetCertUntrusted.Word(), "E_InternetCertUntrusted"},
    {E_InternetCertWrongHost.Word(), "E_InternetCertWrongHost"},
    {E_InternetCertExpired.Word(), "E_InternetCertExpired"},
    {E_InternetCertInvalid.Word(), "E_InternetCertInvalid"},
    {E_InternetBadScheme.Word(), "E_InternetBadScheme"},
    {E_InternetBadSignature.Word(), "E_InternetBadSignature"},
    {E_InternetBadReplyKey.Word(), "E_InternetBadReplyKey"},
};

template <std::size_t N> constexpr Int Count(const CModuleTable::Row (&)[N]) { return static_cast<Int>(N); }

const CModuleTable cCoreTable("Gen", modGen, Count(cCoreRows), cCoreRows);
const CModuleTable cFileSystemTable("FileSystem", modFileSystem, Count(cFileSystemRows), cFileSystemRows);
const CModuleTable cRegTable("Reg", modReg, Count(cRegRows), cRegRows);
const CModuleTable cInternetTable("Internet", modInternet, Count(cInternetRows), cInternetRows);

} // namespace

RStatus::RStatus(bool failure, Int mod, Int code) : mWord(0)
{
    ORN_ASSERT(code>=0 && code<=127);
    ORN_ASSERT(mod>=0 && mod<=511);
    mWord = MakeStatus(failure, mod, code & 0x7F).Word();
}

const char* RStatus::Name() const { return StatusName(*this); }

CModuleTable::CModuleTable(const char* modName, Int modId, Int rowCount, const Row* rows)
    : mModName(modName), mModuleId(modId), mRowCount(rowCount), mRows(rows), mNext(cModuleTables)
{
    ORN_ASSERT(modName);
    ORN_ASSERT(! FindModuleTable(modId));
    cModuleTables = this;
}

const CModuleTable* FindModuleTable(Int modId)
{
    for (const CModuleTable* t = cModuleTables; t; t = t->mNext)
        if (t->mModuleId == modId)
            return t;
    return nullptr;
}

const CModuleTable* FindModuleTable(const char* modName)
{
    for (const CModuleTable* t = cModuleTables; t; t = t->mNext)
        if (Str::Equal(t->mModName, modName))
            return t;
    return nullptr;
}

const CModuleTable::Row* CModuleTable::FindRow(RStatus error) const
{
    ORN_ASSERT(error.Module() == mModuleId);
    for (Int i = 0; i < mRowCount; ++i)
        if (mRows[i].value == error.Word())
            return &mRows[i];
    return nullptr;
}

const CModuleTable::Row* FindStatusRow(RStatus error)
{
    const CModuleTable* table = FindModuleTable(error.Module());
    return table ? table->FindRow(error) : nullptr;
}

const char* StatusName(RStatus error)
{
    const CModuleTable::Row* row = FindStatusRow(error);
    return row ? row->name : "(unknown error)";
}

const char* ModuleName(Int modId)
{
    const CModuleTable* table = FindModuleTable(modId);
    return table ? table->Name() : "(no module)";
}

} // namespace Orn
