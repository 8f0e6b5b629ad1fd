#pragma once
// Bump allocation for the scanned tree. A disk holds millions of nodes that all
// live exactly as long as their tree, so they are carved out of large chunks
// and freed together: no per-node header, no per-node free, no fragmentation.
// Each scan thread bumps through a chunk of its own (ArenaCursor) and only
// takes the arena's lock to fetch the next chunk.

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

namespace tessel {

class Arena {
public:
    static constexpr std::size_t chunkSize = 64 * 1024;

    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    // A fresh block of at least `minimum` bytes; safe to call from any thread.
    std::byte* takeChunk(std::size_t minimum, std::size_t& size);
    std::size_t bytesReserved() const;

private:
    mutable std::mutex lock_;
    std::vector<std::unique_ptr<std::byte[]>> chunks_;
    std::size_t reserved_ = 0;
};

// One thread's position in an arena. Not shared between threads.
class ArenaCursor {
public:
    explicit ArenaCursor(Arena& arena) : arena_(&arena) {}

    void* allocate(std::size_t size, std::size_t alignment);

    template <class T>
    T* allocateArray(std::size_t count) {
        return static_cast<T*>(allocate(sizeof(T) * count, alignof(T)));
    }

private:
    Arena* arena_;
    std::byte* next_ = nullptr;
    std::byte* end_ = nullptr;
};

} // namespace tessel
