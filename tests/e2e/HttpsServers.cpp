// The host names of https_servers.py's servers, and their test CA (resource TESTCA) in the local-machine "Root"
// store while the tests run, so that WinINet trusts the servers' certificates that it issued.
#include "HttpsServers.h"

#include <windows.h>

#include <wincrypt.h>

#include <gtest/gtest.h>

#include <memory>

#include "E2ESupport.h"

namespace E2E {

namespace {

struct StoreCloser {
    void operator()(void* store) const { ::CertCloseStore(store, 0); }
};

class TrustedTestCA : public ::testing::Environment {
public:
    void SetUp() override
    {
        mStore.reset(::CertOpenStore(CERT_STORE_PROV_SYSTEM_A, 0, 0, CERT_SYSTEM_STORE_LOCAL_MACHINE, "Root"));
        ASSERT_TRUE(mStore) << "CertOpenStore: " << ::GetLastError();
        HRSRC res = ::FindResourceA(nullptr, "TESTCA", MAKEINTRESOURCEA(10)); // RT_RCDATA
        HGLOBAL data = res ? ::LoadResource(nullptr, res) : nullptr;
        ASSERT_TRUE(data) << "no TESTCA resource";
        ASSERT_TRUE(::CertAddEncodedCertificateToStore(
            mStore.get(), X509_ASN_ENCODING, static_cast<const BYTE*>(::LockResource(data)),
            ::SizeofResource(nullptr, res), CERT_STORE_ADD_REPLACE_EXISTING, &mCert))
            << "CertAddEncodedCertificateToStore: " << ::GetLastError();
        // Written to the registry now, where UpdateWatch.exe's own store will find it; not when the store closes.
        EXPECT_TRUE(::CertControlStore(mStore.get(), 0, CERT_STORE_CTRL_COMMIT, nullptr)) << ::GetLastError();
    }
    void TearDown() override
    {
        if (mCert)
            ::CertDeleteCertificateFromStore(mCert); // frees the context too
        mCert = nullptr;
        if (mStore)
            ::CertControlStore(mStore.get(), 0, CERT_STORE_CTRL_COMMIT, nullptr);
        mStore.reset();
    }

private:
    std::unique_ptr<void, StoreCloser> mStore;
    PCCERT_CONTEXT mCert = nullptr;
};

::testing::Environment* const cTestCA = ::testing::AddGlobalTestEnvironment(new TrustedTestCA);

} // namespace

std::string HttpsServerHost(const std::string& name)
{
    std::string port = PortFromEnvironment("ORN_HTTPS_PORTS", name);
    return port.empty() ? "" : "localhost:" + port;
}

} // namespace E2E
