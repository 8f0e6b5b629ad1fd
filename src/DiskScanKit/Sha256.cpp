#include "DiskScanKit/Sha256.h"

#include <openssl/evp.h>

#include <cstdio>
#include <cstdlib>
#include <new>

namespace tessel {

namespace {

// The digest calls fail only when the library itself is broken (no SHA-256
// provider, memory corrupted); a wrong digest would silently make two
// different files "the same", so the process stops instead.
void require(int ok, const char* call) {
    if (ok == 1) return;
    std::fprintf(stderr, "tessel: %s failed\n", call);
    std::abort();
}

} // namespace

Sha256::Sha256() : context_(EVP_MD_CTX_new()) {
    if (context_ == nullptr) throw std::bad_alloc();
    require(EVP_DigestInit_ex(context_, EVP_sha256(), nullptr), "EVP_DigestInit_ex(SHA-256)");
}

Sha256::~Sha256() { EVP_MD_CTX_free(context_); }

void Sha256::add(std::span<const std::byte> bytes) {
    if (bytes.empty()) return;
    require(EVP_DigestUpdate(context_, bytes.data(), bytes.size()), "EVP_DigestUpdate");
}

Sha256::Digest Sha256::finish() {
    Digest digest{};
    unsigned int length = 0;
    require(EVP_DigestFinal_ex(context_, digest.data(), &length), "EVP_DigestFinal_ex");
    if (length != digest.size()) require(0, "EVP_DigestFinal_ex (length)");
    require(EVP_DigestInit_ex(context_, EVP_sha256(), nullptr), "EVP_DigestInit_ex(SHA-256)");
    return digest;
}

Sha256::Digest Sha256::of(std::span<const std::byte> bytes) {
    Sha256 hasher;
    hasher.add(bytes);
    return hasher.finish();
}

std::string Sha256::hex(const Digest& digest) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text(digest.size() * 2, '0');
    for (std::size_t i = 0; i < digest.size(); ++i) {
        text[2 * i] = digits[digest[i] >> 4];
        text[2 * i + 1] = digits[digest[i] & 0x0f];
    }
    return text;
}

} // namespace tessel
