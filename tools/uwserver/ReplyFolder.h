// A reply folder as the server serves it: the rules of FOLDER/rules.txt and every reply they name, checked.
#pragma once

#include <string>

#include "ReplyStore.h"
#include "ServerRules.h"

class CReplySigner;

struct CReplyFolder {
    CServerRules rules;
    CReplyStore replies;
};

// Reads and checks the folder's rules and replies; with a signer (it must outlive `out`), pages asked for with a
// nonce are signed. False when anything cannot be served. `messages` gets what the server prints at start.
bool LoadReplyFolder(const std::string& folder, const CReplySigner* signer, CReplyFolder& out, std::string& messages);
