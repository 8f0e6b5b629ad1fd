// Files of one size read side by side: how a bucket parts into classes, how
// far each file is read, and what a file that can't be read or a stopped
// comparison leave behind. Real files in a temporary folder.
#include <gtest/gtest.h>

#include <fstream>

#include "DiskScanKit/Lockstep.h"
#include "Fixture.h"

using namespace tessel;
using namespace tessel::test;
using Kind = Lockstep::Verdict::Kind;

namespace {

constexpr std::int64_t mebibyte = 1 << 20;

// Bytes that differ from seed to seed.
std::string contents(std::int64_t size, unsigned seed) {
    std::string bytes(static_cast<std::size_t>(size), '\0');
    std::uint32_t state = seed * 2654435761u + 1;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

std::string flipped(std::string bytes, std::int64_t at) {
    const auto index = static_cast<std::size_t>(at);
    bytes[index] = static_cast<char>(bytes[index] ^ 0x5a);
    return bytes;
}

class SideBySide : public testing::Test {
protected:
    void add(const std::string& bytes, std::size_t standsFor = 1) {
        const std::string path = folder / std::to_string(files.size());
        std::ofstream(path, std::ios::binary) << bytes;
        const std::optional<FileIdentity> identity = FileIdentity::ofPath(path);
        if (!identity) throw std::runtime_error("lstat " + path);
        files.push_back(OpenFile::bypassCache(path, *identity, OpenFile::Pattern::sequential));
        copies.push_back(standsFor);
    }

    std::vector<Lockstep::Verdict> compare(int stopAfterRounds = -1) {
        int rounds = 0;
        return Lockstep::compare(files, copies, buffer, [&](std::int64_t bytes) {
            bytesRead += bytes;
            return ++rounds != stopAfterRounds;
        });
    }

    static std::vector<Kind> kinds(const std::vector<Lockstep::Verdict>& verdicts) {
        std::vector<Kind> result;
        for (const Lockstep::Verdict& verdict : verdicts) result.push_back(verdict.kind);
        return result;
    }

    TempFolder folder;
    std::vector<std::optional<OpenFile>> files;
    std::vector<std::size_t> copies;
    std::vector<std::byte> buffer = std::vector<std::byte>(8 * mebibyte);
    std::int64_t bytesRead = 0;
};

} // namespace

TEST_F(SideBySide, FourFilesPartIntoTwoPairs) {
    const std::string first = contents(3 * mebibyte, 1);
    const std::string second = flipped(first, 3 * mebibyte / 2);
    for (const std::string* bytes : {&first, &second, &second, &first}) add(*bytes);
    const std::vector<Lockstep::Verdict> verdicts = compare();
    ASSERT_EQ(kinds(verdicts), std::vector<Kind>(4, Kind::same));
    EXPECT_EQ(verdicts[0].sameAs, 0u);
    EXPECT_EQ(verdicts[3].sameAs, 0u);
    EXPECT_EQ(verdicts[1].sameAs, 1u);
    EXPECT_EQ(verdicts[2].sameAs, 1u);
    EXPECT_EQ(bytesRead, 4 * 3 * mebibyte);
    for (const std::optional<OpenFile>& file : files) EXPECT_FALSE(file) << "every file is closed once settled";
}

TEST_F(SideBySide, FilesDifferingOnlyInTheLastByteArePartedAfterReadingThemWhole) {
    const std::string bytes = contents(2 * mebibyte + 1, 2);
    add(bytes);
    add(flipped(bytes, 2 * mebibyte));
    EXPECT_EQ(kinds(compare()), (std::vector<Kind>{Kind::parted, Kind::parted}));
    EXPECT_EQ(bytesRead, 2 * (2 * mebibyte + 1));
}

TEST_F(SideBySide, AFileDifferentFromTheStartIsReadNoFurther) {
    const std::string bytes = contents(3 * mebibyte, 3);
    add(bytes);
    add(flipped(bytes, 0));
    add(bytes);
    EXPECT_EQ(kinds(compare()), (std::vector<Kind>{Kind::same, Kind::parted, Kind::same}));
    EXPECT_EQ(bytesRead, 2 * 3 * mebibyte + static_cast<std::int64_t>(Lockstep::pieceBytes));
}

TEST_F(SideBySide, AFileStandingForSeveralClonesIsReadThroughAlone) {
    add(contents(mebibyte + 5, 4), 3);
    add(contents(mebibyte + 5, 5));
    const std::vector<Lockstep::Verdict> verdicts = compare();
    EXPECT_EQ(kinds(verdicts), (std::vector<Kind>{Kind::same, Kind::parted}));
    EXPECT_EQ(verdicts[0].sameAs, 0u);
}

TEST_F(SideBySide, AFileThatDidNotOpenFailsAndTheOthersGoOn) {
    const std::string bytes = contents(100000, 6);
    add(bytes);
    files.emplace_back();
    copies.push_back(1);
    add(bytes);
    EXPECT_EQ(kinds(compare()), (std::vector<Kind>{Kind::same, Kind::failed, Kind::same}));
}

TEST_F(SideBySide, AStoppedComparisonSettlesNothingItHadNotSettled) {
    const std::string bytes = contents(3 * mebibyte, 7);
    add(bytes);
    add(bytes);
    add(flipped(bytes, 0));
    EXPECT_EQ(kinds(compare(2)), (std::vector<Kind>{Kind::unfinished, Kind::unfinished, Kind::parted}));
}

TEST_F(SideBySide, ManyFilesShareTheBufferInSmallerPieces) {
    buffer.resize(static_cast<std::size_t>(mebibyte));
    const std::string bytes = contents(300000, 8);
    for (int index = 0; index < 20; ++index) add(index % 2 == 0 ? bytes : flipped(bytes, 299999));
    const std::vector<Lockstep::Verdict> verdicts = compare();
    for (std::size_t index = 0; index < verdicts.size(); ++index) {
        EXPECT_EQ(verdicts[index].kind, Kind::same) << index;
        EXPECT_EQ(verdicts[index].sameAs, index % 2) << index;
    }
}
