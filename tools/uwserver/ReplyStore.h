// The reply pages the server sends. Every page is made here: each reply file of the folder, checked and
// converted by the rules uwscript check applies too, wrapped in the envelope the program cuts the script out of,
// and signed for the request when the server has a key.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

class CReplySigner;
namespace Orn {
struct CSignedRequest;
}

class CReplyStore {
public:
    // With a signer (it must outlive the store), pages asked for with a nonce are signed.
    explicit CReplyStore(const CReplySigner* signer = nullptr) : mSigner(signer) {}

    // Reads and checks each named reply file of the folder. False when any cannot be served, with every problem
    // in `errors`; warnings about scripts that can be served go to `warnings`.
    bool Load(const std::string& folder, const std::vector<std::string>& names, std::string& errors,
              std::string& warnings);
    // The page of a reply the store holds, its script without comments; with a signer and a request that
    // carries a nonce, the signature block for that request follows "[END]". Empty when the signature cannot
    // be made.
    std::string Page(const std::string& name, const Orn::CSignedRequest* request = nullptr) const;

private:
    bool LoadOne(const std::string& folder, const std::string& name, std::string& errors, std::string& warnings);

    const CReplySigner* mSigner;
    // What stands between "[START]" and "[END]", the bytes a signature covers.
    std::map<std::string, std::string> mScripts;
};
