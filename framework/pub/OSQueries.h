// Facts about the machine: Windows version and bitness, UI language, a window's process, the adapter address.
#pragma once

#include "Platform.h"
#include "String.h"

namespace Orn {

// Windows version: NT family -> (major, minor, 0); 95 family -> (1|2|3, 0, 0); zeros if the query fails.
void GetOSVersion(Int& first, Int& second, Int& third);
// True when the version query succeeds and reports the NT platform.
bool IsNTFamily();
// True when this 32-bit process runs on 64-bit Windows (IsWow64Process looked up at run time); a 64-bit
// build answers true as well (it can only run on 64-bit Windows).
bool Is64BitWindows();
// The user's default UI language as "language-COUNTRY" from the ISO 639 and ISO 3166 locale names, e.g.
// "en-US"; only "en" when the locale has no country (a neutral language). False (and empty) on failure.
bool GetOSLanguageName(CString& name);
// The process id of a window's thread (asserts "::IsWindow(win)").
bool GetWindowProcessId(void* win, DWord& processId);
// The executable file of the process that owns a window.
bool GetWindowProcessExe(void* win, CString& path);
// True when path begins with "\Device\" (a path in the kernel's object name space).
bool IsDevicePath(const char* path);
// Turns "\Device\HarddiskVolume1\dir\x.exe" into "C:\dir\x.exe" through the drives A: to Z:; false when no
// drive names the device or the result does not fit outPathLen characters (terminator included).
bool DevicePathToDrivePath(const char* inPath, char* outPath, Int outPathLen);
// The first network adapter's 6-byte hardware address; false (and empty) on any error, including the
// buffer-too-small error of a machine with more than one adapter (one 648-byte record, deliberately).
bool GetAdapterAddress(Byte address[6]);

// The device name that a drive letter ('A'..'Z') stands for; false when the letter is not mapped.
using DriveDeviceLookup = bool (*)(char drive, CString& device, void* context);
// DevicePathToDrivePath over a given drive table (the platform's version asks the system for it).
bool DevicePathToDrivePath(const char* inPath, char* outPath, Int outPathLen, DriveDeviceLookup lookup,
                           void* context);

} // namespace Orn
