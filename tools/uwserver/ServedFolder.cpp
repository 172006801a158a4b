// Loading a folder aside and putting it in place in one step.
#include "ServedFolder.h"

bool CServedFolder::Load(std::string& messages)
{
    auto folder = std::make_shared<CReplyFolder>();
    if (!LoadReplyFolder(mPath, mSigner, *folder, messages))
        return false;
    std::atomic_store(&mCurrent, std::shared_ptr<const CReplyFolder>(std::move(folder)));
    return true;
}
