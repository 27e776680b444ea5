#include "tests/unit/emulator/EmulatedBus.h"

#include <array>
#include <gtest/gtest.h>
#include <hidapi.h>
#include <string>

namespace {

using vexo::emulator::Model;
using vexo::emulator::VirtualBus;

TEST(EmulatedBus, AProgramReachesTheLoaderThroughHidapi) {
    emulatedBus::start(std::array{Model::MixdeskR2});
    EXPECT_EQ(hid_open(0x3327, 0x9829, nullptr), nullptr);
    emulatedBus::with([](VirtualBus& bus) { bus.plug(0); });
    hid_device* const device = hid_open(0x3327, 0x9829, nullptr);
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(emulatedBus::openHandles(), 1);
    std::array<unsigned char, 64> command{0x01, 0x3E, 0x00, 'c', 'm', '_', 'v', 's', 'r', 'c'};
    command[63] = 0x13;
    EXPECT_EQ(hid_write(device, command.data(), command.size()), 64);
    std::array<unsigned char, 256> reply{};
    EXPECT_EQ(hid_set_nonblocking(device, 1), 0);
    ASSERT_EQ(hid_read(device, reply.data(), reply.size()), 64);
    EXPECT_EQ(std::string(reply.begin() + 3, reply.begin() + 10), "cm_vsrc");
    EXPECT_EQ(hid_read(device, reply.data(), reply.size()), 0);
    emulatedBus::with([](VirtualBus& bus) { bus.unplug(0); });
    EXPECT_EQ(hid_read(device, reply.data(), reply.size()), -1);
    EXPECT_EQ(hid_write(device, command.data(), command.size()), -1);
    hid_close(device);
    EXPECT_EQ(emulatedBus::openHandles(), 0);
}

TEST(EmulatedBus, TheDevicesClockIsSetForwardAndRunsFaster) {
    emulatedBus::start(std::array{Model::MixdeskR2Bootloader}, 1, 100);
    emulatedBus::with([](VirtualBus& bus) { bus.plug(0); });
    std::uint64_t before = 0;
    emulatedBus::with([&](VirtualBus& bus) { before = bus.timeMs(); });
    emulatedBus::skip(5000);
    emulatedBus::with([&](VirtualBus& bus) { EXPECT_GE(bus.timeMs(), before + 5000); });
    hid_device* const device = hid_open(0x3327, 0x0820, nullptr);
    ASSERT_NE(device, nullptr);
    std::array<unsigned char, 64> reply{};
    emulatedBus::with([&](VirtualBus& bus) { before = bus.timeMs(); });
    EXPECT_EQ(hid_read_timeout(device, reply.data(), reply.size(), 20), 0);
    emulatedBus::with([&](VirtualBus& bus) { EXPECT_GE(bus.timeMs(), before + 2000); });
    hid_close(device);
}

} // namespace
