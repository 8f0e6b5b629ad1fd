#include "ContentDigest.h"

namespace tessel::ContentDigest {

WholeRead readWhole(OpenFile& file, Sha256& hasher, std::span<std::byte> buffer,
                    const std::function<bool(std::size_t piece)>& afterPiece) {
    std::int64_t total = 0;
    for (;;) {
        const std::optional<std::size_t> got = file.readNext(buffer);
        if (!got) return WholeRead::failed;
        if (*got == 0) return total == file.size() ? WholeRead::done : WholeRead::failed;
        total += static_cast<std::int64_t>(*got);
        if (total > file.size()) return WholeRead::failed;
        hasher.add(buffer.first(*got));
        if (!afterPiece(*got)) return WholeRead::cancelled;
    }
}

Sample sample(const std::string& path, const FileIdentity& identity, std::size_t sampleBytes,
              std::span<std::byte> buffer) {
    const auto samples = static_cast<std::int64_t>(2 * sampleBytes);
    const bool twoSamples = samples < identity.size;
    std::optional<OpenFile> file =
        OpenFile::bypassCache(path, identity, twoSamples ? OpenFile::Pattern::ranges : OpenFile::Pattern::sequential);
    if (!file) return {Sample::Kind::failed, {}};
    Sha256 hasher;
    if (twoSamples) {
        for (const std::int64_t offset : {std::int64_t{0}, identity.size - static_cast<std::int64_t>(sampleBytes)}) {
            if (!file->read(sampleBytes, offset, buffer)) return {Sample::Kind::failed, {}};
            hasher.add(buffer.first(sampleBytes));
        }
        return {Sample::Kind::sample, hasher.finish()};
    }
    // The samples would cover the whole file: hash it all, and it is settled.
    if (readWhole(*file, hasher, buffer, [](std::size_t) { return true; }) != WholeRead::done || !file->unchanged())
        return {Sample::Kind::failed, {}};
    return {Sample::Kind::whole, hasher.finish()};
}

} // namespace tessel::ContentDigest
