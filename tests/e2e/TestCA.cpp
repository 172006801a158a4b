// Adding a CA to the prefix's "Root" store and taking it out again.
#include "TestCA.h"

#include <gtest/gtest.h>

namespace E2E {

TrustedCA::TrustedCA(const std::string& der)
    : mStore(::CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, "Root"))
{
    EXPECT_TRUE(mStore && ::CertAddEncodedCertificateToStore(mStore, X509_ASN_ENCODING,
                                                             reinterpret_cast<const BYTE*>(der.data()),
                                                             static_cast<DWORD>(der.size()),
                                                             CERT_STORE_ADD_REPLACE_EXISTING, &mCert))
        << "CertOpenStore or CertAddEncodedCertificateToStore: " << ::GetLastError();
    // Written to the registry now, where UpdateWatch.exe's own store will find it; not when the store closes.
    EXPECT_TRUE(mStore && ::CertControlStore(mStore, 0, CERT_STORE_CTRL_COMMIT, nullptr)) << ::GetLastError();
}

TrustedCA::~TrustedCA()
{
    if (mCert)
        ::CertDeleteCertificateFromStore(mCert); // frees the context too
    if (mStore) {
        ::CertControlStore(mStore, 0, CERT_STORE_CTRL_COMMIT, nullptr);
        ::CertCloseStore(mStore, 0);
    }
}

} // namespace E2E
