#pragma once
// Reading a file's contents into a digest, the duplicate finder's way: two
// samples, or the whole file. The finder's workers call these in this
// process, and the reader process calls the same for files on a file system
// that may stop answering, so both read alike.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "DiskScanKit/OpenFile.h"
#include "DiskScanKit/Sha256.h"

namespace tessel::ContentDigest {

struct Sample {
    enum class Kind { pending, sample, whole, failed };
    Kind kind = Kind::pending;
    // `sample`: of the head and the tail; `whole`: of the whole contents.
    Sha256::Digest digest{};
};

// The first and last `sampleBytes` of the file measured as `identity`, or
// all of it when the samples would cover it (at most twice `sampleBytes`).
Sample sample(const std::string& path, const FileIdentity& identity, std::size_t sampleBytes,
              std::span<std::byte> buffer);

enum class WholeRead { done, failed, cancelled };

// Reads `file` from where it stands to its end into `hasher`. `afterPiece`
// hears of every piece and returns false to stop (cancelled). A file that
// holds more or fewer bytes than it did when measured has changed: failed.
WholeRead readWhole(OpenFile& file, Sha256& hasher, std::span<std::byte> buffer,
                    const std::function<bool(std::size_t piece)>& afterPiece);

} // namespace tessel::ContentDigest
