#include "DiskScanKit/CheckedSize.h"

#include <cstdio>
#include <cstdlib>

namespace tessel {

void sizeOverflow(const char* operation, std::int64_t a, std::int64_t b) {
    std::fprintf(stderr, "tessel: size arithmetic overflowed: %lld %s %lld\n",
                 static_cast<long long>(a), operation, static_cast<long long>(b));
    std::abort();
}

} // namespace tessel
