// The path index: owners through a merged /usr and through diversions, and
// its copy on disk, which is used only while the database is unchanged.
#include <gtest/gtest.h>

#include <filesystem>

#include "DpkgMachine.h"
#include "UninstallKit/PathOwners.h"

using namespace tessel;
using namespace tessel::test;

namespace {

using Names = std::vector<std::string_view>;

} // namespace

TEST(PathOwners, MergedUsrAliasesMultiArchAndDiversions) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    const PathOwners index = PathOwners::build(machine.root());
    for (const auto& [path, owners] : std::vector<std::pair<const char*, Names>>{
             {"/usr/bin/bash", {"bash"}}, // listed as /bin/bash
             {"/usr/lib/i386-linux-gnu/libfoo.so.1", {"libfoo1:i386"}},
             {"/lib/x86_64-linux-gnu/libfoo.so.1", {"libfoo1:amd64"}},
             {"/", {"bash", "libfoo1:amd64", "libfoo1:i386"}}, // lists name the root "/."
             {"/usr/bin/tool", {"wrapper"}},                   // the diverting package keeps its own file
             {"/usr/bin/tool.real", {"tool"}},                 // the diverted file is where it was moved
             {"/usr/share/doc/bash/READM", {}},
             {"/bin", {"bash"}}}) // the link itself is not its target
        EXPECT_EQ(index.owners(path), owners) << path;
    EXPECT_EQ(index.placeOf("/usr/bin/tool", "tool"), "/usr/bin/tool.real");
    EXPECT_EQ(index.placeOf("/usr/bin/tool", "wrapper"), "/usr/bin/tool");

    DpkgMachine split(false);
    installSampleSystem(split);
    const PathOwners apart = PathOwners::build(split.root());
    EXPECT_TRUE(apart.owners("/usr/bin/bash").empty()) << "without a merged /usr the two trees stay apart";
    EXPECT_EQ(apart.owners("/lib/i386-linux-gnu/libfoo.so.1"), Names{"libfoo1:i386"});
}

TEST(PathOwnersCache, ReusedWhileUnchangedAndRebuiltOtherwise) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    TempFolder cache;
    setModificationTime(machine.admin() + "/status", 1'000'000);
    EXPECT_FALSE(PathOwners::cached(machine.root(), cache.path()).cameFromCache());
    const PathOwners second = PathOwners::cached(machine.root(), cache.path());
    EXPECT_TRUE(second.cameFromCache());
    EXPECT_EQ(second.owners("/usr/bin/tool.real"), Names{"tool"});

    // A package gains a file: its list is rewritten, the status is touched.
    writeText(machine.admin() + "/info/tool.list", "/usr\n/usr/bin\n/usr/bin/tool\n/usr/bin/tool2\n");
    setModificationTime(machine.admin() + "/status", 2'000'000);
    const PathOwners third = PathOwners::cached(machine.root(), cache.path());
    EXPECT_FALSE(third.cameFromCache());
    EXPECT_EQ(third.owners("/usr/bin/tool2"), Names{"tool"});
    // A new diversion alone makes the copy stale too.
    machine.writeDiversions("");
    EXPECT_EQ(PathOwners::cached(machine.root(), cache.path()).owners("/usr/bin/tool"), (Names{"tool", "wrapper"}));

    // A machine whose database lists nothing: its empty copy is read back as empty.
    DpkgMachine bare(false);
    bare.install({});
    ASSERT_FALSE(PathOwners::cached(bare.root(), cache.path()).cameFromCache());
    const PathOwners empty = PathOwners::cached(bare.root(), cache.path());
    EXPECT_TRUE(empty.cameFromCache());
    EXPECT_EQ(empty.pathCount(), 0u);
}

TEST(PathOwnersCache, DamagedCopiesAreRefusedAndRebuilt) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    const std::string stamp = PathOwners::stamp(machine.root());
    const std::string bytes = PathOwners::build(machine.root()).serialized(stamp);
    ASSERT_TRUE(PathOwners::deserialized(bytes, stamp));
    EXPECT_FALSE(PathOwners::deserialized(bytes, stamp + "x")) << "another stamp";
    // Cut anywhere, a copy is refused rather than read past its end.
    for (std::size_t length = 0; length < bytes.size(); length += 7)
        EXPECT_FALSE(PathOwners::deserialized(std::string_view(bytes).substr(0, length), stamp)) << length;
    // Bytes flipped in the arrays give a refusal or an index that still answers within bounds.
    for (std::size_t at = bytes.size() / 2; at < bytes.size(); at += 5) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x5a);
        if (std::optional<PathOwners> read = PathOwners::deserialized(damaged, stamp)) (void)read->owners("/usr/bin/bash");
    }

    TempFolder cache;
    (void)PathOwners::cached(machine.root(), cache.path());
    for (const auto& copy : std::filesystem::directory_iterator(cache.path())) writeText(copy.path(), "TesselPathOwners1\ngarbage");
    const PathOwners rebuilt = PathOwners::cached(machine.root(), cache.path());
    EXPECT_FALSE(rebuilt.cameFromCache());
    EXPECT_EQ(rebuilt.owners("/bin/bash"), Names{"bash"});
    EXPECT_TRUE(PathOwners::cached(machine.root(), cache.path()).cameFromCache()) << "the rebuilt copy was written";
}
