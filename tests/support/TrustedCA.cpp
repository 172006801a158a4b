// The test CA trusted while it lives: added to the "Root" store and written to the registry at once, where the
// programs under test find it; removed again at the end.
#include "TrustedCA.h"

namespace OrnTest {

std::string TrustedCA::Resource(const char* name)
{
    HRSRC res = ::FindResourceA(nullptr, name, MAKEINTRESOURCEA(10)); // RT_RCDATA
    HGLOBAL data = res ? ::LoadResource(nullptr, res) : nullptr;
    return data ? std::string(static_cast<const char*>(::LockResource(data)), ::SizeofResource(nullptr, res)) : "";
}

TrustedCA::TrustedCA(const std::string& der)
{
    mStore = ::CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, "Root");
    if (der.empty() || !mStore) {
        mError = der.empty() ? "no certificate" : "CertOpenStore: " + std::to_string(::GetLastError());
        return;
    }
    // Written to the registry now, where the programs under test find it; not when the store closes.
    if (!::CertAddEncodedCertificateToStore(mStore, X509_ASN_ENCODING, reinterpret_cast<const BYTE*>(der.data()),
                                            static_cast<DWORD>(der.size()), CERT_STORE_ADD_REPLACE_EXISTING, &mCert) ||
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
