// Signed replies, native half: the nonce from getrandom and the signature check through OpenSSL's libcrypto,
// so that the tools and the native tests check a page as the program does.
#include "SignedReply.h"

#include <sys/random.h>

#include <openssl/bn.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <memory>

namespace Orn {

namespace {

// The DER SubjectPublicKeyInfo of a P-256 key up to its uncompressed point (0x04, X, Y).
const Byte P256KeyInfoHead[] = {0x30, 0x59, 0x30, 0x13, 0x06, 0x07, 0x2a, 0x86, 0x48, 0xce, 0x3d, 0x02, 0x01, 0x06,
                                0x08, 0x2a, 0x86, 0x48, 0xce, 0x3d, 0x03, 0x01, 0x07, 0x03, 0x42, 0x00, 0x04};
constexpr Int CoordinateBytes = 32;

struct CPKeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct CMdCtxFree {
    void operator()(EVP_MD_CTX* ctx) const { EVP_MD_CTX_free(ctx); }
};
struct CSigFree {
    void operator()(ECDSA_SIG* sig) const { ECDSA_SIG_free(sig); }
};

std::unique_ptr<EVP_PKEY, CPKeyFree> ImportPublicKey(const CReplyKey& key)
{
    Byte info[sizeof P256KeyInfoHead + ReplyKeyBytes];
    for (size_t i = 0; i < sizeof P256KeyInfoHead; ++i)
        info[i] = P256KeyInfoHead[i];
    for (Int i = 0; i < ReplyKeyBytes; ++i)
        info[sizeof P256KeyInfoHead + i] = key.bytes[i];
    const unsigned char* p = info;
    return std::unique_ptr<EVP_PKEY, CPKeyFree>(d2i_PUBKEY(nullptr, &p, sizeof info));
}

// The DER form of r and s, as OpenSSL takes a signature: at most 72 bytes for P-256.
struct CSignatureDer {
    unsigned char bytes[80];
    int length = 0;
};

bool EncodeSignature(const CReplySignature& signature, CSignatureDer& der)
{
    std::unique_ptr<ECDSA_SIG, CSigFree> sig(ECDSA_SIG_new());
    BIGNUM* r = BN_bin2bn(signature.bytes, CoordinateBytes, nullptr);
    BIGNUM* s = BN_bin2bn(signature.bytes + CoordinateBytes, CoordinateBytes, nullptr);
    if (!sig || !r || !s || !ECDSA_SIG_set0(sig.get(), r, s)) {
        BN_free(r);
        BN_free(s);
        return false;
    }
    int length = i2d_ECDSA_SIG(sig.get(), nullptr);
    if (length <= 0 || length > static_cast<int>(sizeof der.bytes))
        return false;
    unsigned char* out = der.bytes;
    der.length = i2d_ECDSA_SIG(sig.get(), &out);
    return der.length == length;
}

} // namespace

bool MakeReplyNonce(CString& nonce)
{
    Byte bytes[ReplyNonceBytes];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        return false;
    nonce.SetHex(bytes, ReplyNonceBytes);
    return true;
}

RStatus VerifyReplySignature(const CReplyKey& key, const CString& message, const CReplySignature& signature)
{
    std::unique_ptr<EVP_PKEY, CPKeyFree> publicKey = ImportPublicKey(key);
    if (!publicKey)
        return E_InternetBadReplyKey;
    CSignatureDer der;
    std::unique_ptr<EVP_MD_CTX, CMdCtxFree> ctx(EVP_MD_CTX_new());
    if (!EncodeSignature(signature, der) || !ctx ||
        EVP_DigestVerifyInit(ctx.get(), nullptr, EVP_sha256(), nullptr, publicKey.get()) != 1)
        return Failure;
    int verdict = EVP_DigestVerify(ctx.get(), der.bytes, static_cast<size_t>(der.length),
                                   reinterpret_cast<const unsigned char*>(message.Chars()),
                                   static_cast<size_t>(message.Length()));
    return verdict == 1 ? Ok : E_InternetBadSignature;
}

} // namespace Orn
