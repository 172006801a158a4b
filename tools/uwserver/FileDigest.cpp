// SHA-256 through OpenSSL, read in blocks so that an installer of any size takes little memory.
#include "FileDigest.h"

#include <openssl/evp.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

struct CMdCtxFree {
    void operator()(EVP_MD_CTX* ctx) const { EVP_MD_CTX_free(ctx); }
};

} // namespace

bool DigestFile(const std::string& path, CFileDigest& digest, std::string& error)
{
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    std::unique_ptr<EVP_MD_CTX, CMdCtxFree> ctx(EVP_MD_CTX_new());
    if (!file || !ctx || EVP_DigestInit_ex(ctx.get(), EVP_sha256(), nullptr) != 1) {
        error = "can't read " + path + ": " + std::strerror(errno);
        return false;
    }
    digest.size = 0;
    unsigned char block[64 * 1024];
    for (std::size_t n; (n = std::fread(block, 1, sizeof block, file.get())) > 0; digest.size += n)
        EVP_DigestUpdate(ctx.get(), block, n);
    unsigned char hash[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (std::ferror(file.get()) || EVP_DigestFinal_ex(ctx.get(), hash, &length) != 1) {
        error = "can't read " + path + ": " + std::strerror(errno);
        return false;
    }
    static const char cDigits[] = "0123456789abcdef";
    digest.sha256.clear();
    for (unsigned int i = 0; i < length; ++i)
        digest.sha256.append({cDigits[hash[i] >> 4], cDigits[hash[i] & 15]});
    return true;
}
