// Reply signatures through OpenSSL: the key from PEM, ECDSA over SHA-256, r and s out of their DER form.
#include "ReplySigner.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cstdio>

#include "SignedReply.h"

namespace {

constexpr int cCoordinate = 32;

struct CBnFree {
    void operator()(BIGNUM* bn) const { BN_free(bn); }
};
struct CMdCtxFree {
    void operator()(EVP_MD_CTX* ctx) const { EVP_MD_CTX_free(ctx); }
};
struct CSigFree {
    void operator()(ECDSA_SIG* sig) const { ECDSA_SIG_free(sig); }
};

std::string Hex(const unsigned char* bytes, int count)
{
    Orn::CString hex;
    hex.SetHex(bytes, count);
    return hex.Chars();
}

// r and s, each padded to 32 bytes, from the DER signature OpenSSL makes.
bool RawSignature(const unsigned char* der, std::size_t length, unsigned char (&raw)[2 * cCoordinate])
{
    const unsigned char* p = der;
    std::unique_ptr<ECDSA_SIG, CSigFree> sig(d2i_ECDSA_SIG(nullptr, &p, static_cast<long>(length)));
    if (!sig)
        return false;
    const BIGNUM* r = ECDSA_SIG_get0_r(sig.get());
    const BIGNUM* s = ECDSA_SIG_get0_s(sig.get());
    return BN_bn2binpad(r, raw, cCoordinate) == cCoordinate &&
           BN_bn2binpad(s, raw + cCoordinate, cCoordinate) == cCoordinate;
}

} // namespace

void CReplySigner::CKeyFree::operator()(evp_pkey_st* key) const { EVP_PKEY_free(key); }

CReplySigner::CReplySigner() = default;
CReplySigner::~CReplySigner() = default;

bool CReplySigner::Load(const std::string& pemPath, std::string& error)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(pemPath.c_str(), "r"), std::fclose);
    if (!file) {
        error = "can't open " + pemPath;
        return false;
    }
    mKey.reset(PEM_read_PrivateKey(file.get(), nullptr, nullptr, nullptr));
    char group[64] = "";
    if (!mKey || !EVP_PKEY_is_a(mKey.get(), "EC") ||
        !EVP_PKEY_get_utf8_string_param(mKey.get(), OSSL_PKEY_PARAM_GROUP_NAME, group, sizeof group, nullptr) ||
        std::string(group) != "prime256v1") {
        mKey.reset();
        error = pemPath + " holds no P-256 (prime256v1) private key in PEM";
        return false;
    }
    return true;
}

std::string CReplySigner::PublicKeyText() const
{
    BIGNUM* x = nullptr;
    BIGNUM* y = nullptr;
    EVP_PKEY_get_bn_param(mKey.get(), OSSL_PKEY_PARAM_EC_PUB_X, &x);
    EVP_PKEY_get_bn_param(mKey.get(), OSSL_PKEY_PARAM_EC_PUB_Y, &y);
    std::unique_ptr<BIGNUM, CBnFree> ownX(x), ownY(y);
    unsigned char point[2 * cCoordinate];
    if (!x || !y || BN_bn2binpad(x, point, cCoordinate) != cCoordinate ||
        BN_bn2binpad(y, point + cCoordinate, cCoordinate) != cCoordinate)
        return "";
    return Hex(point, sizeof point);
}

std::string CReplySigner::SignatureBlock(const Orn::CSignedRequest& request, const std::string& script) const
{
    Orn::CString message;
    Orn::BuildSignedMessage(request, Orn::CString(script.data(), static_cast<Orn::Int>(script.size())), message);
    std::unique_ptr<EVP_MD_CTX, CMdCtxFree> ctx(EVP_MD_CTX_new());
    unsigned char der[128];
    std::size_t length = sizeof der;
    unsigned char raw[2 * cCoordinate];
    if (!ctx || EVP_DigestSignInit(ctx.get(), nullptr, EVP_sha256(), nullptr, mKey.get()) != 1 ||
        EVP_DigestSign(ctx.get(), der, &length, reinterpret_cast<const unsigned char*>(message.Chars()),
                       static_cast<std::size_t>(message.Length())) != 1 ||
        !RawSignature(der, length, raw))
        return "";
    return std::string(Orn::SignatureStartMarker) + Hex(raw, sizeof raw) + Orn::SignatureEndMarker;
}

bool IsReplyNonce(const std::string& text)
{
    Orn::Byte bytes[Orn::ReplyNonceBytes];
    return Orn::DecodeHexExactly(text.c_str(), Orn::ReplyNonceBytes, bytes);
}
