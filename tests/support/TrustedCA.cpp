// The test CA trusted while it lives: added to the "Root" store and written to the registry at once, where the
// programs under test find it; removed again at the end.
#include "TrustedCA.h"

namespace OrnTest {

TrustedCA::TrustedCA(const char* resourceName)
{
    HRSRC res = ::FindResourceA(nullptr, resourceName, MAKEINTRESOURCEA(10)); // RT_RCDATA
    HGLOBAL data = res ? ::LoadResource(nullptr, res) : nullptr;
    mStore = ::CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, "Root");
    if (!data || !mStore) {
        mError = !data ? "no such resource" : "CertOpenStore: " + std::to_string(::GetLastError());
        return;
    }
    if (!::CertAddEncodedCertificateToStore(mStore, X509_ASN_ENCODING, static_cast<const BYTE*>(::LockResource(data)),
                                            ::SizeofResource(nullptr, res), CERT_STORE_ADD_REPLACE_EXISTING, &mCert) ||
        !::CertControlStore(mStore, 0, CERT_STORE_CTRL_COMMIT, nullptr))
        mError = "adding the certificate: " + std::to_string(::GetLastError());
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

} // namespace OrnTest
