// Memory from /proc/meminfo and zram described in a fixture: which lines make
// each figure, pressure and its thresholds, and what makes no reading; and the
// machine's other facts read beside it.
#include <gtest/gtest.h>

#include "KernelTree.h"
#include "SystemStatsKit/MemorySampler.h"
#include "SystemStatsKit/SystemFacts.h"

using namespace tessel;
using namespace tessel::test;

namespace {

const char* const meminfo = "MemTotal:       16000000 kB\n"
                            "MemFree:         2000000 kB\n"
                            "MemAvailable:    9000000 kB\n"
                            "Buffers:          100000 kB\n"
                            "Cached:          5000000 kB\n"
                            "SwapTotal:       4000000 kB\n"
                            "SwapFree:        3000000 kB\n"
                            "Zswap:             50000 kB\n"
                            "AnonPages:       6000000 kB\n"
                            "Shmem:            400000 kB\n"
                            "SReclaimable:     300000 kB\n"
                            "SUnreclaim:       200000 kB\n"
                            "KernelStack:       20000 kB\n"
                            "PageTables:        80000 kB\n"
                            "Unevictable:       10000 kB\n"
                            "HugePages_Total:       0\n";

std::string psi(const char* some, const char* full) {
    return std::string("some avg10=") + some + " avg60=0.00 avg300=0.00 total=1\nfull avg10=" + full +
           " avg60=0.00 avg300=0.00 total=1\n";
}

} // namespace

TEST(Memory, LinesMapToFiguresWithZramAsCompressedAndShmemNotCached) {
    KernelTree kernel;
    kernel.proc("meminfo", meminfo);
    kernel.proc("pressure/memory", psi("0.00", "0.00"));
    kernel.sys("block/zram0/mm_stat", "900000000 300000000 310000000 0 320000000 0 0 0\n");
    kernel.sys("block/sda/size", "1000\n");
    MemorySampler sampler(kernel.roots);
    const std::optional<MemoryUsage> usage = sampler.sample();
    ASSERT_TRUE(usage) << sampler.failure();
    const std::uint64_t kB = 1024;
    EXPECT_EQ(usage->total, 16'000'000 * kB);
    EXPECT_EQ(usage->app, 6'000'000 * kB);
    EXPECT_EQ(usage->wired, 310'000 * kB);
    EXPECT_EQ(usage->compressed, 50'000 * kB + 310'000'000);
    EXPECT_EQ(usage->cached, 5'000'000 * kB);
    EXPECT_EQ(usage->free, 2'000'000 * kB);
    EXPECT_EQ(usage->used(), usage->app + usage->wired + usage->compressed);
    EXPECT_EQ(usage->pressure, MemoryPressure::normal);
    EXPECT_EQ(SystemFacts::swap(kernel.roots), (SystemFacts::Swap{1'000'000 * kB, 4'000'000 * kB}));
    EXPECT_EQ(SystemFacts::memoryLevel(kernel.roots), 44) << "9 of 16 GB available";
}

TEST(Memory, PressureIsWarningWhenSomethingWaitsATenthAndCriticalWhenEverythingDoes) {
    EXPECT_EQ(MemorySampler::pressureFrom(psi("9.99", "9.99")), MemoryPressure::normal);
    EXPECT_EQ(MemorySampler::pressureFrom(psi("10.00", "0.00")), MemoryPressure::warning);
    EXPECT_EQ(MemorySampler::pressureFrom(psi("40.00", "10.00")), MemoryPressure::critical);
    EXPECT_EQ(MemorySampler::pressureFrom("some avg10=12,5 avg60=0\n"), std::nullopt) << "a comma is no number";
    KernelTree kernel;
    kernel.proc("meminfo", meminfo);
    MemorySampler sampler(kernel.roots);
    const std::optional<MemoryUsage> usage = sampler.sample();
    ASSERT_TRUE(usage);
    EXPECT_EQ(usage->pressure, std::nullopt) << "a kernel without pressure information says nothing of it";
}

TEST(Memory, AMissingFigureOrAnUnbelievableOneIsNoReading) {
    EXPECT_FALSE(MemorySampler::fromMeminfo("MemTotal: 100 kB\nMemFree: 10 kB\nCached: 5 kB\n", 0));
    EXPECT_FALSE(MemorySampler::fromMeminfo("MemTotal: 99999999999999999999 kB\nMemFree: 1 kB\nAnonPages: 1 kB\nCached: 1 kB\n", 0));
    const std::optional<MemoryUsage> tiny =
        MemorySampler::fromMeminfo("MemTotal: 100 kB\nMemFree: 10 kB\nAnonPages: 5 kB\nCached: 5 kB\nShmem: 50 kB\n", 0);
    ASSERT_TRUE(tiny);
    EXPECT_EQ(tiny->cached, 0u) << "more shared memory than cache leaves no cache, not 2^64";
    KernelTree kernel;
    MemorySampler sampler(kernel.roots);
    EXPECT_FALSE(sampler.sample());
    EXPECT_NE(sampler.failure().find("lstat(" + kernel.roots.proc + "/meminfo)"), std::string::npos) << sampler.failure();
}

TEST(Facts, NamesAreTrimmedPlaceholdersPassedOverAndAbsentFilesGiveNone) {
    KernelTree kernel;
    EXPECT_EQ(SystemFacts::modelName(kernel.roots), std::nullopt);
    EXPECT_EQ(SystemFacts::uptime(kernel.roots), std::nullopt);
    EXPECT_EQ(SystemFacts::loadAverages(kernel.roots), std::nullopt);
    kernel.sys("class/dmi/id/product_name", "To be filled by O.E.M.\n");
    kernel.sys("firmware/devicetree/base/model", std::string("Raspberry Pi 4 Model B Rev 1.4\0", 31));
    EXPECT_EQ(SystemFacts::modelName(kernel.roots), "Raspberry Pi 4 Model B Rev 1.4");
    kernel.proc("cpuinfo", "processor\t: 0\nmodel name\t:  AMD Ryzen 7 7840U  \nprocessor\t: 1\nmodel name\t: other\n");
    EXPECT_EQ(SystemFacts::processorName(kernel.roots), "AMD Ryzen 7 7840U");
    kernel.proc("uptime", "41857.01 32447.51\n");
    EXPECT_EQ(SystemFacts::uptime(kernel.roots), 41857.01);
    kernel.proc("loadavg", "6.76 6.36 5.59 8/119 26619\n");
    EXPECT_EQ(SystemFacts::loadAverages(kernel.roots), (std::array<double, 3>{6.76, 6.36, 5.59}));
    kernel.proc("sys/kernel/osrelease", "6.1.0-18-amd64\n");
    writeText(kernel.folder / "root/usr/lib/os-release", "NAME=\"Debian GNU/Linux\"\nPRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\n");
    EXPECT_EQ(SystemFacts::systemVersion(kernel.roots, kernel.folder / "root"), "Debian GNU/Linux 12 (bookworm) (Linux 6.1.0-18-amd64)");
    kernel.proc("meminfo", "MemTotal: 100 kB\nMemAvailable: 101 kB\n");
    EXPECT_EQ(SystemFacts::memoryLevel(kernel.roots), std::nullopt) << "more available than there is";
}
