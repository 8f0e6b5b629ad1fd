#pragma once
// Sizes are signed 64-bit byte counts. A sum that overflows means the tree is
// corrupt (or a counter ran away); carrying on with a wrapped total would show
// the user a lie, so the process stops instead.

#include <cstdint>

namespace tessel {

[[noreturn]] void sizeOverflow(const char* operation, std::int64_t a, std::int64_t b);

inline std::int64_t checkedAdd(std::int64_t a, std::int64_t b) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) sizeOverflow("+", a, b);
    return sum;
}

inline std::int64_t checkedSubtract(std::int64_t a, std::int64_t b) {
    std::int64_t difference = 0;
    if (__builtin_sub_overflow(a, b, &difference)) sizeOverflow("-", a, b);
    return difference;
}

inline std::int64_t checkedMultiply(std::int64_t a, std::int64_t b) {
    std::int64_t product = 0;
    if (__builtin_mul_overflow(a, b, &product)) sizeOverflow("*", a, b);
    return product;
}

} // namespace tessel
