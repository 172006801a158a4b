// A test CA in the local-machine "Root" store of this Wine prefix for as long as the object lives, so that
// WinINet trusts the loopback servers' certificates that it issued.
#pragma once

#include <windows.h>

#include <wincrypt.h>

#include <string>

namespace OrnTest {

class TrustedCA {
public:
    // The certificate in DER.
    explicit TrustedCA(const std::string& der);
    // The program's RCDATA resource of that name ("" when there is none), for the constructor.
    static std::string Resource(const char* name);
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
