// Folding Windows error numbers into statuses through one fixed table.
#include "Debug.h"
#include "ErrorPlatform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

namespace {

struct OSErrorRow {
    DWord number;
    RStatus status;
};

// Fixed at compile time, so the first callers need no once-flag to share it.
constexpr OSErrorRow cOSErrorRows[] = {
    {2, E_NotFound},        // ERROR_FILE_NOT_FOUND
    {3, E_NotFound},        // ERROR_PATH_NOT_FOUND
    {53, E_NotFound},       // ERROR_BAD_NETPATH
    {20, E_NotFound},       // ERROR_BAD_UNIT
    {126, E_NotFound},      // ERROR_MOD_NOT_FOUND
    {64, E_NotFound},       // ERROR_NETNAME_DELETED
    {80, E_AlreadyExists},  // ERROR_FILE_EXISTS
    {183, E_AlreadyExists}, // ERROR_ALREADY_EXISTS
    {160, E_BadArgument},   // ERROR_BAD_ARGUMENTS
    {111, E_BadArgument},   // ERROR_BUFFER_OVERFLOW
    {87, E_BadArgument},    // ERROR_INVALID_PARAMETER
    {6, E_BadArgument},     // ERROR_INVALID_HANDLE
    {123, E_BadArgument},   // ERROR_INVALID_NAME
    {67, E_BadArgument},    // ERROR_BAD_NET_NAME
    {5, E_NoAccess},        // ERROR_ACCESS_DENIED
    {32, E_NoAccess},       // ERROR_SHARING_VIOLATION
    {65, E_NoAccess},       // ERROR_NETWORK_ACCESS_DENIED
    {86, E_BadName},        // ERROR_INVALID_PASSWORD: deliberately a name status
    {110, E_NotOpen},       // ERROR_OPEN_FAILED
    {145, E_DirNotEmpty},   // ERROR_DIR_NOT_EMPTY
    {16, Failure},          // ERROR_CURRENT_DIRECTORY: Failure, but known, so not traced
};

} // namespace

RStatus StatusFromOSError(DWord osError)
{
    if (osError == 0)
        return Ok;
    for (const OSErrorRow& row : cOSErrorRows)
        if (row.number == osError)
            return row.status;
    CString text;
    ErrorPlatform::SystemMessage(osError, text);
    char line[1024];
    Str::Format(line, sizeof line, "%s(%d): unknown Windows error: '%s' (0x%08X)\n", "pvt/Error_Win", 68,
                text.Chars(), osError);
    DebugOutput(line);
    return Failure;
}

RStatus LastOSErrorStatus() { return StatusFromOSError(ErrorPlatform::LastError()); }

} // namespace Orn
