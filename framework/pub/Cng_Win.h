// The system's cryptography (CNG, bcrypt.dll), loaded at run time from the system folder only, its handles,
// and SHA-256 over data that comes in pieces.
#pragma once

#include <windows.h>

#include <bcrypt.h>

#include "DynamicLibrary_Win.h"
#include "Platform.h"

namespace Orn {

constexpr Int Sha256Bytes = 32;

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

// Owns the loaded library and its entry points. Only the system folder's bcrypt.dll is taken: a DLL of that
// name beside the program (a download folder, an installer's temporary folder) is never loaded.
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

inline bool CngSucceeded(NTSTATUS status) { return status >= 0; }

// SHA-256 of the bytes added, in as many pieces as they come.
class CSha256 {
public:
    explicit CSha256(const CBcrypt& lib) : mFuncs(lib.Funcs()), mAlgorithm(mFuncs), mHash(mFuncs) {}

    // False when the library refuses; nothing else may be called then.
    bool Start();
    bool Add(const void* bytes, DWord count);
    // The digest of everything added; the object is done with after it.
    bool Finish(Byte (&digest)[Sha256Bytes]);

private:
    const CBcryptFuncs& mFuncs;
    CCngAlgorithm mAlgorithm;
    CCngHash mHash;
};

} // namespace Orn
