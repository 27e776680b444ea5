#include "platform/linux/sound/LiveMicrophone.h"
#include "platform/linux/sound/PulseEndpoints.h"
#include "platform/linux/sound/PulseHandles.h"
#include "platform/linux/sound/PulseOutputStream.h"
#include "tests/support/Await.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/unit/platform/linux/sound/SoundServerTools.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace {

constexpr std::uint32_t kBus2Id = 2;

[[nodiscard]] bool isListed(const char* kind, const std::string& name) {
    return pactl("list short " + std::string(kind)).find('\t' + name + '\t') != std::string::npos;
}

[[nodiscard]] bool awaitMade() {
    return awaitThread([] {
        return isListed("sinks", LiveMicrophone::kSinkName) &&
               isListed("sources", LiveMicrophone::kSourceName);
    });
}

[[nodiscard]] std::string defaults() {
    return pactl("get-default-sink") + pactl("get-default-source");
}

bool names(const std::vector<PulseDevice>& devices, const std::string& name) {
    return std::ranges::any_of(devices, [&name](const PulseDevice& device) { return device.name == name; });
}

class LiveMicrophoneTest : public testing::Test {
protected:
    [[nodiscard]] static std::unique_ptr<ConstantOutput> play(float value) {
        return std::make_unique<ConstantOutput>(std::make_unique<PulseOutputStream>(kBus2Id),
                                                *PulseEndpoints().liveEndpoint(), value);
    }

    RouterLogCapture lines;
};

} // namespace

TEST_F(LiveMicrophoneTest, IsHeardByOthersAndIsNoDeviceOfOurs) {
    const std::string before = defaults();
    const std::shared_ptr<PulseServer> server = PulseServer::shared();
    const std::unique_ptr<ConstantOutput> output = play(0.25f);
    ASSERT_TRUE(output->isOpen());
    ASSERT_TRUE(awaitMade());
    EXPECT_TRUE(awaitPeak(LiveMicrophone::kSourceName, 0.25f));
    EXPECT_TRUE(awaitThread([&] { return names(server->sinks(), "one"); }));
    EXPECT_FALSE(names(server->sinks(), LiveMicrophone::kSinkName));
    EXPECT_FALSE(names(server->sources(), LiveMicrophone::kSourceName));
    EXPECT_EQ(defaults(), before);
}

TEST_F(LiveMicrophoneTest, EndsWithTheLastHolderOfTheServer) {
    const std::string before = pactl("list short modules");
    const std::string defaultsBefore = defaults();
    for (int round = 0; round < 3; ++round) {
        std::unique_ptr<ConstantOutput> output = play(0.25f);
        ASSERT_TRUE(awaitMade());
        output.reset();
        EXPECT_EQ(pactl("list short modules"), before);
        EXPECT_EQ(defaults(), defaultsBefore);
    }
}

TEST_F(LiveMicrophoneTest, OutlivesItsOutputWhileTheServerIsHeld) {
    std::shared_ptr<PulseServer> server = PulseServer::shared();
    play(0.25f).reset();
    ASSERT_TRUE(awaitMade());
    const std::string modules = pactl("list short modules");
    play(0.25f).reset();
    EXPECT_EQ(pactl("list short modules"), modules);
    server.reset();
    EXPECT_FALSE(isListed("sinks", LiveMicrophone::kSinkName));
}

TEST_F(LiveMicrophoneTest, EndsWhileItIsBeingMade) {
    for (int round = 0; round < 10; ++round) {
        play(0.25f).reset();
        EXPECT_FALSE(isListed("sinks", LiveMicrophone::kSinkName)) << "in round " << round;
        EXPECT_FALSE(isListed("sources", LiveMicrophone::kSourceName)) << "in round " << round;
    }
}

TEST_F(LiveMicrophoneTest, IsRemovedWhenItsConnectionGoesMeanwhile) {
    const PulseMainloopHandle mainloop(pa_mainloop_new());
    const PulseContextHandle unanswered(pa_context_new(pa_mainloop_get_api(mainloop.get()), "test"));
    int notices = 0;
    LiveMicrophone microphone([&notices] { ++notices; });
    microphone.begin(*unanswered, {});
    microphone.remove();
    EXPECT_EQ(notices, 0);
    microphone.forget();
    EXPECT_TRUE(microphone.isRemoved());
    EXPECT_EQ(notices, 1);
}
