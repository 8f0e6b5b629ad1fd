// Files of one size read side by side: how a bucket parts into classes, how
// far each file is read, and what a file that can't be read or a stopped
// comparison leave behind. Real files in a temporary folder.
#include <gtest/gtest.h>

#include "DiskScanKit/Lockstep.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;
using Kind = Lockstep::Verdict::Kind;

namespace {

constexpr auto piece = static_cast<std::int64_t>(Lockstep::pieceBytes);

// `size` bytes of `fill`, but for the byte at `flip` changed.
std::string contents(std::int64_t size, char fill, std::int64_t flip = -1) {
    std::string bytes(static_cast<std::size_t>(size), fill);
    if (flip >= 0) bytes[static_cast<std::size_t>(flip)] = '!';
    return bytes;
}

class SideBySide : public testing::Test {
protected:
    // Each file's bytes and how many files it stands for, 0 for one that didn't
    // open. The verdicts in short: "=0" same as file 0, "P" parted, "F" failed, "U" unfinished.
    std::string compare(const std::vector<std::pair<std::string, std::size_t>>& given, int stopAfterRounds = -1) {
        std::vector<std::optional<OpenFile>> files;
        std::vector<std::size_t> copies;
        for (const auto& [bytes, standsFor] : given) {
            const std::string path = folder / std::to_string(files.size());
            writeText(path, bytes);
            files.push_back(OpenFile::bypassCache(path, *FileIdentity::ofPath(path), OpenFile::Pattern::sequential));
            if (standsFor == 0) files.back().reset();
            copies.push_back(std::max<std::size_t>(standsFor, 1));
        }
        int rounds = 0;
        const std::vector<Lockstep::Verdict> verdicts = Lockstep::compare(files, copies, buffer, [&](std::int64_t bytes) {
            bytesRead += bytes;
            return ++rounds != stopAfterRounds;
        });
        std::string summary;
        for (const Lockstep::Verdict& v : verdicts)
            summary += "=PFU"[static_cast<int>(v.kind)] + (v.kind == Kind::same ? std::to_string(v.sameAs) : "") + " ";
        for (const std::optional<OpenFile>& file : files) EXPECT_FALSE(file) << "every file is closed once settled";
        return summary;
    }

    TempFolder folder;
    std::vector<std::byte> buffer = std::vector<std::byte>(8 << 20);
    std::int64_t bytesRead = 0;
};

} // namespace

TEST_F(SideBySide, FilesPartIntoClassesAndEachIsReadOnlyUntilItParts) {
    const std::int64_t size = 4 * piece;
    const std::string a = contents(size, 'a');
    const std::string b = contents(size, 'a', 2 * piece + 7);
    // Then one parted in its first piece, one in its last byte, one that stands
    // for two clones and is read through alone, and one that didn't open.
    EXPECT_EQ(compare({{a, 1}, {b, 1}, {b, 1}, {a, 1}, {contents(size, 'a', 0), 1}, {contents(size, 'a', size - 1), 1},
                       {contents(size, 'b'), 2}, {"", 0}}),
              "=0 =1 =1 =0 P P =6 F ");
    EXPECT_EQ(bytesRead, 6 * size + piece);
}

TEST_F(SideBySide, AStoppedComparisonSettlesNothingItHadNotSettled) {
    const std::string bytes = contents(3 * piece, 'a');
    EXPECT_EQ(compare({{bytes, 1}, {bytes, 1}, {contents(3 * piece, 'a', 0), 1}}, 2), "U U P ");
}
