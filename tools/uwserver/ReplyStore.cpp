// Loading, checking and wrapping the reply scripts.
#include "ReplyStore.h"

#include "ReplyPage.h"
#include "ReplySigner.h"

namespace {

// A reply file with comments may be larger than its page; anything far larger is no reply file.
constexpr std::size_t cMaxReplyFile = 1 << 20;

} // namespace

bool CReplyStore::LoadOne(const std::string& folder, const std::string& name, std::string& errors,
                          std::string& warnings)
{
    std::string path = folder + "/" + name;
    std::string text, why;
    if (!ReadSmallFile(path, cMaxReplyFile, text, why)) {
        errors += path + ": can't serve it: " + why + "\n";
        return false;
    }
    CReplyPage page = PrepareReplyPage(text, mSigner ? ESigning::signed_ : ESigning::unsigned_);
    std::string report = CScriptText(path, text).Format(page.findings);
    if (!page.Servable()) {
        errors += report;
        return false;
    }
    warnings += report;
    mScripts[name] = PageBody(page.script);
    return true;
}

bool CReplyStore::Load(const std::string& folder, const std::vector<std::string>& names, std::string& errors,
                       std::string& warnings)
{
    mScripts.clear();
    bool ok = true;
    for (const std::string& name : names)
        ok = LoadOne(folder, name, errors, warnings) && ok;
    return ok;
}

std::string CReplyStore::Page(const std::string& name, const Orn::CSignedRequest* request) const
{
    const std::string& script = mScripts.at(name);
    std::string page = PageText(script);
    if (!mSigner || !request || request->nonce.IsEmpty())
        return page;
    std::string block = mSigner->SignatureBlock(*request, script);
    return block.empty() ? "" : page + block + "\n";
}
