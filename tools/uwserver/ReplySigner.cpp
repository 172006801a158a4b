// Reply signatures through OpenSSL: the key from PEM, ECDSA over SHA-256, r and s out of their DER form.
#include "ReplySigner.h"

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ecdsa.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

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

// The password callback: a key that asks for one is refused at once, never prompted for on the terminal.
int RefusePassword(char*, int, int, void* asked)
{
    *static_cast<bool*>(asked) = true;
    return -1;
}

// OpenSSL's most recent error, as its library says it: "OpenSSL: DECODER routines: unsupported".
std::string OpenSslReason()
{
    unsigned long code = ERR_peek_last_error();
    const char* library = code ? ERR_lib_error_string(code) : nullptr;
    const char* reason = code ? ERR_reason_error_string(code) : nullptr;
    return std::string("OpenSSL: ") + (library ? library : "no library") + ": " + (reason ? reason : "no reason");
}

// An ECDSA key on P-256; false with what the key is instead in `error`.
bool IsP256(EVP_PKEY* key, std::string& error)
{
    char group[64] = "";
    if (!EVP_PKEY_is_a(key, "EC")) {
        error = std::string("holds a key of type ") + EVP_PKEY_get0_type_name(key) + ", not a P-256 (prime256v1) key";
        return false;
    }
    if (!EVP_PKEY_get_utf8_string_param(key, OSSL_PKEY_PARAM_GROUP_NAME, group, sizeof group, nullptr) ||
        std::string(group) != "prime256v1") {
        error = std::string("holds a key on the curve ") + (*group ? group : "(unnamed)") +
                ", not on P-256 (prime256v1)";
        return false;
    }
    return true;
}

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

bool CReplySigner::Load(const std::string& pemPath, bool publicIsEnough, std::string& error)
{
    mKey.reset();
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(pemPath.c_str(), "r"), std::fclose);
    if (!file) {
        error = "can't open " + pemPath + ": " + std::strerror(errno);
        return false;
    }
    ERR_clear_error();
    bool askedForPassword = false;
    mKey.reset(PEM_read_PrivateKey(file.get(), nullptr, RefusePassword, &askedForPassword));
    if (!mKey && publicIsEnough && !askedForPassword) {
        std::rewind(file.get());
        ERR_clear_error();
        mKey.reset(PEM_read_PUBKEY(file.get(), nullptr, RefusePassword, &askedForPassword));
    }
    if (askedForPassword)
        error = pemPath + " holds an encrypted key: give uwserver the key without a password (openssl ec -in " +
                pemPath + " -out PLAIN.pem)";
    else if (!mKey)
        error = pemPath + " holds no " + (publicIsEnough ? "P-256 key" : "P-256 private key") + " in PEM (" +
                OpenSslReason() + ")";
    else if (!IsP256(mKey.get(), error))
        error = pemPath + " " + error;
    else
        return true;
    mKey.reset();
    return false;
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
