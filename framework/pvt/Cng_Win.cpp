// The system's cryptography: loading bcrypt.dll from the system folder, and SHA-256 in pieces.
#include "Cng_Win.h"


namespace Orn {

bool CBcrypt::Load()
{
    return mLib.Load("BCRYPT.DLL").Succeeded() && Find(mFuncs.pOpenAlgorithmProvider, "BCryptOpenAlgorithmProvider") &&
           Find(mFuncs.pCloseAlgorithmProvider, "BCryptCloseAlgorithmProvider") &&
           Find(mFuncs.pImportKeyPair, "BCryptImportKeyPair") && Find(mFuncs.pDestroyKey, "BCryptDestroyKey") &&
           Find(mFuncs.pCreateHash, "BCryptCreateHash") && Find(mFuncs.pHashData, "BCryptHashData") &&
           Find(mFuncs.pFinishHash, "BCryptFinishHash") && Find(mFuncs.pDestroyHash, "BCryptDestroyHash") &&
           Find(mFuncs.pVerifySignature, "BCryptVerifySignature") && Find(mFuncs.pGenRandom, "BCryptGenRandom");
}

bool CSha256::Start()
{
    if (!mFuncs.pOpenAlgorithmProvider ||
        !CngSucceeded(mFuncs.pOpenAlgorithmProvider(mAlgorithm.Receive(), BCRYPT_SHA256_ALGORITHM, nullptr, 0)))
        return false;
    // Since Windows 7 the library keeps the hash object itself.
    return CngSucceeded(mFuncs.pCreateHash(mAlgorithm.Get(), mHash.Receive(), nullptr, 0, nullptr, 0, 0));
}

bool CSha256::Add(const void* bytes, DWord count)
{
    return CngSucceeded(mFuncs.pHashData(mHash.Get(), static_cast<PUCHAR>(const_cast<void*>(bytes)), count, 0));
}

bool CSha256::Finish(Byte (&digest)[Sha256Bytes])
{
    return CngSucceeded(mFuncs.pFinishHash(mHash.Get(), digest, Sha256Bytes, 0));
}

} // namespace Orn
