// Signing reply pages with the vendor's P-256 private key (OpenSSL), for the nonce of each request.
#pragma once

#include <memory>
#include <string>

#include "SignedReply.h"

struct evp_pkey_st;

class CReplySigner {
public:
    CReplySigner();
    ~CReplySigner();
    CReplySigner(const CReplySigner&) = delete;
    CReplySigner& operator=(const CReplySigner&) = delete;

    // Reads a P-256 private key in PEM ("openssl ecparam -name prime256v1 -genkey -noout" writes one), or with
    // `publicIsEnough` a public key too (for PublicKeyText only). An encrypted key is refused without asking for
    // its password. False with the reason in `error`.
    bool Load(const std::string& pemPath, bool publicIsEnough, std::string& error);
    // The public key as the program's ReplyKey: X then Y, 128 upper-case hexadecimal digits.
    std::string PublicKeyText() const;
    // "[SIG]", the signature of the script (the page's bytes between "[START]" and "[END]") for the request as
    // 128 upper-case hexadecimal digits, "[/SIG]"; empty when OpenSSL fails. Safe from the server's threads.
    std::string SignatureBlock(const Orn::CSignedRequest& request, const std::string& script) const;

private:
    struct CKeyFree {
        void operator()(evp_pkey_st* key) const;
    };
    std::unique_ptr<evp_pkey_st, CKeyFree> mKey;
};

// A VR_Nonce the server signs for: 32 hexadecimal digits of either case.
bool IsReplyNonce(const std::string& text);
