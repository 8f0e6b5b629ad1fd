// Receipts: the list of packages, and what one package left on the disk.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include "DpkgMachine.h"
#include "UninstallKit/DpkgDatabase.h"
#include "UninstallKit/PackageReceipts.h"

using namespace tessel;
using namespace tessel::test;

using Paths = std::vector<std::string>;

TEST(PackageReceipts, EveryPackageWithFilesOrConfigurationLeft) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    setModificationTime(machine.admin() + "/info/bash.list", 1'700'000'000);
    const std::vector<PackageReceipt> receipts = PackageReceipts::list(machine.root());
    ASSERT_EQ(receipts.size(), 6u) << "the purged package is no receipt";
    EXPECT_EQ(receipts[0].installed, std::int64_t{1'700'000'000} * 1'000'000'000) << "when bash's list was written";
    EXPECT_FALSE(receipts[1].isSystem);
    EXPECT_TRUE(receipts[3].isSystem) << "Priority important";
    EXPECT_FALSE(receipts[5].installed) << "no list is left of oldpkg, removed";
}

TEST(PackageReceipts, ContentsSplitIntoExistingMissingAndShared) {
    DpkgMachine machine(true);
    installSampleSystem(machine);
    const PathOwners owners = PathOwners::build(machine.root());

    const PackageContents bash = PackageReceipts::contents(machine.root(), "bash", owners);
    EXPECT_EQ(bash.existing, (Paths{"/bin", "/usr/bin/bash", "/usr/share", "/usr/share/doc", "/usr/share/doc/bash"}))
        << "a listed path is checked where it lies; folders only bash lists are its own";
    EXPECT_EQ(bash.missing, Paths{"/usr/share/doc/bash/README"});
    EXPECT_EQ(bash.shared, Paths{"/usr"});

    const PackageContents tool = PackageReceipts::contents(machine.root(), "tool", owners);
    EXPECT_EQ(tool.existing, Paths{"/usr/bin/tool.real"}) << "its diverted file, where it went";

    const PackageContents old = PackageReceipts::contents(machine.root(), "oldpkg", owners);
    EXPECT_EQ(old.existing, Paths{"/etc/oldpkg.conf"});
    EXPECT_EQ(old.missing, Paths{"/etc/oldpkg gone.conf"});

    EXPECT_THROW(PackageReceipts::contents(machine.root(), "ghost", owners), DpkgError);
    EXPECT_THROW(PackageReceipts::contents(machine.root(), "nosuch", owners), DpkgError);
}

TEST(UnprivilegedPackageReceipts, PathsInFoldersThatCannotBeSearchedAreUnchecked) {
    if (geteuid() == 0) GTEST_SKIP() << "root may look into any folder";
    DpkgMachine machine(true);
    installSampleSystem(machine);
    const PathOwners owners = PathOwners::build(machine.root());
    ASSERT_EQ(chmod((machine / "usr/share/doc/bash").c_str(), 0), 0);
    const PackageContents bash = PackageReceipts::contents(machine.root(), "bash", owners);
    chmod((machine / "usr/share/doc/bash").c_str(), 0755);
    EXPECT_EQ(bash.unchecked, Paths{"/usr/share/doc/bash/README"});
    EXPECT_TRUE(bash.missing.empty());
}
