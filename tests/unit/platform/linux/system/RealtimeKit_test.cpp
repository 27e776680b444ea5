#include "platform/linux/system/RealtimeKit.h"
#include "tests/support/Await.h"
#include "tests/unit/platform/linux/system/SilentBus.h"

#include <chrono>
#include <cstdlib>
#include <future>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kPriority = 5;

} // namespace

TEST(RealtimeKit, QuestionsToASilentBusAreGivenUpAtAnyTime) {
    const SilentBus bus;
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.place().c_str(), 1);
    for (int round = 0; round < 5; ++round) {
        std::vector<std::unique_ptr<RealtimeKitRequest>> requests;
        requests.reserve(3);
        for (int number = 0; number < 3; ++number) {
            requests.push_back(std::make_unique<RealtimeKitRequest>(gettid(), kPriority));
        }
        if (round % 2 == 1) {
            bus.awaitQuestion();
        }
    }
}

TEST(RealtimeKit, BusThatTakesNoMoreConnectionsHoldsNobodyUp) {
    SilentBus bus;
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.place().c_str(), 1);
    bus.fill();
    auto asked =
        std::async(std::launch::async, [] { const RealtimeKitRequest request(gettid(), kPriority); });
    EXPECT_TRUE(await([&] { return asked.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
    bus.end();
    asked.get();
}

TEST(RealtimeKit, BusThatIsNotThereIsNoError) {
    for (const char* address : {"unix:path=/nonexistent/bus", "nonsense", ""}) {
        setenv("DBUS_SYSTEM_BUS_ADDRESS", address, 1);
        const RealtimeKitRequest request(gettid(), kPriority);
    }
}
