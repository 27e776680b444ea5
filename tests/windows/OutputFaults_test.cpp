#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/WasapiOutputStream.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/windows/ScriptedAudio.h"
#include "tests/windows/SoundScene.h"

#include <gtest/gtest.h>
#include <memory>

namespace {

class OutputFaultsTest : public testing::Test {
protected:
    void SetUp() override {
        speakers = endpointNamed(EndpointFlow::Render, "Speakers");
        ASSERT_NE(speakers, nullptr);
    }

    // Ends a stream's thread, which renders at most once more.
    static void end(WasapiOutputStream& stream, std::atomic<bool>& running, std::thread& thread,
                    const std::atomic<int>& rendered) {
        running = false;
        const int before = rendered;
        stream.wake();
        thread.join();
        EXPECT_LE(rendered, before + 1);
    }

    SoundScene scene;
    AudioEndpointPointer speakers;
};

constexpr HRESULT kInvalidated = static_cast<HRESULT>(0x88890004);

} // namespace

TEST_F(OutputFaultsTest, WithoutAMixFormatTheDefaultFormatIsUsedAndSaid) {
    const auto script = std::make_shared<AudioScript>();
    script->fail("GetMixFormat", E_NOTIMPL);
    RouterLogCapture log;
    WasapiOutputStream stream(scriptedCalls(script));
    EXPECT_TRUE(stream.open(scriptedEndpoint(script, *speakers)));
    EXPECT_EQ(log.take(),
              Lines{"[BusForwarder] GetMixFormat failed (0x80004001), using default format (48000 Hz, 32-bit "
                    "float)"});
}

TEST_F(OutputFaultsTest, CallsAreGivenWhatWindowsExpectsOfThem) {
    const auto script = std::make_shared<AudioScript>();
    script->fail("GetMixFormat", E_NOTIMPL);
    const AudioSystemCalls calls = scriptedCalls(script);
    WasapiOutputStream stream(calls);
    ASSERT_TRUE(stream.open(scriptedEndpoint(script, *speakers)));
    std::atomic<bool> running{true};
    std::atomic<int> rendered{0};
    std::thread thread([&] { stream.run(running, [&](float*, std::uint32_t) { ++rendered; }); });
    EXPECT_TRUE(comesTrue([&] { return rendered > 2; }));
    end(stream, running, thread, rendered);
    // In-process server and handler, local and remote server.
    EXPECT_EQ(script->given("Activate"), "23, no parameters");
    // Shared, 0x88040000, 150 ms, then the default format: float, stereo, nothing behind it.
    EXPECT_EQ(script->given("Initialize"),
              "0, 2281963520, 1500000, 0, no session, 3, 2, 48000, 384000, 8, 32, 0 behind:");
    EXPECT_EQ(script->given("AvSetMmThreadCharacteristicsW"), "Pro Audio");
    EXPECT_EQ(script->given("AvSetMmThreadPriority"), "1");
    EXPECT_EQ(script->given("ReleaseBuffer"), "0");

    CoreAudioEndpoints endpoints(calls);
    EXPECT_FALSE(endpoints.activeEndpoints(EndpointFlow::Render).endpoints.empty());
    EXPECT_EQ(script->given("EnumAudioEndpoints"), "0, 1");
    EXPECT_FALSE(endpoints.activeEndpoints(EndpointFlow::Capture).endpoints.empty());
    EXPECT_EQ(script->given("EnumAudioEndpoints"), "1, 1");
    EXPECT_FALSE(endpoints.defaultRenderEndpointId().empty());
    EXPECT_EQ(script->given("GetDefaultAudioEndpoint"), "0, 0");
}

TEST_F(OutputFaultsTest, EventStaysOpenUntilTheClientHasGone) {
    const auto script = std::make_shared<AudioScript>();
    auto stream = std::make_unique<WasapiOutputStream>(scriptedCalls(script));
    ASSERT_TRUE(stream->open(scriptedEndpoint(script, *speakers)));
    stream.reset();
    EXPECT_EQ(script->given("last Release"), "its event is open");
}

TEST_F(OutputFaultsTest, EndpointWithoutADeviceFailsAtActivation) {
    RouterLogCapture log;
    WasapiOutputStream stream(windowsAudioSystemCalls());
    EXPECT_FALSE(stream.open(AudioEndpoint{}));
    EXPECT_EQ(log.take(), Lines{"[BusForwarder] Activate failed: 0x80004003"});
}

TEST_F(OutputFaultsTest, ClientThatDoesNotStartEndsTheThreadWithItsLineAndGivesTheSchedulingBack) {
    const auto script = std::make_shared<AudioScript>();
    script->fail("Start", kInvalidated);
    RouterLogCapture log;
    WasapiOutputStream stream(scriptedCalls(script));
    ASSERT_TRUE(stream.open(scriptedEndpoint(script, *speakers)));
    const std::atomic<bool> running{true};
    int calls = 0;
    std::thread thread([&] { stream.run(running, [&](float*, std::uint32_t) { ++calls; }); });
    thread.join();
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(log.take().back(), "[BusForwarder] Start failed: 0x88890004");
    EXPECT_EQ(script->count("AvRevertMmThreadCharacteristics"), script->count("AvSetMmThreadPriority"));
}

TEST_F(OutputFaultsTest, FailureOfSchedulingIsNoFailureOfTheThread) {
    for (const char* const call : {"AvSetMmThreadCharacteristicsW", "AvSetMmThreadPriority"}) {
        SCOPED_TRACE(call);
        const auto script = std::make_shared<AudioScript>();
        script->fail(call, E_FAIL);
        WasapiOutputStream stream(scriptedCalls(script));
        ASSERT_TRUE(stream.open(scriptedEndpoint(script, *speakers)));
        std::atomic<bool> running{true};
        std::atomic<int> calls{0};
        std::thread thread([&] { stream.run(running, [&](float*, std::uint32_t) { ++calls; }); });
        EXPECT_TRUE(comesTrue([&] { return calls > 2; }));
        end(stream, running, thread, calls);
    }
}

TEST_F(OutputFaultsTest, WaitThatEndsWithoutTheEventRendersNothingAndIsRepeated) {
    const auto script = std::make_shared<AudioScript>();
    AudioSystemCalls calls = scriptedCalls(script);
    std::atomic<int> waits{0};
    constexpr int kOtherAnswers = 30;
    calls.waitForEvent = [&, real = calls.waitForEvent](HANDLE event) -> DWORD {
        constexpr DWORD kOther[] = {WAIT_FAILED, WAIT_TIMEOUT, WAIT_ABANDONED};
        const int wait = waits++;
        return wait < kOtherAnswers ? kOther[wait % 3] : real(event);
    };
    WasapiOutputStream stream(calls);
    ASSERT_TRUE(stream.open(scriptedEndpoint(script, *speakers)));
    RouterLogCapture log;
    std::atomic<bool> running{true};
    std::atomic<int> rendered{0};
    std::atomic<int> waitsAtTheFirst{0};
    std::thread thread([&] {
        stream.run(running, [&](float*, std::uint32_t) {
            if (rendered++ == 0) {
                waitsAtTheFirst = waits.load();
            }
        });
    });
    EXPECT_TRUE(comesTrue([&] { return rendered > 2; }));
    end(stream, running, thread, rendered);
    EXPECT_GT(waitsAtTheFirst, kOtherAnswers);
    EXPECT_TRUE(log.take().empty());
}

TEST_F(OutputFaultsTest, FailuresWhilePlayingGoBackToWaitingWithoutALine) {
    for (const char* const call : {"GetCurrentPadding", "GetBuffer"}) {
        SCOPED_TRACE(call);
        const auto script = std::make_shared<AudioScript>();
        script->fail(call, kInvalidated, 2);
        WasapiOutputStream stream(scriptedCalls(script));
        ASSERT_TRUE(stream.open(scriptedEndpoint(script, *speakers)));
        RouterLogCapture log;
        std::atomic<bool> running{true};
        std::atomic<int> calls{0};
        std::thread thread([&] { stream.run(running, [&](float*, std::uint32_t) { ++calls; }); });
        EXPECT_TRUE(comesTrue([&] {
            // An endpoint that gets nothing any more may fall silent: its event is given by hand.
            stream.wake();
            return script->count(call) > 5;
        }));
        end(stream, running, thread, calls);
        EXPECT_EQ(calls, 1);
        EXPECT_TRUE(log.take().empty());
        EXPECT_EQ(script->count("Stop"), 1);
    }
}
