// libFuzzer target: a reply page's signature block, the ReplyKey text and the canonical form of a query.
// Whatever the page holds, the script found is the page's own bytes, and no page passes the check: nothing
// here knows the private key. The canonical form of a query is its own canonical form, so a server that
// reads it again signs what the program checks.
#include <cstring>

#include "FuzzSupport.h"
#include "SignedReply.h"

using namespace Orn;

namespace {

const char cKey[] = "8b735ca5fc10333f03e6cfca9379f5e72f7b5e634d94e65569d594201a9e7d25"
                    "876dbfae6feeeff853ba1a88395a36be813f2bc6ad87e81836796f5cdcae8784";

void CheckCanonicalForm(const CString& query)
{
    CString once, twice;
    CanonicalParameters(query, "", once);
    CanonicalParameters(once, "", twice);
    if (once != twice)
        FuzzSupport::Fail("a canonical form that changes when read again", query);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, size_t size)
{
    FuzzSupport::ExpectAssertions({});
    const CString page = FuzzSupport::Text(data, size);
    CheckCanonicalForm(page);
    CReplyKeys anyKeys;
    (void)ParseReplyKeys(page, anyKeys);
    CString script;
    CReplySignature signature;
    if (SplitSignedPage(page, script, signature) == rcSigned && !std::strstr(page, script))
        FuzzSupport::Fail("script that the page does not hold", page);
    CReplyKeys keys;
    if (!ParseReplyKeys(cKey, keys))
        FuzzSupport::Fail("the fixed key");
    CSignedRequest request;
    request.method = "GET";
    request.path = "/updatewatch/updatewatch.aspx";
    request.query = page;
    request.nonce = "00112233445566778899AABBCCDDEEF0";
    EReplyCheck check = rcSigned;
    Int keyIndex = -1;
    RStatus status = CheckSignedReply(page, request, keys, script, check, keyIndex);
    FuzzSupport::CheckStatus(status);
    if (status == Ok || check == rcSigned || keyIndex != -1)
        FuzzSupport::Fail("a page passed without the private key", page);
    return 0;
}
