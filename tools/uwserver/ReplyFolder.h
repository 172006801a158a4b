// A reply folder as the server serves it: the rules of its rules.txt and the reply scripts they name.
#pragma once

#include <string>

#include "ReplyStore.h"
#include "ServerRules.h"

struct CReplyFolder {
    CServerRules rules;
    CReplyStore replies;
};

// Reads FOLDER/rules.txt and every reply it names; with a signer (it must outlive `out`) the replies are signed.
// `messages` gets what the server prints at start: warnings, and the errors that make it false.
bool LoadReplyFolder(const std::string& folder, const CReplySigner* signer, CReplyFolder& out, std::string& messages);
