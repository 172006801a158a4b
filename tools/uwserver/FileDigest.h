// The size and SHA-256 of a file, as a reply's install command names the installer it downloads.
#pragma once

#include <cstdint>
#include <string>

struct CFileDigest {
    std::uint64_t size = 0;
    std::string sha256; // 64 lower-case hexadecimal digits
};

// False with the reason in `error`.
bool DigestFile(const std::string& path, CFileDigest& digest, std::string& error);
