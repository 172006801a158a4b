// A test CA in the local-machine "Root" store of this Wine prefix for as long as the object lives, so that
// WinINet trusts the loopback servers' certificates that it issued.
#pragma once

#include <windows.h>

#include <wincrypt.h>

#include <string>

namespace OrnTest {

class TrustedCA {
public:
    // The certificate is the program's RCDATA resource of that name (DER).
    explicit TrustedCA(const char* resourceName);
    ~TrustedCA();
    TrustedCA(const TrustedCA&) = delete;
    TrustedCA& operator=(const TrustedCA&) = delete;

    // "" once the certificate is in the store, else why not.
    const std::string& Error() const { return mError; }

private:
    HCERTSTORE mStore = nullptr;
    PCCERT_CONTEXT mCert = nullptr;
    std::string mError;
};

} // namespace OrnTest
