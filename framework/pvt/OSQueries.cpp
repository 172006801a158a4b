// The portable part of the operating-system queries: device paths and their drive letters.
#include <cstring>

#include "Debug.h"
#include "OSQueries.h"

namespace Orn {

namespace {

const char cDevicePrefix[] = "\\Device\\";
const Int cDevicePrefixLen = 8;

// Object names compare without regard to case; device names are plain ASCII.
char FoldAscii(char ch) { return (ch >= 'a' && ch <= 'z') ? static_cast<char>(ch - 'a' + 'A') : ch; }

// True when device names the volume that path lies on. The prefix must end at a component boundary, or
// "\Device\HarddiskVolume1" would take paths on "\Device\HarddiskVolume10".
bool IsVolumePrefix(const char* device, const char* path, Int& deviceLen)
{
    Int i = 0;
    for (; device[i] != '\0'; ++i) {
        if (FoldAscii(device[i]) != FoldAscii(path[i]))
            return false;
    }
    if (i > 0 && device[i - 1] == '\\') {
        // The delimiter stays with the rest of the path.
        deviceLen = i - 1;
        return deviceLen > 0;
    }
    deviceLen = i;
    return i > 0 && (path[i] == '\0' || path[i] == '\\');
}

// "X:" and the rest of the path into outPath; false when it does not fit.
bool ComposeDrivePath(char drive, const char* rest, char* outPath, Int outPathLen)
{
    // Built apart first: outPath may be the buffer that rest points into.
    CString result;
    result.AppendChar(drive);
    result.AppendChar(':');
    result.Append(rest);
    if (result.Length() >= outPathLen)
        return false;
    std::memcpy(outPath, result.Chars(), static_cast<size_t>(result.Length()) + 1);
    return true;
}

bool MapToDrive(const char* inPath, char* outPath, Int outPathLen, DriveDeviceLookup lookup, void* context)
{
    CString device;
    for (char drive = 'A'; drive <= 'Z'; ++drive) {
        Int deviceLen = 0;
        if (lookup(drive, device, context) && IsVolumePrefix(device.Chars(), inPath, deviceLen))
            return ComposeDrivePath(drive, inPath + deviceLen, outPath, outPathLen);
    }
    return false;
}

} // namespace

bool IsDevicePath(const char* path)
{
    ORN_ASSERT(path);
    return path && std::strncmp(path, cDevicePrefix, cDevicePrefixLen) == 0;
}

bool DevicePathToDrivePath(const char* inPath, char* outPath, Int outPathLen, DriveDeviceLookup lookup,
                           void* context)
{
    ORN_ASSERT(inPath);
    ORN_ASSERT(outPath);
    ORN_ASSERT(outPathLen > 0);
    ORN_ASSERT(lookup);
    if (!inPath || !outPath || outPathLen <= 0 || !lookup)
        return false;
    if (!IsDevicePath(inPath)) {
        ORN_ASSERT_MSG("IsDevicePath(inPath)");
        outPath[0] = '\0';
        return false;
    }
    if (MapToDrive(inPath, outPath, outPathLen, lookup, context))
        return true;
    outPath[0] = '\0';
    return false;
}

} // namespace Orn
