// The text of a reply: authors write UTF-8 files, the program shows Windows-1252 text, and a string's backslash
// escapes stand for what the author could not type.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ScriptText.h"

// A reply file's text as the program gets it.
struct CProgramText {
    std::string text; // Windows-1252
    // For each byte of text, where its character begins in the file, and one more entry for the end.
    std::vector<std::size_t> fileOffsets;
    // Characters that have no Windows-1252 byte and bytes that are not UTF-8, at file offsets; each stands as
    // "?" in text.
    std::vector<CScriptFinding> findings;

    std::size_t FileOffset(std::size_t offset) const;
};

// A byte-order mark at the start is dropped.
CProgramText ToProgramText(const std::string& utf8);
// The bytes of the UTF-8 character at `at`, or 1 where the text is not UTF-8.
std::size_t Utf8CharLength(const std::string& text, std::size_t at);
// Windows-1252 text as UTF-8, for a person to read; the five bytes the code page leaves out pass as U+0081...
std::string Utf8FromProgramText(const std::string& text);

// The backslash escapes of one string literal, whose text (without its quotes) begins at `begin` of the program
// text and ends at `end`: every escape the program does not understand as written, at program-text offsets,
// with the way to write the character meant.
void CheckEscapes(const std::string& text, std::size_t begin, std::size_t end, std::vector<CScriptFinding>& findings);
