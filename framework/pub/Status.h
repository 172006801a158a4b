// The one status value of the framework: error flag, module and code in a 32-bit word, printable by name.
#pragma once

#include "Platform.h"

namespace Orn {

class [[nodiscard]] RStatus {
public:
    constexpr RStatus() : mWord(0x200) {}
    // The word is ((module + 4) << 7) + code, with bit 31 set for a failure.
    RStatus(bool failure, Int mod, Int code);
    static constexpr RStatus FromWord(DWord word) { return RStatus(word, 0); }

    constexpr DWord Word() const { return mWord; }
    constexpr bool Failed() const { return static_cast<Int>(mWord) < 0; }
    constexpr bool Succeeded() const { return !Failed(); }
    constexpr Int Module() const { return static_cast<Int>((mWord >> 7) & 0x1FF) - 4; }
    constexpr Int Code() const { return static_cast<Int>(mWord & 0x7F); }

    // The registered name, or "(unknown error)".
    const char* Name() const;

    constexpr bool operator==(RStatus other) const { return mWord == other.mWord; }
    constexpr bool operator!=(RStatus other) const { return mWord != other.mWord; }

private:
    constexpr RStatus(DWord word, int) : mWord(word) {}
    DWord mWord;
};

constexpr bool Failed(RStatus s) { return s.Failed(); }
constexpr bool Succeeded(RStatus s) { return s.Succeeded(); }

// Compile-time status construction for the module tables.
constexpr RStatus MakeStatus(bool failure, Int mod, Int code)
{
    return RStatus::FromWord((failure ? 0x80000000u : 0u) + (static_cast<DWord>(mod + 4) << 7) +
                             static_cast<DWord>(code));
}

enum : Int { modGen = 0, modFileSystem = 4, modReg = 6, modInternet = 13 };

// Core outcomes (module 0).
constexpr RStatus Ok = MakeStatus(false, modGen, 0);
constexpr RStatus S_End = MakeStatus(false, modGen, 1);
constexpr RStatus S_Busy = MakeStatus(false, modGen, 2);
constexpr RStatus Failure = MakeStatus(true, modGen, 0);
constexpr RStatus E_AlreadyExists = MakeStatus(true, modGen, 1);
constexpr RStatus E_NotFound = MakeStatus(true, modGen, 2);
constexpr RStatus E_NoAccess = MakeStatus(true, modGen, 3);
constexpr RStatus E_BadArgument = MakeStatus(true, modGen, 4);
constexpr RStatus E_BadName = MakeStatus(true, modGen, 5);
constexpr RStatus E_AlreadyOpen = MakeStatus(true, modGen, 6);
constexpr RStatus E_NotOpen = MakeStatus(true, modGen, 7);
constexpr RStatus E_BadSyntax = MakeStatus(true, modGen, 8);
constexpr RStatus E_Read = MakeStatus(true, modGen, 9);
constexpr RStatus E_Write = MakeStatus(true, modGen, 10);
constexpr RStatus E_Alloc = MakeStatus(true, modGen, 11);
constexpr RStatus E_Version = MakeStatus(true, modGen, 12);
constexpr RStatus E_BadData = MakeStatus(true, modGen, 13);
constexpr RStatus E_UnexpectedEOF = MakeStatus(true, modGen, 15);
constexpr RStatus E_Timeout = MakeStatus(true, modGen, 16);
constexpr RStatus E_BadLogonName = MakeStatus(true, modGen, 17);
constexpr RStatus E_BadLogonPassword = MakeStatus(true, modGen, 18);
constexpr RStatus E_UserCancel = MakeStatus(true, modGen, 19);
constexpr RStatus E_Memory = MakeStatus(true, modGen, 20);
constexpr RStatus E_TooMuchData = MakeStatus(true, modGen, 21);

// Outcomes of the other modules; their owners register the names.
constexpr RStatus S_FSIsDirectory = MakeStatus(false, modFileSystem, 1);
constexpr RStatus S_FSIsFile = MakeStatus(false, modFileSystem, 2);
constexpr RStatus E_DirNotEmpty = MakeStatus(true, modFileSystem, 1);
constexpr RStatus E_DiskFull = MakeStatus(true, modFileSystem, 2);
constexpr RStatus E_FSNotDirectory = MakeStatus(true, modFileSystem, 3);
constexpr RStatus E_FSNotFile = MakeStatus(true, modFileSystem, 4);
constexpr RStatus E_BadUserId = MakeStatus(true, modFileSystem, 5);
constexpr RStatus E_BadPassword = MakeStatus(true, modFileSystem, 6);
constexpr RStatus E_BadHostName = MakeStatus(true, modFileSystem, 7);
constexpr RStatus E_NotConnected = MakeStatus(true, modFileSystem, 8);
constexpr RStatus S_RegIsDirectory = MakeStatus(false, modReg, 1);
constexpr RStatus S_RegIsValue = MakeStatus(false, modReg, 2);
constexpr RStatus E_InternetBadHTTPStatus = MakeStatus(true, modInternet, 0);
constexpr RStatus E_InternetResourceNotText = MakeStatus(true, modInternet, 1);
// The server's certificate was refused: its issuer is not trusted, it names another host, it is out of date,
// or it is refused for another reason (revoked, revocation not verifiable, malformed).
constexpr RStatus E_InternetCertUntrusted = MakeStatus(true, modInternet, 2);
constexpr RStatus E_InternetCertWrongHost = MakeStatus(true, modInternet, 3);
constexpr RStatus E_InternetCertExpired = MakeStatus(true, modInternet, 4);
constexpr RStatus E_InternetCertInvalid = MakeStatus(true, modInternet, 5);
// A URL scheme other than "http" and "https" was asked for.
constexpr RStatus E_InternetBadScheme = MakeStatus(true, modInternet, 6);
// A signed reply was asked for (ReplyKey) and the page carries no valid signature for this request.
constexpr RStatus E_InternetBadSignature = MakeStatus(true, modInternet, 7);
// ReplyKey is not a P-256 public key.
constexpr RStatus E_InternetBadReplyKey = MakeStatus(true, modInternet, 8);

// One module's table of printable names; static objects register themselves at start-up.
class CModuleTable {
public:
    struct Row {
        DWord value;
        const char* name;
    };

    CModuleTable(const char* modName, Int modId, Int rowCount, const Row* rows);
    CModuleTable(const CModuleTable&) = delete;
    CModuleTable& operator=(const CModuleTable&) = delete;

    const Row* FindRow(RStatus error) const;

    const char* Name() const { return mModName; }
    Int Id() const { return mModuleId; }

private:
    const char* mModName;
    Int mModuleId;
    Int mRowCount;
    const Row* mRows;
    const CModuleTable* mNext;

    friend const CModuleTable* FindModuleTable(Int modId);
    friend const CModuleTable* FindModuleTable(const char* modName);
};

const CModuleTable* FindModuleTable(Int modId);
const CModuleTable* FindModuleTable(const char* modName);

const CModuleTable::Row* FindStatusRow(RStatus error);
const char* StatusName(RStatus error);
const char* ModuleName(Int modId);

// Folds a Windows error number into the status space; unknown numbers are traced and give Failure.
RStatus StatusFromOSError(DWord osError);
// The same for the calling thread's last operating-system error.
RStatus LastOSErrorStatus();

} // namespace Orn
