// A reply script's tokens as the program's own tokenizer reads them, and the script without its comments.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Platform.h"
#include "ScriptText.h"

struct CScriptToken {
    Orn::Int type = 0; // the interpreter's token kind
    std::string text;  // as the interpreter holds it: a string unescaped, a label without its colon
    std::size_t offset = 0; // its first character
    std::size_t end = 0;    // just after its last character
};

struct CScriptTokens {
    std::vector<CScriptToken> list; // up to the end of the script or its first NUL, the end itself left out
    bool complete = true;           // false after a tokenizer error, which `error` holds
    CScriptFinding error;
};

CScriptTokens ReadScriptTokens(const std::string& script);

// The token at an offset, or null.
const CScriptToken* TokenAt(const std::vector<CScriptToken>& tokens, std::size_t offset);

// The script with every comment cut out, and the blanks before it on its line; line ends stay, so every token
// keeps its line. For a script whose tokens are complete.
std::string WithoutComments(const std::string& script, const std::vector<CScriptToken>& tokens);
