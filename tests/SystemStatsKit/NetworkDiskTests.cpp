// Network and disk rates from /proc/net/dev and /proc/diskstats described in a
// fixture: only the machine's own interfaces and whole disks, rates that need
// two readings a quarter second apart, counters that wrap or go back; and the
// link from the routing table and /proc/net/wireless.
#include <gtest/gtest.h>

#include <filesystem>

#include "KernelTree.h"
#include "SystemStatsKit/DiskActivitySampler.h"
#include "SystemStatsKit/NetworkLink.h"
#include "SystemStatsKit/NetworkSampler.h"

using namespace tessel;
using namespace tessel::test;

namespace {

std::string netDev(std::uint64_t ethIn, std::uint64_t ethOut, const std::string& more = "") {
    return "Inter-|   Receive                                                |  Transmit\n"
           " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs drop fifo colls carrier compressed\n"
           "    lo: 5000 10 0 0 0 0 0 0 5000 10 0 0 0 0 0 0\n"
           "  eth0: " + std::to_string(ethIn) + " 1 0 0 0 0 0 0 " + std::to_string(ethOut) + " 1 0 0 0 0 0 0\n"
           "docker0: 7000 1 0 0 0 0 0 0 7000 1 0 0 0 0 0 0\n" + more;
}

struct Network : testing::Test {
    KernelTree kernel;
    NetworkSampler sampler{kernel.roots};
    void SetUp() override {
        kernel.sysEntry("class/net/eth0/device");
        kernel.sysEntry("class/net/wlan0/device");
        kernel.sys("class/net/docker0/address", "02:42:00:00:00:00\n");
    }
    std::optional<NetworkThroughput> at(double now, const std::string& dev) {
        kernel.proc("net/dev", dev);
        return sampler.sample(now);
    }
};

} // namespace

TEST_F(Network, OnlyInterfacesWithADeviceCountAndANewOneAddsNothingUntilItsSecondReading) {
    EXPECT_FALSE(at(10, netDev(1000, 100)));
    EXPECT_EQ(at(12, netDev(3000, 500, " wlan0: 900000 1 0 0 0 0 0 0 900000 1 0 0 0 0 0 0\n")), (NetworkThroughput{1000, 200}));
    EXPECT_EQ(at(13, netDev(3000, 500, " wlan0: 901000 1 0 0 0 0 0 0 900000 1 0 0 0 0 0 0\n")), (NetworkThroughput{1000, 0}));
    EXPECT_EQ(sampler.totals(), (NetworkTotals{904'000, 900'500}));
}

TEST_F(Network, ReadingsTooCloseGiveNoneAndBecomeTheBaselineAndAWrapIsSmall) {
    at(10, netDev(4'294'967'000, 0));
    EXPECT_FALSE(at(10.1, netDev(4'294'967'096, 0)));
    EXPECT_EQ(at(11.1, netDev(200, 0)), (NetworkThroughput{400, 0})) << "wrapped at 2^32 from the second reading";
    std::filesystem::remove(kernel.roots.proc + "/net/dev");
    EXPECT_FALSE(sampler.sample(12));
    EXPECT_NE(sampler.failure().find(kernel.roots.proc + "/net/dev"), std::string::npos);
}

TEST(NetworkLinkKinds, TheDefaultRouteAndTheWifiSignalChooseTheLink) {
    const char* header = "Iface\tDestination\tGateway \tFlags\tRefCnt\tUse\tMetric\tMask\t\tMTU\tWindow\tIRTT\n";
    auto route = [&](const std::string& lines) { return header + lines; };
    const std::string wireless = "Inter-| sta-|   Quality        |   Discarded packets               | Missed | WE\n"
                                 " face | tus | link level noise |  nwid  crypt   frag  retry   misc | beacon | 22\n"
                                 " wlan0: 0000   54.  -65.  -256        0      0      0      0     27        0\n";
    struct Case { std::string route, wireless; NetworkLink expected; };
    const std::vector<Case> cases{
        {route("wlan0\t00000000\t0101A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"
               "eth0\t00000000\t0100A8C0\t0003\t0\t0\t100\t00000000\t0\t0\t0\n"), wireless,
         {NetworkLink::Kind::wired, std::nullopt, "eth0", {}, {}}},
        {route("eth0\t00000000\t0100A8C0\t0002\t0\t0\t100\t00000000\t0\t0\t0\n" // down
               "wlan0\t00000000\t0101A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"), wireless,
         {NetworkLink::Kind::wifi, -65, "wlan0", {}, {}}},
        {route("wg0\t00000000\t00000000\t0001\t0\t0\t0\t00000000\t0\t0\t0\n"), wireless,
         {NetworkLink::Kind::wifi, -65, "wlan0", {}, {}}},
        {route("wlan0\t00000000\t0101A8C0\t0003\t0\t0\t600\t00000000\t0\t0\t0\n"), "",
         {NetworkLink::Kind::wired, std::nullopt, "wlan0", {}, {}}},
        {route("eth0\t0000A8C0\t00000000\t0001\t0\t0\t0\t00FFFFFF\t0\t0\t0\n"), wireless, {}},
    };
    for (const Case& each : cases) {
        KernelTree kernel;
        kernel.sysEntry("class/net/eth0/device");
        kernel.sysEntry("class/net/wlan0/device");
        kernel.proc("net/route", each.route);
        kernel.proc("net/wireless", each.wireless);
        EXPECT_EQ(NetworkLink::current(kernel.roots), each.expected) << each.route;
    }
    EXPECT_EQ(NetworkLink::primaryInterface("", "00000000000000000000000000000000 00 00000000000000000000000000000000 00 "
                                                "00000000000000000000000000000000 ffffffff 00000001 00000000 00200200 lo\n"
                                                "00000000000000000000000000000000 00 00000000000000000000000000000000 00 "
                                                "fe800000000000000000000000000001 00000400 00000001 00000000 00000003 eth1\n"),
              "eth1")
        << "the loopback's unreachable default is no route";
}

TEST(NetworkLinkKinds, TheSentenceSaysHowStrongTheSignalIs) {
    auto said = [](NetworkLink::Kind kind, std::optional<int> rssi) { return NetworkLink{kind, rssi, {}, {}, {}}.description(); };
    EXPECT_EQ(said(NetworkLink::Kind::wifi, -60), "Wi-Fi, strong signal (-60 dBm)");
    EXPECT_EQ(said(NetworkLink::Kind::wifi, -61), "Wi-Fi, good signal (-61 dBm)");
    EXPECT_EQ(said(NetworkLink::Kind::wifi, -80), "Wi-Fi, fair signal (-80 dBm)");
    EXPECT_EQ(said(NetworkLink::Kind::wifi, -81), "Wi-Fi, weak signal (-81 dBm)");
    EXPECT_EQ(said(NetworkLink::Kind::wifi, std::nullopt), "Wi-Fi");
    EXPECT_EQ(said(NetworkLink::Kind::wired, std::nullopt), "Connected by cable or another link");
    EXPECT_EQ(said(NetworkLink::Kind::offline, std::nullopt), "Not connected");
    EXPECT_EQ(NetworkLink::bandName(2), "5 GHz");
    EXPECT_EQ(NetworkLink::bandName(4), std::nullopt);
}

TEST(DiskActivity, WholeRealDisksOnlyAndACounterThatGoesBackGivesZero) {
    KernelTree kernel;
    kernel.sysEntry("block/nvme0n1/device");
    kernel.sysEntry("block/cciss!c0d0/device");
    kernel.sys("block/loop0/size", "0\n");
    auto diskstats = [](int read, int written) {
        const std::string counts = " 0 " + std::to_string(read) + " 0 1 0 " + std::to_string(written) + " 0 0 0 0\n";
        return " 259 0 nvme0n1 1" + counts + " 259 1 nvme0n1p1 1" + counts + "   7 0 loop0 1" + counts +
               " 104 0 cciss/c0d0 1 0 8 0 1 0 8 0 0 0 0\n";
    };
    DiskActivitySampler sampler(kernel.roots);
    kernel.proc("diskstats", diskstats(1000, 2000));
    EXPECT_FALSE(sampler.sample(5));
    ASSERT_EQ(sampler.disks().size(), 2u) << "a first reading lists the disks without rates";
    EXPECT_FALSE(sampler.disks()[0].activity);
    EXPECT_FALSE(sampler.sample(5)) << "no time went by";
    kernel.proc("diskstats", diskstats(3000, 1000));
    EXPECT_EQ(sampler.sample(7), (DiskActivity{512'000, 0})) << "the written count went back";
    kernel.proc("diskstats", diskstats(3000, 3000));
    EXPECT_EQ(sampler.sample(9), (DiskActivity{0, 512'000}));
    ASSERT_EQ(sampler.disks().size(), 2u);
    EXPECT_EQ(sampler.disks()[1].disk, "nvme0n1");
    EXPECT_EQ(sampler.disks()[1].activity, (DiskActivity{0, 512'000}));
}
