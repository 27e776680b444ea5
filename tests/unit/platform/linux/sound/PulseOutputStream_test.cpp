#include "platform/linux/sound/PulseEndpoints.h"
#include "platform/linux/sound/PulseOutputStream.h"
#include "tests/support/Await.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/unit/platform/linux/ShellCommand.h"
#include "tests/unit/platform/linux/sound/SoundServerTools.h"

#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace {

constexpr std::uint32_t kSoloId = 3;

class PulseOutputStreamTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(awaitThread([this] { return !server->sinks().empty(); }));
    }

    [[nodiscard]] AudioEndpointPointer endpointOf(const std::string& sinkName) {
        AudioEndpointPointer found;
        EXPECT_TRUE(awaitThread([&] {
            for (const AudioEndpointPointer& endpoint :
                 endpoints.activeEndpoints(EndpointFlow::Render).endpoints) {
                if (endpoint->id == "hdaudio#" + sinkName) {
                    found = endpoint;
                }
            }
            return found != nullptr;
        })) << sinkName;
        return found;
    }

    // An endpoint that was not found plays nothing.
    [[nodiscard]] static std::unique_ptr<ConstantOutput> play(const AudioEndpointPointer& endpoint,
                                                              float value) {
        return std::make_unique<ConstantOutput>(std::make_unique<PulseOutputStream>(kSoloId),
                                                endpoint ? *endpoint : AudioEndpoint(), value);
    }

    // PA_INVALID_INDEX while there is none, or more.
    [[nodiscard]] std::uint32_t onlyPlayback() {
        const std::vector<PulsePlayback> playbacks = server->playbacks();
        return playbacks.size() == 1 ? playbacks.front().index : PA_INVALID_INDEX;
    }

    RouterLogCapture lines;
    std::shared_ptr<PulseServer> server = PulseServer::shared();
    PulseEndpoints endpoints;
};

} // namespace

TEST_F(PulseOutputStreamTest, SinkThatGoesIsPlayedIntoAgainAndNoOtherMeanwhile) {
    std::optional<ServerSink> sink(std::in_place, "mine");
    const std::unique_ptr<ConstantOutput> output = play(endpointOf("mine"), 0.25f);
    ASSERT_TRUE(output->isOpen());
    EXPECT_TRUE(awaitPeak("mine.monitor", 0.25f));
    EXPECT_EQ(peakOf("one.monitor"), 0.0f);
    sink.reset();
    EXPECT_EQ(peakOf("one.monitor"), 0.0f);
    EXPECT_EQ(peakOf("two.monitor"), 0.0f);
    sink.emplace("mine");
    EXPECT_TRUE(awaitPeak("mine.monitor", 0.25f));
    EXPECT_EQ(peakOf("one.monitor"), 0.0f);
}

TEST_F(PulseOutputStreamTest, SinkThatIsGoneBeforeTheFirstSoundIsWaitedFor) {
    std::optional<ServerSink> sink(std::in_place, "late");
    const AudioEndpointPointer endpoint = endpointOf("late");
    sink.reset();
    const std::unique_ptr<ConstantOutput> output = play(endpoint, 0.25f);
    ASSERT_TRUE(output->isOpen());
    EXPECT_TRUE(awaitThread([] { return pactl("list clients").find("Vexo Deck") != std::string::npos; }));
    EXPECT_EQ(peakOf("one.monitor"), 0.0f);
    EXPECT_EQ(peakOf("two.monitor"), 0.0f);
    sink.emplace("late");
    EXPECT_TRUE(awaitPeak("late.monitor", 0.25f));
}

TEST_F(PulseOutputStreamTest, ProgramOfTheSinksNameIsNotPlayedIntoInItsPlace) {
    const AudioEndpointPointer endpoint = endpointOf("two");
    const ShellCommand recorder(
        "exec parec --device=one.monitor --client-name=namesake --property=node.name=two "
        "> /dev/null 2>&1");
    ASSERT_TRUE(
        awaitThread([] { return pactl("list source-outputs").find("namesake") != std::string::npos; }));
    for (int round = 0; round < 5; ++round) {
        const std::unique_ptr<ConstantOutput> output = play(endpoint, 0.25f);
        ASSERT_TRUE(output->isOpen());
        EXPECT_TRUE(awaitPeak("two.monitor", 0.25f));
    }
}

TEST_F(PulseOutputStreamTest, StreamThatIsKilledIsMadeAnew) {
    const std::unique_ptr<ConstantOutput> output = play(endpointOf("two"), 0.25f);
    EXPECT_TRUE(awaitPeak("two.monitor", 0.25f));
    const std::uint32_t killed = onlyPlayback();
    {
        const PulseServer::Lock lock(*server);
        const PulseOperation started(
            pa_context_kill_sink_input(server->readyContext(), killed, nullptr, nullptr));
    }
    EXPECT_TRUE(awaitThread([&] { return onlyPlayback() != killed && onlyPlayback() != PA_INVALID_INDEX; }));
    EXPECT_TRUE(awaitPeak("two.monitor", 0.25f));
}

TEST_F(PulseOutputStreamTest, OutputsEndAtAnyTime) {
    const AudioEndpointPointer one = endpointOf("one");
    const AudioEndpointPointer two = endpointOf("two");
    for (int round = 0; round < 20; ++round) {
        const std::unique_ptr<ConstantOutput> first = play(one, 0.25f);
        const std::unique_ptr<ConstantOutput> second = play(two, 0.5f);
        EXPECT_TRUE(first->isOpen() && second->isOpen());
        if (round % 5 == 4) {
            EXPECT_TRUE(awaitPeak("two.monitor", 0.5f));
        }
    }
}
