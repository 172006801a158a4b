// Signed replies, Windows half: the nonce and the signature check through CNG, which is loaded at run time.
#include "SignedReply.h"

#include <windows.h>

#include "Cng_Win.h"

namespace Orn {

namespace {

constexpr Int CoordinateBytes = 32;

bool Sha256(const CBcrypt& lib, const CString& message, Byte (&digest)[Sha256Bytes])
{
    CSha256 hash(lib);
    return hash.Start() && hash.Add(message.Chars(), static_cast<DWord>(message.Length())) && hash.Finish(digest);
}

// The key as the library's public-key blob: its header, then X and Y.
bool ImportPublicKey(const CBcryptFuncs& funcs, BCRYPT_ALG_HANDLE ecdsa, const CReplyKey& key, CCngKey& imported)
{
    struct {
        BCRYPT_ECCKEY_BLOB header;
        Byte point[ReplyKeyBytes];
    } blob {};
    blob.header.dwMagic = BCRYPT_ECDSA_PUBLIC_P256_MAGIC;
    blob.header.cbKey = CoordinateBytes;
    for (Int i = 0; i < ReplyKeyBytes; ++i)
        blob.point[i] = key.bytes[i];
    return CngSucceeded(funcs.pImportKeyPair(ecdsa, nullptr, BCRYPT_ECCPUBLIC_BLOB, imported.Receive(),
                                             reinterpret_cast<PUCHAR>(&blob), sizeof blob, 0));
}

} // namespace

bool MakeReplyNonce(CString& nonce)
{
    CBcrypt lib;
    Byte bytes[ReplyNonceBytes];
    if (!lib.Load() ||
        !CngSucceeded(lib.Funcs().pGenRandom(nullptr, bytes, ReplyNonceBytes, BCRYPT_USE_SYSTEM_PREFERRED_RNG)))
        return false;
    nonce.SetHex(bytes, ReplyNonceBytes);
    return true;
}

RStatus VerifyReplySignature(const CReplyKey& key, const CString& message, const CReplySignature& signature)
{
    CBcrypt lib;
    Byte digest[Sha256Bytes];
    if (!lib.Load() || !Sha256(lib, message, digest))
        return Failure;
    const CBcryptFuncs& funcs = lib.Funcs();
    CCngAlgorithm ecdsa(funcs);
    if (!CngSucceeded(funcs.pOpenAlgorithmProvider(ecdsa.Receive(), BCRYPT_ECDSA_P256_ALGORITHM, nullptr, 0)))
        return Failure;
    CCngKey publicKey(funcs);
    if (!ImportPublicKey(funcs, ecdsa.Get(), key, publicKey))
        return E_InternetBadReplyKey;
    CReplySignature copy = signature;
    // STATUS_INVALID_SIGNATURE, and any other refusal of a signature the key cannot have made, is a wrong one.
    NTSTATUS verdict =
        funcs.pVerifySignature(publicKey.Get(), nullptr, digest, Sha256Bytes, copy.bytes, ReplySignatureBytes, 0);
    return CngSucceeded(verdict) ? Ok : E_InternetBadSignature;
}

} // namespace Orn
