// The path index: owners through a merged /usr and through diversions, and
// its copy on disk, which is used only while the database is unchanged.
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "DpkgMachine.h"
#include "Base/SmallFile.h"
#include "UninstallKit/DpkgDatabase.h"
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
    EXPECT_EQ(index.owners("/usr/bin/bash"), Names{"bash"}) << "listed as /bin/bash";
    EXPECT_EQ(index.owners("/bin/bash"), Names{"bash"});
    EXPECT_EQ(index.owners("/usr/lib/i386-linux-gnu/libfoo.so.1"), Names{"libfoo1:i386"});
    EXPECT_EQ(index.owners("/lib/x86_64-linux-gnu/libfoo.so.1"), Names{"libfoo1:amd64"});
    EXPECT_EQ(index.owners("/usr"), (Names{"bash", "libfoo1:amd64", "libfoo1:i386", "tool", "wrapper"}));
    EXPECT_EQ(index.owners("/"), (Names{"bash", "libfoo1:amd64", "libfoo1:i386"})) << "lists name the root \"/.\"";
    EXPECT_EQ(index.owners("/usr/bin/tool"), Names{"wrapper"}) << "the diverting package keeps its own file";
    EXPECT_EQ(index.owners("/usr/bin/tool.real"), Names{"tool"}) << "the diverted file is where it was moved";
    EXPECT_EQ(index.placeOf("/usr/bin/tool", "tool"), "/usr/bin/tool.real");
    EXPECT_EQ(index.placeOf("/usr/bin/tool", "wrapper"), "/usr/bin/tool");
    EXPECT_TRUE(index.owners("/usr/bin/nothing").empty());
    EXPECT_TRUE(index.owners("/usr/share/doc/bash/READM").empty());
    EXPECT_TRUE(index.owners("/bin").size() == 1) << "the link itself is not its target";
    EXPECT_TRUE(index.owners("/lib64/x").empty());

    // Read from several threads at once, the answers stay the same.
    std::vector<std::thread> readers;
    std::atomic<int> wrong{0};
    for (int i = 0; i < 4; ++i)
        readers.emplace_back([&] {
            for (int n = 0; n < 2000; ++n)
                if (index.owners("/bin/bash") != Names{"bash"}) ++wrong;
        });
    for (std::thread& reader : readers) reader.join();
    EXPECT_EQ(wrong, 0);
}

TEST(PathOwners, WithoutMergedUsrTheTwoTreesStayApart) {
    DpkgMachine machine(false);
    installSampleSystem(machine);
    const PathOwners index = PathOwners::build(machine.root());
    EXPECT_EQ(index.owners("/bin/bash"), Names{"bash"});
    EXPECT_TRUE(index.owners("/usr/bin/bash").empty());
    EXPECT_TRUE(index.owners("/usr/lib/i386-linux-gnu/libfoo.so.1").empty());
    EXPECT_EQ(index.owners("/lib/i386-linux-gnu/libfoo.so.1"), Names{"libfoo1:i386"});
}

TEST(PathOwnersCache, ReusedWhileUnchangedAndRebuiltOtherwise) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    TempFolder cache;
    const std::string folder = cache / "Tessel";
    setModificationTime(machine.admin() + "/status", 1'000'000);

    const PathOwners first = PathOwners::cached(machine.root(), folder);
    EXPECT_FALSE(first.cameFromCache());
    const PathOwners second = PathOwners::cached(machine.root(), folder);
    EXPECT_TRUE(second.cameFromCache());
    EXPECT_EQ(second.owners("/bin/bash"), Names{"bash"});
    EXPECT_EQ(second.owners("/usr/bin/tool.real"), Names{"tool"});
    EXPECT_EQ(second.pathCount(), first.pathCount());

    // A package gains a file: its list is rewritten, the status is touched.
    writeText(machine.admin() + "/info/tool.list", "/usr\n/usr/bin\n/usr/bin/tool\n/usr/bin/tool2\n");
    setModificationTime(machine.admin() + "/status", 2'000'000);
    const PathOwners third = PathOwners::cached(machine.root(), folder);
    EXPECT_FALSE(third.cameFromCache());
    EXPECT_EQ(third.owners("/usr/bin/tool2"), Names{"tool"});

    // A new diversion alone makes the copy stale too.
    machine.writeDiversions("");
    EXPECT_FALSE(PathOwners::cached(machine.root(), folder).cameFromCache());
    EXPECT_EQ(PathOwners::cached(machine.root(), folder).owners("/usr/bin/tool"), (Names{"tool", "wrapper"}));

    // A machine whose database lists nothing: its empty copy is read back as empty.
    DpkgMachine bare(false);
    bare.install({});
    ASSERT_FALSE(PathOwners::cached(bare.root(), folder).cameFromCache());
    const PathOwners empty = PathOwners::cached(bare.root(), folder);
    EXPECT_TRUE(empty.cameFromCache());
    EXPECT_EQ(empty.pathCount(), 0u);
}

TEST(PathOwnersCache, DamagedCopiesAreRefusedAndRebuilt) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    const PathOwners index = PathOwners::build(machine.root());
    const std::string stamp = PathOwners::stamp(machine.root());
    const std::string bytes = index.serialized(stamp);
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
    // Overwrite every copy in the folder with garbage: the next call rebuilds.
    DIR* listing = opendir(cache.path().c_str());
    ASSERT_NE(listing, nullptr);
    int copies = 0;
    while (dirent* entry = readdir(listing)) {
        if (entry->d_name[0] == '.') continue;
        writeText(cache / entry->d_name, "TesselPathOwners1\ngarbage");
        ++copies;
    }
    closedir(listing);
    EXPECT_EQ(copies, 1);
    const PathOwners rebuilt = PathOwners::cached(machine.root(), cache.path());
    EXPECT_FALSE(rebuilt.cameFromCache());
    EXPECT_EQ(rebuilt.owners("/bin/bash"), Names{"bash"});
    EXPECT_TRUE(PathOwners::cached(machine.root(), cache.path()).cameFromCache()) << "the rebuilt copy was written";
}
