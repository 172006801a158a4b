// Checking a reply script without a server or a user: every command as the program would run it, and the
// jumps and variables that will certainly fail when they are reached.
#pragma once

#include <string>
#include <vector>

#include "ScriptText.h"

// Errors are what the program reports for some command of the script (each command is run once on its own by
// the program's interpreter, with its dialog shown to nobody) and failures certain to happen when a command
// runs; each message names what it is about. Offsets and texts are the script's own, in the order of the script.
std::vector<CScriptFinding> CheckScript(const std::string& script);
