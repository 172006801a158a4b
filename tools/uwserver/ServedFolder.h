// The reply folder a running server serves, replaced whole by a reload: a request takes the set that is current
// when it arrives and keeps it to its answer, whatever reloads happen meanwhile.
#pragma once

#include <memory>
#include <string>

#include "ReplyFolder.h"

class CServedFolder {
public:
    // With a signer (it must outlive the folder) the replies are signed.
    CServedFolder(std::string path, const CReplySigner* signer) : mPath(std::move(path)), mSigner(signer) {}

    // Reads the folder again. A good folder becomes the served set; with any error the set stays as it was and
    // `messages` says why. `messages` gets what the server prints either way.
    bool Load(std::string& messages);
    // The set to answer a request with; null before the first good load.
    std::shared_ptr<const CReplyFolder> Current() const { return std::atomic_load(&mCurrent); }
    const std::string& Path() const { return mPath; }

private:
    const std::string mPath;
    const CReplySigner* const mSigner;
    std::shared_ptr<const CReplyFolder> mCurrent;
};
