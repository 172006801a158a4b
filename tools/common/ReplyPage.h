// The reply page: what uwserver serves for a reply file and what uwscript check judges it by. One set of rules
// for both, so that the check passes exactly what the server will serve.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "ScriptText.h"

// Whether the page carries a signature block after its envelope.
enum class ESigning {
    unsigned_,
    signed_,
    either, // not known: over the signed limit is a warning, over the unsigned one an error
};

struct CReplyPage {
    // What the page carries between its markers: the file's script in Windows-1252 without its comments.
    std::string script;
    // At offsets into the file, messages in UTF-8, in the order of the file.
    std::vector<CScriptFinding> findings;

    bool Servable() const { return !HasErrors(findings); }
};

// The program reads at most this many bytes of a page.
constexpr std::size_t cMaxReplyPage = 10000;

// The most bytes a script can have in a page.
std::size_t MaxServedScript(bool signedPage);

// A reply file (UTF-8) as it will be served, and what stands against serving it: the script errors of
// CheckScript, characters and escapes the program cannot show as written, a "[START]" or "[END]" in a
// string, and a page over the program's limit.
CReplyPage PrepareReplyPage(const std::string& fileText, ESigning signing);

// What stands between the page's markers, the bytes a signature covers: the script between line feeds.
std::string PageBody(const std::string& script);
// "[START]", the body, "[END]" and a line feed; a signature block may follow.
std::string PageText(const std::string& body);
