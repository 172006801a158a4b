// Checking a reply script without a server or a user: every command as the program would run it, and the
// jumps and variables that will certainly fail when they are reached.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ScriptText.h"

struct CScriptFinding {
    std::size_t offset = 0;
    bool warning = false;
    std::string message;
};

// Errors are what the program reports for some command of the script: each command is run once on its own
// by the program's interpreter, with its dialog shown to nobody. Warnings are failures certain to happen
// when the command runs. In the order of the script.
std::vector<CScriptFinding> CheckScript(const std::string& script);

bool HasErrors(const std::vector<CScriptFinding>& findings);

// "NAME:LINE:COLUMN: message" (or "...: warning: message") and the excerpt, for each finding.
std::string FormatFindings(const CScriptText& text, const std::vector<CScriptFinding>& findings);
