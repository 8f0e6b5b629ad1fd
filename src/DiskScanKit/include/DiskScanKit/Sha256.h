#pragma once
// SHA-256 over OpenSSL's digest interface, fed in pieces.

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

struct evp_md_ctx_st;

namespace tessel {

class Sha256 {
public:
    using Digest = std::array<std::uint8_t, 32>;

    // Throws std::bad_alloc when OpenSSL can't make a context.
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void add(std::span<const std::byte> bytes);
    // The digest of everything added since construction or the last finish;
    // the hasher is then ready for a new message.
    Digest finish();

    static Digest of(std::span<const std::byte> bytes);
    // Lower case, from the digits "0123456789abcdef": 64 characters.
    static std::string hex(const Digest& digest);

private:
    evp_md_ctx_st* context_;
};

} // namespace tessel
