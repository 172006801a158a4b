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
// What a signature covers before the request; another layout would get another prefix.
constexpr char SignedReplyPrefix[] = "UWREPLY2\n";
constexpr char SignatureStartMarker[] = "[SIG]";
constexpr char SignatureEndMarker[] = "[/SIG]";
constexpr Int ReplyNonceBytes = 16;
// A P-256 public key: X then Y, each 32 bytes big-endian.
constexpr Int ReplyKeyBytes = 64;
// ReplyKey may hold this many keys, so that a vendor can ship the next key before it signs with it.
constexpr Int MaxReplyKeys = 4;
// An ECDSA P-256 signature: r then s, each 32 bytes big-endian.
constexpr Int ReplySignatureBytes = 64;

struct CReplyKey {
    Byte bytes[ReplyKeyBytes] = {};
};

// The keys of ReplyKey, in the order written; a reply signed with any of them runs.
struct CReplyKeys {
    CReplyKey keys[MaxReplyKeys];
    Int count = 0;
};

// The request a reply answers, as it went on the wire; a signature covers all of it.
struct CSignedRequest {
    CString method; // "GET" or "POST"
    CString path;   // from the "/" after the host up to the "?" ("/updatewatch/updatewatch.aspx")
    CString query;  // after the first "?", as sent
    CString body;   // the form body of a POST, as sent
    CString nonce;  // VR_Nonce as the request carried it
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

// One key's text: 128 hexadecimal digits; false, with key untouched, for anything else.
bool ParseReplyKey(const char* text, CReplyKey& key);
// ReplyKey's text: one to MaxReplyKeys keys separated by commas, blanks allowed around each; false, with keys
// untouched, for anything else (an empty key, a fifth key).
bool ParseReplyKeys(const char* text, CReplyKeys& keys);

// The script of a page, the bytes between its first "[START]" and the first "[END]" after it exactly as they
// came, and the signature of the block that follows "[END]" after nothing but blanks, tabs, CR and LF:
// "[SIG]", 128 hexadecimal digits, "[/SIG]". rcSigned, rcNoEnvelope, rcNoSignature (no "[SIG]" after "[END]")
// or rcMalformedSignature; script and signature are set only with rcSigned.
EReplyCheck SplitSignedPage(const char* page, CString& script, CReplySignature& signature);

// The request's parameters in a form no proxy that re-encodes them can change: the pairs of the query, then
// those of the body, each as the server reads them (CVarList::VisitQuery) and form-encoded again, joined by
// "&". For a request as the program sends it, this is its query (or body) exactly.
void CanonicalParameters(const char* query, const char* body, CString& canonical);

// What the signature covers: SignedReplyPrefix, then the method, the path, the nonce and the canonical
// parameters, each followed by a line feed, then the script's bytes.
void BuildSignedMessage(const CSignedRequest& request, const CString& script, CString& message);

// Platform: Ok when signature is key's ECDSA signature over the SHA-256 of message, E_InternetBadSignature
// when it is not, E_InternetBadReplyKey when the key is not a point of the curve, Failure when the system's
// cryptography cannot be reached.
RStatus VerifyReplySignature(const CReplyKey& key, const CString& message, const CReplySignature& signature);

// How a signature is checked: VerifyReplySignature, or a test's stand-in for the system's cryptography.
using ReplyVerifier = RStatus (*)(const CReplyKey& key, const CString& message, const CReplySignature& signature);

// The whole check of a page for request: Ok with the script to run (read as text, CR LF as LF, as an unsigned
// reply is) when one of keys made the signature (keyIndex: which, from 0), or E_InternetBadSignature,
// E_InternetBadReplyKey (a key is not a point of the curve) or Failure (no verifier), with the reason in
// check. Every key is tried, so a key the system refuses is found even when another one fits.
RStatus CheckSignedReply(const char* page, const CSignedRequest& request, const CReplyKeys& keys, CString& script,
                         EReplyCheck& check, Int& keyIndex, ReplyVerifier verify = VerifyReplySignature);

// Platform: a fresh nonce of ReplyNonceBytes from the system's random generator, as upper-case hexadecimal
// digits; false when the generator gives none.
bool MakeReplyNonce(CString& nonce);

} // namespace Orn
