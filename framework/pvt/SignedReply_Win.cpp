// Signed replies, Windows half: the nonce and the signature check through CNG, which is loaded at run time.
#include "SignedReply.h"

#include <windows.h>

#include <bcrypt.h>

#include "DynamicLibrary_Win.h"

namespace Orn {

namespace {

constexpr Int Sha256Bytes = 32;
constexpr Int CoordinateBytes = 32;

// The library's entry points, looked up by name.
struct CBcryptFuncs {
    decltype(&::BCryptOpenAlgorithmProvider) pOpenAlgorithmProvider = nullptr;
    decltype(&::BCryptCloseAlgorithmProvider) pCloseAlgorithmProvider = nullptr;
    decltype(&::BCryptImportKeyPair) pImportKeyPair = nullptr;
    decltype(&::BCryptDestroyKey) pDestroyKey = nullptr;
    decltype(&::BCryptCreateHash) pCreateHash = nullptr;
    decltype(&::BCryptHashData) pHashData = nullptr;
    decltype(&::BCryptFinishHash) pFinishHash = nullptr;
    decltype(&::BCryptDestroyHash) pDestroyHash = nullptr;
    decltype(&::BCryptVerifySignature) pVerifySignature = nullptr;
    decltype(&::BCryptGenRandom) pGenRandom = nullptr;
};

// Owns the loaded library and its entry points.
class CBcrypt {
public:
    // False when the library or one of its entry points is missing.
    bool Load();
    const CBcryptFuncs& Funcs() const { return mFuncs; }

private:
    template <class F> bool Find(F& func, const char* name)
    {
        func = mLib.Find<F>(name);
        return func != nullptr;
    }

    CDynamicLibrary mLib;
    CBcryptFuncs mFuncs;
};

bool CBcrypt::Load()
{
    return mLib.Load("BCRYPT.DLL").Succeeded() &&
           Find(mFuncs.pOpenAlgorithmProvider, "BCryptOpenAlgorithmProvider") &&
           Find(mFuncs.pCloseAlgorithmProvider, "BCryptCloseAlgorithmProvider") &&
           Find(mFuncs.pImportKeyPair, "BCryptImportKeyPair") && Find(mFuncs.pDestroyKey, "BCryptDestroyKey") &&
           Find(mFuncs.pCreateHash, "BCryptCreateHash") && Find(mFuncs.pHashData, "BCryptHashData") &&
           Find(mFuncs.pFinishHash, "BCryptFinishHash") && Find(mFuncs.pDestroyHash, "BCryptDestroyHash") &&
           Find(mFuncs.pVerifySignature, "BCryptVerifySignature") && Find(mFuncs.pGenRandom, "BCryptGenRandom");
}

// Owns one CNG object, closed with the library's own function for its kind (the traits).
template <class Traits> class CCngHandle {
public:
    using Type = typename Traits::Type;

    explicit CCngHandle(const CBcryptFuncs& funcs) : mFuncs(funcs) {}
    CCngHandle(const CCngHandle&) = delete;
    CCngHandle& operator=(const CCngHandle&) = delete;
    ~CCngHandle()
    {
        if (mHand)
            Traits::Close(mFuncs, mHand);
    }

    // Where the call that makes the object puts it; only while nothing is held.
    Type* Receive() { return &mHand; }
    Type Get() const { return mHand; }

private:
    const CBcryptFuncs& mFuncs;
    Type mHand = nullptr;
};

struct CngAlgorithmTraits {
    using Type = BCRYPT_ALG_HANDLE;
    static void Close(const CBcryptFuncs& funcs, Type h) { funcs.pCloseAlgorithmProvider(h, 0); }
};

struct CngKeyTraits {
    using Type = BCRYPT_KEY_HANDLE;
    static void Close(const CBcryptFuncs& funcs, Type h) { funcs.pDestroyKey(h); }
};

struct CngHashTraits {
    using Type = BCRYPT_HASH_HANDLE;
    static void Close(const CBcryptFuncs& funcs, Type h) { funcs.pDestroyHash(h); }
};

using CCngAlgorithm = CCngHandle<CngAlgorithmTraits>;
using CCngKey = CCngHandle<CngKeyTraits>;
using CCngHash = CCngHandle<CngHashTraits>;

bool Succeeded(NTSTATUS status) { return status >= 0; }

bool Sha256(const CBcryptFuncs& funcs, const CString& message, Byte (&digest)[Sha256Bytes])
{
    CCngAlgorithm sha256(funcs);
    if (!Succeeded(funcs.pOpenAlgorithmProvider(sha256.Receive(), BCRYPT_SHA256_ALGORITHM, nullptr, 0)))
        return false;
    CCngHash hash(funcs);
    // Since Windows 7 the library keeps the hash object itself.
    if (!Succeeded(funcs.pCreateHash(sha256.Get(), hash.Receive(), nullptr, 0, nullptr, 0, 0)))
        return false;
    auto* bytes = reinterpret_cast<PUCHAR>(const_cast<char*>(message.Chars()));
    return Succeeded(funcs.pHashData(hash.Get(), bytes, static_cast<ULONG>(message.Length()), 0)) &&
           Succeeded(funcs.pFinishHash(hash.Get(), digest, Sha256Bytes, 0));
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
    return Succeeded(funcs.pImportKeyPair(ecdsa, nullptr, BCRYPT_ECCPUBLIC_BLOB, imported.Receive(),
                                          reinterpret_cast<PUCHAR>(&blob), sizeof blob, 0));
}

} // namespace

bool MakeReplyNonce(CString& nonce)
{
    CBcrypt lib;
    Byte bytes[ReplyNonceBytes];
    if (!lib.Load() ||
        !Succeeded(lib.Funcs().pGenRandom(nullptr, bytes, ReplyNonceBytes, BCRYPT_USE_SYSTEM_PREFERRED_RNG)))
        return false;
    nonce.SetHex(bytes, ReplyNonceBytes);
    return true;
}

RStatus VerifyReplySignature(const CReplyKey& key, const CString& message, const CReplySignature& signature)
{
    CBcrypt lib;
    Byte digest[Sha256Bytes];
    if (!lib.Load() || !Sha256(lib.Funcs(), message, digest))
        return Failure;
    const CBcryptFuncs& funcs = lib.Funcs();
    CCngAlgorithm ecdsa(funcs);
    if (!Succeeded(funcs.pOpenAlgorithmProvider(ecdsa.Receive(), BCRYPT_ECDSA_P256_ALGORITHM, nullptr, 0)))
        return Failure;
    CCngKey publicKey(funcs);
    if (!ImportPublicKey(funcs, ecdsa.Get(), key, publicKey))
        return E_InternetBadReplyKey;
    CReplySignature copy = signature;
    // STATUS_INVALID_SIGNATURE, and any other refusal of a signature the key cannot have made, is a wrong one.
    NTSTATUS verdict =
        funcs.pVerifySignature(publicKey.Get(), nullptr, digest, Sha256Bytes, copy.bytes, ReplySignatureBytes, 0);
    return Succeeded(verdict) ? Ok : E_InternetBadSignature;
}

} // namespace Orn
