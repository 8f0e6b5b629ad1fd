#include "DiskScanKit/Arena.h"

#include <cstdint>

namespace tessel {

std::byte* Arena::takeChunk(std::size_t minimum, std::size_t& size) {
    size = minimum > chunkSize ? minimum : chunkSize;
    // Default-initialised: the pages stay untouched until a node lands on them.
    auto chunk = std::unique_ptr<std::byte[]>(new std::byte[size]);
    std::byte* start = chunk.get();
    std::lock_guard guard(lock_);
    chunks_.push_back(std::move(chunk));
    reserved_ += size;
    return start;
}

std::size_t Arena::bytesReserved() const {
    std::lock_guard guard(lock_);
    return reserved_;
}

void* ArenaCursor::allocate(std::size_t size, std::size_t alignment) {
    auto aligned = [alignment](std::byte* p) {
        auto address = reinterpret_cast<std::uintptr_t>(p);
        return reinterpret_cast<std::byte*>((address + alignment - 1) & ~(alignment - 1));
    };
    std::byte* start = next_ ? aligned(next_) : nullptr;
    if (start == nullptr || start + size > end_) {
        if (size > Arena::chunkSize / 4) {
            // A large block gets a chunk of its own, so the current chunk keeps serving small ones.
            std::size_t granted = 0;
            return arena_->takeChunk(size, granted);
        }
        std::size_t granted = 0;
        next_ = arena_->takeChunk(Arena::chunkSize, granted);
        end_ = next_ + granted;
        start = aligned(next_);
    }
    next_ = start + size;
    return start;
}

} // namespace tessel
