// Registry scripts: text lines that create keys and values in bulk, carried as resources of type 1000.
//
// Each line, after leading white space, is a command character, a path with "/" for "\", and optionally
// "=" and a value: "@root key" opens or creates a rooted key (value: its default value), "/subkey" one below
// it, "#name=value" sets a string value, "-subkey" deletes a subkey with everything below it. Empty lines
// and lines that begin with "//" are skipped.
#pragma once

#include <windows.h>

#include "Platform.h"

namespace Orn {

class CStream;
class CVarList;

// The resource type of registry scripts.
enum : Int { regScriptResourceType = 1000 };

// Runs the script, substituting GlobalVars and extraVariables into each line first when asked. Errors are
// reported through the error handler with sourceName and the line number; false when the script stopped.
bool RunRegistryScript(CStream& stream, bool substituteGlobals, const CVarList* extraVariables,
                       const char* sourceName = "registry script");

// Runs the script resource of that name (or MAKEINTRESOURCE id) from module, null meaning the program.
bool RunRegistryScriptResource(const char* resourceName, bool substituteGlobals, const CVarList* extraVariables,
                               HMODULE module = nullptr);
bool RunRegistryScriptResource(Int resourceId, bool substituteGlobals, const CVarList* extraVariables,
                               HMODULE module = nullptr);

} // namespace Orn
