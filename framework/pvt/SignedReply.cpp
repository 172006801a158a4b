// Signed replies, portable half: the key text, the signature block of a page, the signed message and the check.
#include "SignedReply.h"

#include <cstring>

#include "Escape.h"
#include "MemStream.h"
#include "VarList.h"

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

bool IsSpaceOrTab(char ch) { return ch == ' ' || ch == '\t'; }

// One key of ReplyKey's list, with the blanks around it: where the list goes on (at a "," or its end), or null
// when the text there is no key.
const char* ReadListedKey(const char* text, CReplyKey& key)
{
    while (IsSpaceOrTab(*text))
        ++text;
    const char* end = text;
    while (*end && *end != ',' && !IsSpaceOrTab(*end))
        ++end;
    if (!ParseReplyKey(CString(text, static_cast<Int>(end - text)), key))
        return nullptr;
    while (IsSpaceOrTab(*end))
        ++end;
    return end;
}

} // namespace

const char* ReplyCheckText(EReplyCheck check)
{
    switch (check) {
    case rcSigned: return "";
    case rcMalformedKey:
        return "ReplyKey is not one to four keys of 128 hexadecimal digits (each a P-256 public key's X, then Y) "
               "separated by commas";
    case rcNoNonce: return "the system's random generator gave no nonce";
    case rcNoEnvelope: return "the page has no [START] ... [END] envelope";
    case rcNoSignature: return "the page carries no signature";
    case rcMalformedSignature: return "the signature block is malformed";
    case rcWrongSignature: return "the signature does not match the script and this request";
    case rcKeyRefused: return "ReplyKey holds a key that is not a P-256 public key";
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

bool ParseReplyKeys(const char* text, CReplyKeys& keys)
{
    if (!text)
        return false;
    CReplyKeys parsed;
    const char* p = text;
    do {
        if (parsed.count == MaxReplyKeys || !(p = ReadListedKey(p, parsed.keys[parsed.count])))
            return false;
        ++parsed.count;
    } while (*p++ == ',');
    if (p[-1])
        return false;
    keys = parsed;
    return true;
}


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

void CanonicalParameters(const char* query, const char* body, CString& canonical)
{
    struct CWriter : CVarList::CVisitor {
        explicit CWriter(CString& out) : out(out) {}
        bool Visit(const char* name, const char* value) override
        {
            if (!out.IsEmpty())
                out.AppendChar('&');
            FormEncode(encoded, name);
            out.Append(encoded);
            out.AppendChar('=');
            FormEncode(encoded, value);
            out.Append(encoded);
            return true;
        }
        CString& out;
        CString encoded;
    } writer(canonical);
    canonical.Empty();
    CVarList::VisitQuery(query ? query : "", true, writer);
    CVarList::VisitQuery(body ? body : "", true, writer);
}

void BuildSignedMessage(const CSignedRequest& request, const CString& script, CString& message)
{
    CString parameters;
    CanonicalParameters(request.query, request.body, parameters);
    message = SignedReplyPrefix;
    const CString* const lines[] = {&request.method, &request.path, &request.nonce, &parameters};
    for (const CString* line : lines) {
        message.Append(*line, line->Length());
        message.AppendChar('\n');
    }
    message.Append(script, script.Length());
}

namespace {

// Tries every key: a key the system refuses, or a verifier that cannot be used, refuses the page even when
// another key fits, so a mistyped key is found at once and never switches the check off.
RStatus VerifyWithAnyKey(const CReplyKeys& keys, const CString& message, const CReplySignature& signature,
                         Int& keyIndex, ReplyVerifier verify)
{
    Int signer = -1;
    for (Int i = 0; i < keys.count; ++i) {
        RStatus verdict = verify(keys.keys[i], message, signature);
        if (verdict == Ok && signer < 0)
            signer = i;
        else if (verdict != Ok && verdict != E_InternetBadSignature)
            return verdict == E_InternetBadReplyKey ? verdict : Failure;
    }
    if (signer < 0)
        return E_InternetBadSignature;
    keyIndex = signer;
    return Ok;
}

} // namespace

RStatus CheckSignedReply(const char* page, const CSignedRequest& request, const CReplyKeys& keys, CString& script,
                         EReplyCheck& check, Int& keyIndex, ReplyVerifier verify)
{
    CString signedScript;
    CReplySignature signature;
    check = SplitSignedPage(page, signedScript, signature);
    if (check != rcSigned)
        return E_InternetBadSignature;
    CString message;
    BuildSignedMessage(request, signedScript, message);
    RStatus verdict = VerifyWithAnyKey(keys, message, signature, keyIndex, verify);
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
