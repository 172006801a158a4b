// libFuzzer target: a reply page's signature block and the ReplyKey text. Whatever the page holds, the script
// found is the page's own bytes, and no page passes the check: nothing here knows the private key.
#include <cstring>

#include "FuzzSupport.h"
#include "SignedReply.h"

using namespace Orn;

namespace {

// The key and nonce of the seed "signed": its page passes only with the nonce it was made for, not this one.
const char cKey[] = "96e23dbbabe464002475d8224c72d5236ab258a0886c3be9b4754b5337f5c723"
                    "8fb1882f3b3c529c45575e13a1c2c91bb3c0597f8c2bbc3b0e6699097f255e2c";
const char cNonce[] = "00112233445566778899AABBCCDDEEF0";

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({});
    const CString page = FuzzSupport::Text(data, size);
    CReplyKey key;
    if (ParseReplyKey(page, key) && page.Length() != 2 * ReplyKeyBytes)
        FuzzSupport::Fail("key text of the wrong length", page);
    CString script;
    CReplySignature signature;
    if (SplitSignedPage(page, script, signature) == rcSigned && !std::strstr(page, script))
        FuzzSupport::Fail("script that the page does not hold", page);
    if (!ParseReplyKey(cKey, key))
        FuzzSupport::Fail("the fixed key");
    EReplyCheck check = rcSigned;
    RStatus status = CheckSignedReply(page, cNonce, key, script, check);
    FuzzSupport::CheckStatus(status);
    if (status == Ok || check == rcSigned)
        FuzzSupport::Fail("a page passed without the private key", page);
    return 0;
}
