#include "tests/unit/emulator/TestHost.h"

#include <limits>

namespace vexo::emulator {
namespace {

TEST(VirtualBus, ShowsTheInterfacesOfPluggedDevicesOnly) {
    const std::vector<Model> models{Model::MixdeskR2, Model::VoxmicM40, Model::VoxmicT40,
                                    Model::MixdeskR2Bootloader, Model::VoxmicM40};
    VirtualBus bus(models, 1);
    EXPECT_TRUE(bus.enumerate(0, 0).empty());
    for (std::size_t i = 0; i < models.size(); ++i) {
        EXPECT_TRUE(bus.plug(i));
        EXPECT_FALSE(bus.plug(i));
    }
    const std::vector<InterfaceInfo> mixer = bus.enumerate(0x3327, 0x9829);
    ASSERT_EQ(mixer.size(), 2U);
    EXPECT_EQ(mixer[0].usagePage, 0x0C);
    EXPECT_NE(mixer[1].usagePage, 0x0C);
    EXPECT_NE(mixer[0].path, mixer[1].path);
    const std::vector<InterfaceInfo> microphones = bus.enumerate(0x2F05, 0x1396);
    ASSERT_EQ(microphones.size(), 2U);
    EXPECT_EQ(microphones[0].usagePage, 0x8C);
    EXPECT_EQ(microphones[0].serial, "M40-0001");
    EXPECT_EQ(microphones[1].serial, "M40-0002");
    EXPECT_EQ(bus.deviceName(4), "m40-2");
    EXPECT_EQ(bus.enumerate(0x2F05, 0x1397).at(0).usagePage, 0x8C);
    EXPECT_EQ(bus.enumerate(0x3327, 0x0820).size(), 1U);
    EXPECT_EQ(bus.enumerate(0x3327, 0).size(), 3U);
    EXPECT_EQ(bus.enumerate(0, 0).size(), 6U);
    EXPECT_EQ(bus.enumerate(0x1234, 0x9829).size(), 0U);
}

TEST(VirtualBus, UnpluggingEndsHandlesKeepsSettingsAndForgetsTheLink) {
    TestHost host;
    host.login();
    host.ask(kAttributeWrite, {5, 1, 30});
    EXPECT_TRUE(host.bus.unplug(0));
    EXPECT_EQ(host.unplugCount, 1);
    EXPECT_FALSE(host.bus.write(host.handle, {1, 0}));
    EXPECT_FALSE(host.bus.unplug(0));
    host.bus.plug(0);
    EXPECT_EQ(host.device().values().at(5), Bytes{30});
    EXPECT_TRUE(host.device().link.knownHosts().empty());
}

TEST(VirtualBus, ARestartLosesSettingsAndComesBackByItself) {
    TestHost host;
    host.login();
    host.ask(kAttributeWrite, {5, 1, 30});
    host.bus.restart(0, 300);
    EXPECT_FALSE(host.bus.isPlugged(0));
    host.advance(299);
    EXPECT_FALSE(host.bus.isPlugged(0));
    host.advance(1);
    EXPECT_TRUE(host.bus.isPlugged(0));
    EXPECT_EQ(host.device().values().at(5), Bytes{15});
}

TEST(VirtualBus, TheBootloaderTakesReportsAndSaysNothing) {
    TestHost host(Model::MixdeskR2Bootloader);
    host.writeBytes(bytes("636D5F76737263"));
    host.advance(5000);
    EXPECT_TRUE(host.reports.empty());
    EXPECT_EQ(host.bus.log.reports().records.size(), 1U);
    EXPECT_EQ(host.bus.nextEventAtMs(), std::numeric_limits<std::uint64_t>::max());
}

TEST(VirtualBus, AReportOnTheOtherInterfaceReachesNoLink) {
    TestHost host;
    const auto other = host.bus.open(host.bus.enumerate(0x3327, 0x9829).at(1).path);
    Bytes report{1, 17};
    const Bytes query = bytes("55100000010001011C000203011001009B");
    report.insert(report.end(), query.begin(), query.end());
    EXPECT_TRUE(host.bus.write(other.value_or(0), report));
    EXPECT_EQ(host.device().readerCounters().frames, 0U);
    EXPECT_EQ(host.bus.log.reports().records.back().interfaceNumber, 4);
}

TEST(VirtualBus, CountsReportsThatTheModelDoesNotKnow) {
    TestHost host;
    EXPECT_TRUE(host.bus.write(host.handle, {9, 1, 0x55}));
    EXPECT_EQ(host.bus.counters(0).badReports, 1U);
}

TEST(VirtualBus, SpeaksOnlyWhileSomebodyListens) {
    TestHost host;
    host.bus.close(host.handle);
    host.advance(5000);
    EXPECT_EQ(host.bus.counters(0).reportsToHost, 0U);
    host.open();
    host.advance(1024);
    EXPECT_EQ(host.bus.counters(0).reportsToHost, 1U);
}

} // namespace
} // namespace vexo::emulator
