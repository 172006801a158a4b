// The tools' words for a script error: the program's message with the token it met named and, where one mistake
// explains the error, the likely fix.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ScriptTokens.h"

// Where the program stopped.
struct CErrorPlace {
    const std::string& script;
    const std::vector<CScriptToken>& tokens; // all of the script's tokens
    std::size_t offset;                      // of the token the program met, or of the character it refused
    std::string command;                     // the command it was reading, or ""
};

std::string ExplainError(const std::string& message, const CErrorPlace& place);

// " (did you mean 'NAME'?)" for the candidate nearest to word when one is near enough to be a slip of the
// keyboard, else "".
std::string DidYouMean(const std::string& word, const std::vector<std::string>& candidates);
