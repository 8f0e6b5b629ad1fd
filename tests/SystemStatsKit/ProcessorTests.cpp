// The processor's load from /proc/stat described in a fixture: two readings
// make one load, what each of the ten columns counts as, cores, counters that
// wrap or step back, and a file that can't be read.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include <sys/stat.h>

#include "FifoRelease.h"
#include "KernelTree.h"
#include "SystemStatsKit/CPUSampler.h"
#include "SystemStatsKit/CounterGrowth.h"

using namespace tessel;
using namespace tessel::test;

namespace {

// user nice system idle iowait irq softirq steal guest guest_nice
std::string procStat(const std::string& all, const std::string& core0 = "", const std::string& core1 = "") {
    std::string text = "cpu  " + all + "\n";
    if (!core0.empty()) text += "cpu0 " + core0 + "\n";
    if (!core1.empty()) text += "cpu1 " + core1 + "\n";
    return text + "intr 36629740 0 0\nctxt 84997083\nbtime 1700000000\n";
}

struct Processor : testing::Test {
    KernelTree kernel;
    CPUSampler sampler{kernel.roots.proc};
    std::optional<CPULoad> after(const std::string& stat) {
        kernel.proc("stat", stat);
        return sampler.sample();
    }
};

} // namespace

TEST_F(Processor, TheFirstReadingAndAReadingWithinTheSameTickGiveNoneAndKeepTheBaseline) {
    EXPECT_FALSE(after(procStat("100 0 50 800 0 0 0 0 0 0")));
    EXPECT_NE(sampler.failure().find("first"), std::string::npos);
    EXPECT_FALSE(after(procStat("100 0 50 800 0 0 0 0 0 0")));
    EXPECT_EQ(after(procStat("130 0 60 860 0 0 0 0 0 0")), (CPULoad{0.3, 0.1, 0, 0.6}));
    EXPECT_NEAR(CPULoad({0.3, 0.1, 0, 0.6}).busy(), 0.4, 1e-12);
    sampler.reset();
    EXPECT_FALSE(after(procStat("230 0 60 860 0 0 0 0 0 0"))) << "no load spans a reset";
}

TEST_F(Processor, IrqSoftirqAndStealAreSystemIowaitIsIdleAndGuestIsNotCountedTwice) {
    after(procStat("0 0 0 0 0 0 0 0 0 0"));
    // user 10 (guest 5 inside it), nice 10 (guest_nice 5 inside it), system 10,
    // irq 5, softirq 5, steal 10, idle 40, iowait 10.
    const std::optional<CPULoad> load = after(procStat("10 10 10 40 10 5 5 10 5 5"));
    EXPECT_EQ(load, (CPULoad{0.1, 0.3, 0.1, 0.5}));
}

TEST_F(Processor, EachCoreHasItsOwnLoadAndACoreThatComesOnlineHasNone) {
    after(procStat("0 0 0 0 0 0 0 0 0 0", "0 0 0 0 0 0 0 0 0 0"));
    EXPECT_EQ(sampler.coreCount(), 1);
    after(procStat("50 0 0 150 0 0 0 0 0 0", "40 0 0 60 0 0 0 0 0 0", "10 0 0 90 0 0 0 0 0 0"));
    ASSERT_EQ(sampler.cores().size(), 2u);
    EXPECT_EQ(sampler.cores()[0].load, (CPULoad{0.4, 0, 0, 0.6}));
    EXPECT_EQ(sampler.cores()[1].core, 1);
    EXPECT_FALSE(sampler.cores()[1].load);
    EXPECT_EQ(sampler.coreCount(), 2);
}

TEST_F(Processor, ACounterThatWrapsGivesASmallLoadAndOneThatStepsBackGivesNoTicks) {
    const std::uint64_t top = ~std::uint64_t{0};
    after(procStat(std::to_string(top - 29) + " 0 0 1000 0 0 0 0 0 0"));
    EXPECT_EQ(after(procStat("0 0 0 1070 0 0 0 0 0 0")), (CPULoad{0.3, 0, 0, 0.7}));
    // iowait steps back by 5: idle grew by nothing, not by 2^64 - 5.
    after(procStat("0 0 0 2000 30 0 0 0 0 0"));
    EXPECT_EQ(after(procStat("100 0 0 2000 25 0 0 0 0 0")), (CPULoad{1, 0, 0, 0}));

    EXPECT_EQ(counterGrowth(4'294'967'200, 96), 192u) << "a 32-bit counter";
    EXPECT_EQ(counterGrowth(top - 9, 5), 15u);
    EXPECT_EQ(counterGrowth(31'115, 31'110), 0u);
    EXPECT_EQ(counterGrowth(5'000'000'000, 4'999'999'000), 0u);
}

TEST_F(Processor, AFileThatCantBeReadGivesNoneNamingItAndKeepsTheBaseline) {
    after(procStat("100 0 0 100 0 0 0 0 0 0"));
    after(procStat("garbage"));
    EXPECT_NE(sampler.failure().find(kernel.roots.proc + "/stat holds no line"), std::string::npos);
    std::filesystem::remove(kernel.roots.proc + "/stat");
    ASSERT_EQ(mkfifo((kernel.roots.proc + "/stat").c_str(), 0644), 0);
    {
        const FifoRelease guard(kernel.roots.proc + "/stat");
        EXPECT_FALSE(sampler.sample());
        EXPECT_FALSE(guard.hadToRelease());
    }
    EXPECT_NE(sampler.failure().find("is not a regular file"), std::string::npos);
    std::filesystem::remove(kernel.roots.proc + "/stat");
    EXPECT_EQ(after(procStat("200 0 0 200 0 0 0 0 0 0")), (CPULoad{0.5, 0, 0, 0.5}));
}
