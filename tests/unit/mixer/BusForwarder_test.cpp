#include "mixer/BusForwarder.h"
#include "tests/support/Await.h"
#include "tests/support/mixer/FakeRouterPlatform.h"
#include "tests/support/mixer/MixerFixture.h"
#include "tests/support/mixer/RouterLogCapture.h"

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>

namespace {

constexpr EndpointFlow kRender = EndpointFlow::Render;
constexpr EndpointFlow kCapture = EndpointFlow::Capture;

class BusForwarderTest : public MixerFixture {
protected:
    // One period of an output, of one frame count.
    std::vector<float> play(std::uint32_t busId, std::uint32_t frames = 4) {
        std::vector<float> output(std::size_t{frames} * 2, 99.0f);
        OfflineOutputStream* const channel = system.outputOf(busId);
        EXPECT_TRUE(channel != nullptr && channel->renderPeriod(output));
        return output;
    }

    [[nodiscard]] bool plays(std::uint32_t busId) const { return system.outputOf(busId) != nullptr; }

    // What a named Bus 1 opens, and nothing else: its lines.
    Lines startBus1(const std::string& deviceGuid) {
        forwarder.setBus1Device(deviceGuid);
        EXPECT_TRUE(forwarder.start());
        Lines lines = log.take();
        EXPECT_FALSE(lines.empty());
        if (!lines.empty()) {
            EXPECT_EQ(lines.back(), kNoSolo);
            lines.pop_back();
        }
        return lines;
    }

    // All three outputs named, and an endpoint for each.
    void nameAll() {
        endpoints.add(kRender, fakeEndpoint("Point A", "{a}", 0));
        endpoints.add(kRender, fakeEndpoint("Point B", "{b}", 0));
        endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
        forwarder.setBus1Device("{a}");
        forwarder.setBus2Device("{b}");
        forwarder.setSoloDevice("{spk}");
    }

    // A source that every output plays at half its level.
    void playSomething() {
        AppAudioConfig config = onBothBuses(20);
        config.input1Volume = 0.5f;
        config.input2Volume = 0.5f;
        config.solo = true;
        put(config);
        feed(20, constant(8, 0.5f, -0.5f));
    }

    const std::string kNoSolo = "[BusForwarder] Solo device GUID is empty, Solo forwarding disabled.";

    RouterLogCapture log;
    FakeRouterPlatform system;
    FakeEndpoints& endpoints = *system.endpoints;
    const RouterPlatform platform = system.platform();
    BusForwarder forwarder{platform, buffers};
};

using Calls = std::vector<std::string>;

// An output whose endpoint asks for a period as soon as it has one, and that counts the render calls which
// begin after it was woken.
class EagerOutput : public OutputStream {
public:
    struct Counts {
        std::atomic<int> calls{0};
        std::atomic<int> callsAfterWake{0};
        std::atomic<bool> woken{false};
    };
    explicit EagerOutput(Counts& testCounts) : counts(testCounts) {}

    [[nodiscard]] bool open(const AudioEndpoint& /*endpoint*/) override { return true; }
    void run(const std::atomic<bool>& running, const RenderCallback& render) override {
        float frame[2];
        while (running) {
            counts.callsAfterWake += counts.woken ? 1 : 0;
            render(frame, 1);
            ++counts.calls;
        }
    }
    void wake() override { counts.woken = true; }
    void stopClient() override {}

private:
    Counts& counts;
};

// An output that waits for its endpoint's event, which wake() sets too, as a period's end would.
class EventOutput : public OutputStream {
public:
    explicit EventOutput(std::atomic<int>& renderCalls) : calls(renderCalls) {}

    [[nodiscard]] bool open(const AudioEndpoint& /*endpoint*/) override { return true; }
    void run(const std::atomic<bool>& running, const RenderCallback& render) override {
        float frame[2];
        while (running) {
            std::unique_lock lock(mutex);
            changed.wait(lock, [this] { return signalled; });
            signalled = false;
            render(frame, 1);
            ++calls;
        }
    }
    void wake() override {
        const std::lock_guard lock(mutex);
        signalled = true;
        changed.notify_all();
    }
    void stopClient() override {}

private:
    std::atomic<int>& calls;
    std::mutex mutex;
    std::condition_variable changed;
    bool signalled = false;
};

} // namespace

TEST_F(BusForwarderTest, WithoutNamesNothingOpensAndStartSucceeds) {
    EXPECT_TRUE(forwarder.start());
    EXPECT_EQ(log.take(), (Lines{kNoSolo}));
    EXPECT_TRUE(system.journal.take().empty());
}

TEST_F(BusForwarderTest, ASecondStartDoesNothingAndSucceeds) {
    EXPECT_TRUE(forwarder.start());
    static_cast<void>(log.take());
    EXPECT_TRUE(forwarder.start());
    EXPECT_TRUE(log.take().empty());
}

TEST_F(BusForwarderTest, EachOutputPlaysItsMix) {
    endpoints.add(kRender, fakeEndpoint("Point A", "{a}", 0));
    endpoints.add(kRender, fakeEndpoint("Point B", "{b}", 0));
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    forwarder.setBus1Device("point a");
    forwarder.setBus2Device("{B}");
    forwarder.setSoloDevice("{spk}");
    ASSERT_TRUE(forwarder.start());
    EXPECT_EQ(log.take(), (Lines{"[BusForwarder] Found device by name: Point A",
                                 "[BusForwarder] Bus1 using device: Point A (Output) (ClassGuid: {a})",
                                 "[BusForwarder] Found device by GUID: Point B",
                                 "[BusForwarder] Bus2 using device: Point B (Output) (ClassGuid: {b})",
                                 "[BusForwarder] Found device by GUID: Speakers",
                                 "[BusForwarder] Bus3 using device: Speakers (Output) (ClassGuid: {spk})",
                                 "[BusForwarder] Solo thread started successfully."}));

    AppAudioConfig config = onBothBuses(20);
    config.input1Volume = 0.5f;
    config.input2Volume = 0.75f;
    config.solo = true;
    put(config);
    put({.processID = kBus1MasterProcessId, .input1Enabled = true, .input1Volume = 0.5f});
    feed(20, constant(8, 0.5f, -0.5f));
    EXPECT_EQ(play(1), constant(4, 0.125f, -0.125f));
    EXPECT_EQ(play(2), constant(4, 0.375f, -0.375f));
    EXPECT_EQ(play(3), constant(4, 0.25f, -0.25f)); // no master's gain
    forwarder.stop();
}

TEST_F(BusForwarderTest, EmptyOrShortRingsGiveSilence) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    forwarder.setSoloDevice("{spk}");
    ASSERT_TRUE(forwarder.start());
    EXPECT_EQ(play(3), constant(4, 0.0f, 0.0f));
    AppAudioConfig config = onBothBuses(20);
    config.solo = true;
    put(config);
    feed(20, constant(2, 0.5f, 0.5f));
    EXPECT_EQ(play(3), (std::vector<float>{0.5f, 0.5f, 0.5f, 0.5f, 0.0f, 0.0f, 0.0f, 0.0f}));
}

TEST_F(BusForwarderTest, ADeviceThatMatchesNoVirtualEndpointListsTheVirtualOnes) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    endpoints.add(kRender, fakeEndpoint("Point A", "{a}", 0));
    endpoints.add(kCapture, fakeEndpoint("Microphone", "{mic}", 1, kCapture));
    endpoints.add(kCapture, fakeEndpoint("Point A Out", "{ao}", 0, kCapture));
    endpoints.addNull(kCapture);
    EXPECT_EQ(startBus1("Missing"),
              (Lines{"[BusForwarder] Bus1: Device not found with GUID/Name: Missing",
                     "[BusForwarder] Bus1: Listing all available devices for debugging...",
                     "[BusForwarder] Available device: Point A (GUID: {a})",
                     "[BusForwarder] Available device: Point A Out (GUID: {ao})",
                     "[BusForwarder] Available device:  (GUID: )"})); // null counts as not real
    EXPECT_FALSE(plays(1));
}

TEST_F(BusForwarderTest, ARealDeviceNamedForABusIsNotFound) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    EXPECT_EQ(startBus1("{spk}"),
              (Lines{"[BusForwarder] Bus1: Device not found with GUID/Name: {spk}",
                     "[BusForwarder] Bus1: Listing all available devices for debugging..."}));
    EXPECT_FALSE(plays(1));
}

TEST_F(BusForwarderTest, AVirtualDeviceNamedForSoloIsNotFoundAndTheRealOnesAreListed) {
    endpoints.add(kRender, fakeEndpoint("Point A", "{a}", 0));
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    forwarder.setSoloDevice("{a}");
    EXPECT_TRUE(forwarder.start());
    EXPECT_EQ(log.take(), (Lines{"[BusForwarder] Bus3: Device not found with GUID/Name: {a}",
                                 "[BusForwarder] Bus3: Listing all available devices for debugging...",
                                 "[BusForwarder] Available device: Speakers (GUID: {spk})",
                                 "[BusForwarder] Failed to initialize Solo thread."}));
}

TEST_F(BusForwarderTest, APartOfAFriendlyNameFindsTheFirstEndpointThatHasIt) {
    endpoints.add(kRender, fakeEndpoint("Line A (Cable Port)", "{1}", 0));
    endpoints.add(kRender, fakeEndpoint("CABLE Input", "{2}", 0));
    EXPECT_EQ(startBus1("cable").front(), "[BusForwarder] Found device by name: Line A (Cable Port)");
}

TEST_F(BusForwarderTest, AnEndpointIdIsMatchedWholeInAnyCase) {
    endpoints.add(kRender, fakeEndpoint("Point A", "{0}.{ABC-1}", 0));
    endpoints.add(kRender, fakeEndpoint("Point B", "{ABC-1}", 0));
    EXPECT_EQ(startBus1("{abc-1}").front(), "[BusForwarder] Found device by GUID: Point B");
}

TEST_F(BusForwarderTest, ANameWithAHyphenIsStillFoundAsAName) {
    endpoints.add(kRender, fakeEndpoint("VB-Audio Point", "{vb}", 0));
    EXPECT_EQ(startBus1("VB-Audio Point").front(), "[BusForwarder] Found device by name: VB-Audio Point");
}

TEST_F(BusForwarderTest, AllOutputsAreSearchedBeforeAnyInput) {
    endpoints.add(kCapture, fakeEndpoint("Point In", "{in}", 0, kCapture));
    endpoints.add(kRender, fakeEndpoint("Other", "{x}", 0));
    endpoints.add(kRender, fakeEndpoint("Point Out", "{out}", 0));
    EXPECT_EQ(startBus1("point").front(), "[BusForwarder] Found device by name: Point Out");
}

TEST_F(BusForwarderTest, UnreadableIdsAndNamesNeverMatch) {
    AudioEndpoint blank = fakeEndpoint("", "", 0);
    endpoints.add(kRender, blank);
    blank.id.reset();
    blank.friendlyName.reset();
    endpoints.add(kRender, blank);
    endpoints.addNull(kRender);
    endpoints.add(kRender, fakeEndpoint("Point", "{p}", 0));
    EXPECT_EQ(startBus1("point").front(), "[BusForwarder] Found device by name: Point");
}

TEST_F(BusForwarderTest, AnInputThatCanBeActivatedIsTakenAndFailsToOpen) {
    endpoints.add(kCapture, fakeEndpoint("Point In", "{in}", 0, kCapture));
    EXPECT_EQ(startBus1("point"),
              (Lines{"[BusForwarder] Found virtual input device (microphone): Point In",
                     "[BusForwarder] Bus1 using device: Point In (Input/Microphone) (ClassGuid: {in})",
                     "[BusForwarder] GetService failed: 0x88890003"}));
    EXPECT_EQ(system.journal.take(), (Calls{"output1.open Point In"}));
    EXPECT_FALSE(plays(1));
}

TEST_F(BusForwarderTest, AnInputThatCannotBeActivatedIsPassedOver) {
    endpoints.add(kCapture, fakeEndpoint("Point One", "{1}", 0, kCapture));
    endpoints.add(kCapture, fakeEndpoint("Point Two", "{2}", 0, kCapture));
    endpoints.probeResults["{1}"] = SoundResult{SoundError::Refused, 0x88890004};
    EXPECT_EQ(startBus1("point"),
              (Lines{"[BusForwarder] eCapture device activation failed: 0x88890004 for device: Point One, "
                     "continuing search...",
                     "[BusForwarder] Found virtual input device (microphone): Point Two",
                     "[BusForwarder] Bus1 using device: Point Two (Input/Microphone) (ClassGuid: {2})",
                     "[BusForwarder] GetService failed: 0x88890003"}));
}

TEST_F(BusForwarderTest, AnEndpointThatDoesNotTellItsFlowCountsAsAnOutput) {
    AudioEndpoint endpoint = fakeEndpoint("Point In", "{in}", 0);
    endpoint.flow.reset();
    endpoints.add(kCapture, endpoint);
    EXPECT_EQ(startBus1("point").back(),
              "[BusForwarder] Bus1 using device: Point In (Output) (ClassGuid: {in})");
}

TEST_F(BusForwarderTest, AFailedFlowIsSkippedAndAFailedEnumeratorFindsNothing) {
    endpoints.add(kCapture, fakeEndpoint("Point In", "{in}", 0, kCapture));
    endpoints.fail(kRender, EnumerationStep::Count);
    EXPECT_EQ(startBus1("point").front(), "[BusForwarder] Found virtual input device (microphone): Point In");
    forwarder.stop();
    endpoints.fail(kRender, EnumerationStep::Enumerator);
    EXPECT_EQ(startBus1("point").front(), "[BusForwarder] Bus1: Device not found with GUID/Name: point");
}

TEST_F(BusForwarderTest, AnOutputThatCannotBeOpenedStaysOffAndTheOthersGoOn) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    forwarder.setSoloDevice("{spk}");
    system.outputsThatDoNotOpen = {3};
    EXPECT_TRUE(forwarder.start());
    EXPECT_EQ(log.take().back(), "[BusForwarder] Failed to initialize Solo thread.");
    EXPECT_FALSE(plays(3));
    forwarder.stop();
    EXPECT_EQ(system.journal.take(), (Calls{"output3.open Speakers"}));
}

TEST_F(BusForwarderTest, AfterAFailureOfBus1Bus2AndSoloPlay) {
    nameAll();
    system.outputsThatDoNotOpen = {1};
    EXPECT_TRUE(forwarder.start());
    EXPECT_EQ(log.take().back(), "[BusForwarder] Solo thread started successfully.");
    playSomething();
    EXPECT_FALSE(plays(1));
    EXPECT_EQ(play(2), constant(4, 0.25f, -0.25f));
    EXPECT_EQ(play(3), constant(4, 0.25f, -0.25f));
}

TEST_F(BusForwarderTest, AnOutputThatCannotBeMadeIsOneThatDidNotOpen) {
    nameAll();
    system.outputsThatCannotBeMade = {1, 3};
    EXPECT_TRUE(forwarder.start());
    EXPECT_EQ(log.take().back(), "[BusForwarder] Failed to initialize Solo thread.");
    playSomething();
    EXPECT_EQ(play(2), constant(4, 0.25f, -0.25f));
    forwarder.stop();
}

TEST_F(BusForwarderTest, AnEndpointThatDoesNotStartEndsItsThreadAloneAndSaysSo) {
    nameAll();
    system.outputsThatDoNotStart = {1};
    ASSERT_TRUE(forwarder.start());
    ASSERT_TRUE(awaitThread([&] { return system.journal.count("output1.ended") == 1; }));
    EXPECT_TRUE(log.contains("[BusForwarder] Start failed: 0x88890004"));
    playSomething();
    EXPECT_EQ(play(2), constant(4, 0.25f, -0.25f));
    EXPECT_EQ(play(3), constant(4, 0.25f, -0.25f));
    forwarder.stop();
    EXPECT_FALSE(plays(1) || plays(2) || plays(3));
}

TEST_F(BusForwarderTest, AStartThatThrowsEndsTheOutputsThatRan) {
    nameAll();
    system.outputsThatThrow = {3};
    EXPECT_THROW(static_cast<void>(forwarder.start()), std::runtime_error);
    Calls calls = system.journal.take();
    EXPECT_EQ(removeThreadEnds(calls), 2u);
    EXPECT_EQ(calls, (Calls{"output1.open Point A", "output2.open Point B", "output1.wake", "output2.wake",
                            "output1.stopClient", "output2.stopClient"}));
    EXPECT_FALSE(plays(1) || plays(2));

    system.outputsThatThrow.clear();
    EXPECT_TRUE(forwarder.start());
    EXPECT_TRUE(plays(1) && plays(2) && plays(3));
}

TEST_F(BusForwarderTest, StopWakesAllThenJoinsThenStopsTheClients) {
    nameAll();
    ASSERT_TRUE(forwarder.start());
    static_cast<void>(play(1));
    static_cast<void>(system.journal.take());
    forwarder.stop();
    Calls calls = system.journal.take();
    EXPECT_EQ(removeThreadEnds(calls), 3u);
    EXPECT_EQ(calls, (Calls{"output1.wake", "output2.wake", "output3.wake", "output1.stopClient",
                            "output2.stopClient", "output3.stopClient"}));
    EXPECT_FALSE(plays(1) || plays(2) || plays(3));
}

TEST_F(BusForwarderTest, StopReturnsAtOnceWhileNoThreadRuns) {
    forwarder.stop();
    ASSERT_TRUE(forwarder.start());
    EXPECT_EQ(log.take(), (Lines{kNoSolo}));
    forwarder.stop();
    forwarder.stop();
    ASSERT_TRUE(forwarder.start()); // not running any more: it starts again
    EXPECT_EQ(log.take(), (Lines{kNoSolo}));
    EXPECT_TRUE(system.journal.take().empty());
}

TEST_F(BusForwarderTest, StopOfAThreadThatWaitsNeedsNoFurtherPeriod) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    forwarder.setSoloDevice("{spk}");
    for (int round = 0; round < 50; ++round) { // at every point of the thread's start, too
        ASSERT_TRUE(forwarder.start());
        if (round % 2 == 0) {
            static_cast<void>(play(3));
        }
        forwarder.stop();
    }
}

TEST_F(BusForwarderTest, AnOutputRendersAtMostOnceAfterTheStopBegan) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    EagerOutput::Counts counts;
    RouterPlatform eager = platform;
    eager.makeOutputStream = [&counts](std::uint32_t) -> std::unique_ptr<OutputStream> {
        return std::make_unique<EagerOutput>(counts);
    };
    for (int round = 0; round < 20; ++round) {
        BusForwarder other(eager, buffers);
        other.setSoloDevice("{spk}");
        counts.woken = false;
        counts.calls = 0;
        counts.callsAfterWake = 0;
        ASSERT_TRUE(other.start());
        ASSERT_TRUE(awaitThread([&] { return counts.calls > 0; }));
        other.stop();
        EXPECT_LE(counts.callsAfterWake, 1);
    }
}

TEST_F(BusForwarderTest, AThreadThatWaitsForItsEndpointDoesOneLastPeriodAtMost) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    std::atomic<int> calls{0};
    RouterPlatform waiting = platform;
    waiting.makeOutputStream = [&calls](std::uint32_t) -> std::unique_ptr<OutputStream> {
        return std::make_unique<EventOutput>(calls);
    };
    for (int round = 0; round < 20; ++round) {
        BusForwarder other(waiting, buffers);
        other.setSoloDevice("{spk}");
        calls = 0;
        ASSERT_TRUE(other.start());
        other.stop();
        EXPECT_LE(calls, 1);
    }
}

TEST_F(BusForwarderTest, TheDestructorEndsAThreadThatStillLives) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    {
        BusForwarder other(platform, buffers);
        other.setSoloDevice("{spk}");
        ASSERT_TRUE(other.start());
        static_cast<void>(play(3));
        static_cast<void>(system.journal.take());
    }
    Calls calls = system.journal.take();
    EXPECT_EQ(removeThreadEnds(calls), 1u);
    EXPECT_EQ(calls, (Calls{"output3.wake", "output3.stopClient"}));
}
