// Signed replies, portable half: the key text, the signature block of a page, the signed message and the check.
#include "SignedReply.h"

#include <cstring>

#include "MemStream.h"

namespace Orn {

namespace {

const char StartMarker[] = "[START]";
const char EndMarker[] = "[END]";

bool IsBlank(char ch) { return ch == ' ' || ch == '\t' || ch == '\r' || ch == '\n'; }

bool StartsWith(const char* text, const char* prefix)
{
    return std::strncmp(text, prefix, std::strlen(prefix)) == 0;
}

// The block right after "[END]": blanks, "[SIG]", the digits, "[/SIG]".
EReplyCheck ReadSignatureBlock(const char* afterEnd, CReplySignature& signature)
{
    if (!std::strstr(afterEnd, SignatureStartMarker))
        return rcNoSignature;
    const char* p = afterEnd;
    while (IsBlank(*p))
        ++p;
    if (!StartsWith(p, SignatureStartMarker))
        return rcMalformedSignature;
    p += std::strlen(SignatureStartMarker);
    constexpr Int digits = 2 * ReplySignatureBytes;
    // The digits are read only once the end marker is known to stand right after them.
    if (std::strlen(p) < static_cast<size_t>(digits) || !StartsWith(p + digits, SignatureEndMarker))
        return rcMalformedSignature;
    CString hex(p, digits);
    return DecodeHexExactly(hex, ReplySignatureBytes, signature.bytes) ? rcSigned : rcMalformedSignature;
}

} // namespace

const char* ReplyCheckText(EReplyCheck check)
{
    switch (check) {
    case rcSigned: return "";
    case rcMalformedKey: return "ReplyKey is not 128 hexadecimal digits (the P-256 public key's X, then Y)";
    case rcNoNonce: return "the system's random generator gave no nonce";
    case rcNoEnvelope: return "the page has no [START] ... [END] envelope";
    case rcNoSignature: return "the page carries no signature";
    case rcMalformedSignature: return "the signature block is malformed";
    case rcWrongSignature: return "the signature does not match the script and this request's nonce";
    case rcKeyRefused: return "ReplyKey is not a P-256 public key";
    case rcNoVerifier: return "the system's cryptography could not be used";
    }
    return "";
}

bool DecodeHexExactly(const char* text, Int count, Byte* bytes)
{
    if (!text || Str::Length(text) != 2 * count)
        return false;
    for (Int i = 0; i < 2 * count; ++i) {
        if (Str::HexValue(static_cast<unsigned char>(text[i])) < 0)
            return false;
    }
    for (Int i = 0; i < count; ++i)
        bytes[i] = static_cast<Byte>(Str::HexValue(text[2 * i]) << 4 | Str::HexValue(text[2 * i + 1]));
    return true;
}

bool ParseReplyKey(const char* text, CReplyKey& key) { return DecodeHexExactly(text, ReplyKeyBytes, key.bytes); }

EReplyCheck SplitSignedPage(const char* page, CString& script, CReplySignature& signature)
{
    const char* start = page ? std::strstr(page, StartMarker) : nullptr;
    if (!start)
        return rcNoEnvelope;
    start += std::strlen(StartMarker);
    const char* end = std::strstr(start, EndMarker);
    if (!end)
        return rcNoEnvelope;
    CReplySignature read;
    EReplyCheck check = ReadSignatureBlock(end + std::strlen(EndMarker), read);
    if (check != rcSigned)
        return check;
    script = CString(start, static_cast<Int>(end - start));
    signature = read;
    return rcSigned;
}

void BuildSignedMessage(const char* nonce, const CString& script, CString& message)
{
    message = SignedReplyPrefix;
    message.Append(nonce);
    message.AppendChar('\n');
    message.Append(script, script.Length());
}

RStatus CheckSignedReply(const char* page, const char* nonce, const CReplyKey& key, CString& script,
                         EReplyCheck& check)
{
    CString signedScript;
    CReplySignature signature;
    check = SplitSignedPage(page, signedScript, signature);
    if (check != rcSigned)
        return E_InternetBadSignature;
    CString message;
    BuildSignedMessage(nonce, signedScript, message);
    RStatus verdict = VerifyReplySignature(key, message, signature);
    if (verdict != Ok) {
        check = verdict == E_InternetBadSignature ? rcWrongSignature
                : verdict == E_InternetBadReplyKey ? rcKeyRefused
                                                   : rcNoVerifier;
        return verdict;
    }
    // Only the signed bytes are read, and as any reply is: CR LF as LF.
    CMemStream text(signedScript.Chars(), signedScript.Length(), smRead | smText);
    return text.ReadAll(script) ? Ok : Failure;
}

} // namespace Orn
