// Comparing files of one size by reading them side by side.
//
// Files that share a size and a sample are most often copies of one another.
// Telling them apart by a digest of each means pushing every byte through
// SHA-256, which runs at about 2 GB/s a core; reading a file that is in the
// page cache runs at ten times that, and comparing two buffers faster still.
// So the files of such a bucket are opened together and read in rounds, one
// piece of each per round, and the pieces are compared byte for byte. The
// answer is exact: two files are called the same only when every byte was
// seen equal, so no collision is possible, and a file that is different
// stops being read as soon as it is known to be.
//
// Classes. The files start as one class. After each round every class is
// split by its pieces: the first file's piece is the pivot, the files whose
// pieces equal it stay with it, and the rest form a new class that is split
// the same way. A class that stands for fewer than two files (a set of clones
// read once stands for all its clones) is settled there and then: its file is
// closed, which lets go of whatever the reading brought into the page cache,
// and is never read again.
//
// Changes. A file that can't be read for a round's piece, or ends before it,
// changed under the comparison and fails. So does one whose status, looked at
// again on the open descriptor, is not what was measured: when it leaves a
// class, and for every file still in a class at the end. A file written to
// while it was compared is therefore never called the same as another; the
// status change time catches even a writer that put the modification time
// back.
//
// Example, four files of 3 MiB, pieces of 1 MiB: a and b equal, c and d
// equal, a and c different from 1.5 MiB on. Round 1 leaves {a, b, c, d}
// together; round 2 splits them into {a, b} and {c, d}; round 3 changes
// nothing. At the end all four are unchanged: a and b are the same as a, c
// and d the same as c. Had d been alone in its bytes, it would have left in
// round 2, and c with it, after 2 MiB each.
//
// The pieces share one buffer: `pieceBytes` each, or the buffer's share when
// many files are compared at once, whole pages either way.

#include "DiskScanKit/Lockstep.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace tessel::Lockstep {

namespace {

using Class = std::vector<std::size_t>;

class Comparison {
public:
    Comparison(std::vector<std::optional<OpenFile>>& files, std::span<const std::size_t> copies,
               std::span<std::byte> buffer)
        : files_(files), copies_(copies), buffer_(buffer), piece_(pieceFor(files.size(), buffer.size())),
          verdicts_(files.size()) {}

    std::vector<Verdict> run(const AfterRound& afterRound) {
        Class everyone;
        std::int64_t size = 0;
        for (std::size_t index = 0; index < files_.size(); ++index) {
            if (!files_[index]) {
                verdicts_[index].kind = Verdict::Kind::failed;
                continue;
            }
            everyone.push_back(index);
            size = files_[index]->size();
        }
        // No room for a piece each: nothing is settled, and nothing was read.
        if (piece_ == 0) return unfinished({everyone});
        std::vector<Class> classes = standing({everyone});
        for (std::int64_t offset = 0; !classes.empty() && offset < size;) {
            const auto want = static_cast<std::size_t>(std::min<std::int64_t>(static_cast<std::int64_t>(piece_), size - offset));
            const std::int64_t bytes = readRound(classes, want);
            if (!afterRound(bytes)) return unfinished(classes);
            std::vector<Class> split;
            for (Class& members : classes) splitByPiece(std::move(members), want, split);
            classes = standing(std::move(split));
            offset += static_cast<std::int64_t>(want);
        }
        for (Class& members : classes)
            std::erase_if(members, [&](std::size_t index) {
                if (files_[index]->unchanged()) return false;
                settle(index, Verdict::Kind::failed);
                return true;
            });
        for (const Class& members : standing(std::move(classes)))
            for (std::size_t index : members) {
                verdicts_[index] = {Verdict::Kind::same, members.front()};
                files_[index].reset();
            }
        return std::move(verdicts_);
    }

private:
    std::span<std::byte> pieceOf(std::size_t index) const { return buffer_.subspan(index * piece_, piece_); }

    void settle(std::size_t index, Verdict::Kind kind) {
        verdicts_[index].kind = kind;
        files_[index].reset();
    }

    // Reads the next `want` bytes of every file still in a class; a file that
    // can't give them all fails and leaves its class. Returns the bytes read.
    std::int64_t readRound(std::vector<Class>& classes, std::size_t want) {
        std::int64_t bytes = 0;
        for (Class& members : classes)
            std::erase_if(members, [&](std::size_t index) {
                const std::optional<std::size_t> got = files_[index]->readFull(pieceOf(index).first(want));
                if (got) bytes += static_cast<std::int64_t>(*got);
                if (got && *got == want) return false;
                settle(index, Verdict::Kind::failed);
                return true;
            });
        return bytes;
    }

    void splitByPiece(Class members, std::size_t want, std::vector<Class>& into) const {
        while (!members.empty()) {
            const std::span<const std::byte> pivot = pieceOf(members.front()).first(want);
            Class same{members.front()};
            Class rest;
            for (std::size_t at = 1; at < members.size(); ++at) {
                const bool equal = std::memcmp(pivot.data(), pieceOf(members[at]).data(), want) == 0;
                (equal ? same : rest).push_back(members[at]);
            }
            into.push_back(std::move(same));
            members = std::move(rest);
        }
    }

    // The classes that still stand for two files or more; the files of the
    // others are settled as parted, or failed if they changed meanwhile.
    std::vector<Class> standing(std::vector<Class> classes) {
        std::vector<Class> kept;
        for (Class& members : classes) {
            std::size_t standsFor = 0;
            for (std::size_t index : members) standsFor += copies_[index];
            if (standsFor >= 2) {
                kept.push_back(std::move(members));
                continue;
            }
            for (std::size_t index : members)
                settle(index, files_[index]->unchanged() ? Verdict::Kind::parted : Verdict::Kind::failed);
        }
        return kept;
    }

    std::vector<Verdict> unfinished(const std::vector<Class>& classes) {
        for (const Class& members : classes)
            for (std::size_t index : members) settle(index, Verdict::Kind::unfinished);
        return std::move(verdicts_);
    }

    std::vector<std::optional<OpenFile>>& files_;
    std::span<const std::size_t> copies_;
    std::span<std::byte> buffer_;
    std::size_t piece_ = 0;
    std::vector<Verdict> verdicts_;
};

} // namespace

std::size_t pieceFor(std::size_t files, std::size_t bufferBytes) {
    if (files == 0) return 0;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return std::min(pieceBytes, bufferBytes / files) / page * page;
}

std::vector<Verdict> compare(std::vector<std::optional<OpenFile>>& files, std::span<const std::size_t> copies,
                             std::span<std::byte> buffer, const AfterRound& afterRound) {
    return Comparison(files, copies, buffer).run(afterRound);
}

} // namespace tessel::Lockstep
