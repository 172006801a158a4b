// A test CA trusted by the Wine prefix while it lives: in the local-machine "Root" store, so that WinINet in
// UpdateWatch.exe trusts the certificates it issued.
#pragma once

#include <windows.h>

#include <wincrypt.h>

#include <string>

namespace E2E {

class TrustedCA {
public:
    // The CA's certificate in DER; a failure fails the test.
    explicit TrustedCA(const std::string& der);
    ~TrustedCA();
    TrustedCA(const TrustedCA&) = delete;
    TrustedCA& operator=(const TrustedCA&) = delete;

private:
    HCERTSTORE mStore = nullptr;
    PCCERT_CONTEXT mCert = nullptr;
};

} // namespace E2E
