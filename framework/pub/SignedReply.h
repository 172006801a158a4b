// Signed replies: the vendor's public key of the configuration, the nonce of one request, and the signature
// block after a reply page's envelope. docs/signed-replies.md describes the layout for server authors.
#pragma once

#include "Platform.h"
#include "Status.h"
#include "String.h"

namespace Orn {

// The global variable that holds the vendor's key; without it replies are not signed.
constexpr char ReplyKeyVar[] = "ReplyKey";
// The request parameter that carries the nonce.
constexpr char ReplyNonceVar[] = "VR_Nonce";
// What a signature covers before the nonce; another layout would get another prefix.
constexpr char SignedReplyPrefix[] = "UWREPLY1\n";
constexpr char SignatureStartMarker[] = "[SIG]";
constexpr char SignatureEndMarker[] = "[/SIG]";
constexpr Int ReplyNonceBytes = 16;
// A P-256 public key: X then Y, each 32 bytes big-endian.
constexpr Int ReplyKeyBytes = 64;
// An ECDSA P-256 signature: r then s, each 32 bytes big-endian.
constexpr Int ReplySignatureBytes = 64;

struct CReplyKey {
    Byte bytes[ReplyKeyBytes] = {};
};

struct CReplySignature {
    Byte bytes[ReplySignatureBytes] = {};
};

// How a reply page stood up to the check, and why it was refused.
enum EReplyCheck {
    rcSigned,
    rcMalformedKey,
    rcNoNonce,
    rcNoEnvelope,
    rcNoSignature,
    rcMalformedSignature,
    rcWrongSignature,
    rcKeyRefused,
    rcNoVerifier,
};

// The reason in plain words ("the page carries no signature"); "" for rcSigned.
const char* ReplyCheckText(EReplyCheck check);

// Exactly 2 * count hexadecimal digits of either case and nothing else; false, with bytes untouched, otherwise.
bool DecodeHexExactly(const char* text, Int count, Byte* bytes);

// ReplyKey's text: 128 hexadecimal digits; false, with key untouched, for anything else.
bool ParseReplyKey(const char* text, CReplyKey& key);

// The script of a page, the bytes between its first "[START]" and the first "[END]" after it exactly as they
// came, and the signature of the block that follows "[END]" after nothing but blanks, tabs, CR and LF:
// "[SIG]", 128 hexadecimal digits, "[/SIG]". rcSigned, rcNoEnvelope, rcNoSignature (no "[SIG]" after "[END]")
// or rcMalformedSignature; script and signature are set only with rcSigned.
EReplyCheck SplitSignedPage(const char* page, CString& script, CReplySignature& signature);

// What the signature covers: SignedReplyPrefix, the nonce as sent, a line feed, the script's bytes.
void BuildSignedMessage(const char* nonce, const CString& script, CString& message);

// The whole check of a page for the request that carried nonce: Ok with the script to run (read as text,
// CR LF as LF, as an unsigned reply is), or E_InternetBadSignature, E_InternetBadReplyKey (the key is not a
// point of the curve) or Failure (no verifier), with the reason in check.
RStatus CheckSignedReply(const char* page, const char* nonce, const CReplyKey& key, CString& script,
                         EReplyCheck& check);

// Platform: a fresh nonce of ReplyNonceBytes from the system's random generator, as upper-case hexadecimal
// digits; false when the generator gives none.
bool MakeReplyNonce(CString& nonce);

// Platform: Ok when signature is key's ECDSA signature over the SHA-256 of message, E_InternetBadSignature
// when it is not, E_InternetBadReplyKey when the key is not a point of the curve, Failure when the system's
// cryptography cannot be reached.
RStatus VerifyReplySignature(const CReplyKey& key, const CString& message, const CReplySignature& signature);

} // namespace Orn
