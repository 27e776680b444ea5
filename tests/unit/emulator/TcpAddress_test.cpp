#include "emulator/TcpAddress.h"

#include <gtest/gtest.h>
#include <initializer_list>

using namespace vexo::emulator;

TEST(TcpAddress, PortComesBackAsItWasWritten) {
    for (const std::uint16_t port : std::initializer_list<std::uint16_t>{0, 1, 45123, 65535}) {
        const std::string address = tcpAddressOf(port);
        EXPECT_TRUE(isTcpAddress(address)) << address;
        EXPECT_EQ(portOfTcpAddress(address), port) << address;
    }
    EXPECT_EQ(tcpAddressOf(45123), "tcp:45123");
}

TEST(TcpAddress, WhatIsNoPortIsNone) {
    for (const char* const address : {"tcp:", "tcp:65536", "tcp:99999999999", "tcp:-1", "tcp:+1", "tcp: 1",
                                      "tcp:1 ", "tcp:1a", "tcp:a"}) {
        EXPECT_TRUE(isTcpAddress(address)) << address;
        EXPECT_EQ(portOfTcpAddress(address), std::nullopt) << address;
    }
}

TEST(TcpAddress, PathOfASocketIsNone) {
    for (const char* const address : {"", "tcp", "/tmp/tcp:1", "45123", "TCP:1"}) {
        EXPECT_FALSE(isTcpAddress(address)) << address;
        EXPECT_EQ(portOfTcpAddress(address), std::nullopt) << address;
    }
}
