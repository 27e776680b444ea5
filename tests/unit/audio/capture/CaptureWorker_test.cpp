// What the worker does with blocks and with streams that fail.

#include "audio/capture/AudioRouterService.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/unit/audio/capture/CaptureFixture.h"

#include <algorithm>
#include <atomic>
#include <limits>
#include <memory>
#include <string>

namespace {

using namespace std::chrono_literals;

class CaptureWorkerTest : public CaptureFixture {};

std::atomic<int> callbackCalls{0};
std::atomic<int> callbackChannels{0};
std::atomic<int> callbackFrames{0};
std::atomic<double> callbackRate{0.0};

void quarter(float* block, std::int32_t channels, std::int32_t frames, double rate) {
    ++callbackCalls;
    callbackChannels = channels;
    callbackFrames = frames;
    callbackRate = rate;
    std::fill_n(block, channels * frames, 0.25f);
}

std::atomic<int> prepareCalls{0};
std::atomic<int> preparedChannels{0};
std::atomic<double> preparedRate{0.0};
std::atomic<int> blocksBeforePreparation{0};

void notePreparation(std::int32_t channels, double rate) {
    ++prepareCalls;
    preparedChannels = channels;
    preparedRate = rate;
    blocksBeforePreparation = callbackCalls.load();
}

constexpr int kReadError = -9988;
constexpr int kBadStream = -9980;

} // namespace

TEST_F(CaptureWorkerTest, InfiniteRateOfADeviceThatTakesItReachesTheMixerAsTheLargest) {
    const RouterLogCapture routerLines;
    scriptedPortAudio::setDevices({device("mic")});
    listenTo(0);
    startWith({{"mic", 0, 0}});
    EXPECT_TRUE(service.SetSampleRate(std::numeric_limits<double>::infinity()));
    ASSERT_TRUE(await([] { return scriptedPortAudio::opens() == 2; }));
    ASSERT_TRUE(awaitBlocks("mic"));
    EXPECT_TRUE(service.SetSampleRate(48000.0));
    ASSERT_TRUE(await([] { return scriptedPortAudio::opens() == 3; }));
    EXPECT_TRUE(await([this] { return nextOfBus1() == 0.5f; }));
    EXPECT_EQ(routerLines.lines(), Lines()) << "as a rate of 0 Hz every block would be a line";
}

TEST_F(CaptureWorkerTest, DeviceOf44100HzOnlyIsRebuiltOnEveryPassWhile48000IsAskedFor) {
    Device slow = device("mic");
    slow.sampleRates = {44100.0};
    slow.defaultSampleRate = 44100.0;
    scriptedPortAudio::setDevices({slow});
    startWith({{"mic", 0, 0}});
    EXPECT_EQ(service.GetSampleRate(), 44100.0);
    EXPECT_TRUE(service.SetSampleRate(48000.0));
    ASSERT_TRUE(awaitLog("Sample rate change request: 48000 Hz"));
    expectPausesOfPasses(4, {10ms, 100ms},
                         [this] { return log.count("Sample rate change request: 48000 Hz"); });
    EXPECT_TRUE(service.SetSampleRate(44100.0));
    EXPECT_TRUE(awaitBlocks("mic")) << "the rate that was obtained ends it";
}

TEST_F(CaptureWorkerTest, OneInputThatFailedToOpenSilencesAll) {
    scriptedPortAudio::setDevices({device("good"), device("bad")});
    scriptedPortAudio::fail(Call::OpenStream, -9985, -1, "bad");
    listenTo(0);
    startWith({{"good", 0, 0}, {"bad", 0, 1}});
    const auto checks = [] {
        return scriptedPortAudio::activityChecks("good");
    };
    ASSERT_TRUE(await([&] { return checks() > 0; })) << "no pass";
    expectPausesOfPasses(20, {10ms}, checks);
    EXPECT_EQ(scriptedPortAudio::reads("good"), 0);
    EXPECT_FALSE(hasRing(0));
    EXPECT_TRUE(service.RemoveInputDevice("bad"));
    EXPECT_TRUE(awaitBlocks("good")) << "its removal brings the other back";
}

TEST_F(CaptureWorkerTest, BlockOfIndexZeroPassesTheCallbackBeforeItReachesTheMixer) {
    callbackCalls = 0;
    scriptedPortAudio::setDevices({device("mic")});
    listenTo(0);
    service.SetAudioCallback(quarter);
    startWith({{"mic", 0, 0}});
    ASSERT_TRUE(await([this] { return nextOfBus1() == 0.25f; }));
    EXPECT_GT(callbackCalls, 0);
    EXPECT_EQ(callbackChannels, 2);
    EXPECT_EQ(callbackFrames, 256);
    EXPECT_EQ(callbackRate, 48000.0);
}

TEST_F(CaptureWorkerTest, FormatOfIndexZeroIsToldWhereItsStreamOpensBeforeItsFirstBlock) {
    callbackCalls = 0;
    prepareCalls = 0;
    Device slow = device("mic", 1);
    slow.sampleRates = {44100.0, 96000.0};
    slow.defaultSampleRate = 44100.0;
    scriptedPortAudio::setDevices({device("other"), slow});
    service.SetAudioCallback(quarter);
    service.SetPrepareCallback(notePreparation);
    startWith({{"other", 0, 1}});
    ASSERT_TRUE(awaitBlocks("other"));
    EXPECT_EQ(prepareCalls, 0) << "the stream of another index";
    EXPECT_TRUE(service.AddInputDevice("mic", 0, 0));
    ASSERT_TRUE(await([] { return callbackRate == 44100.0; }));
    EXPECT_EQ(prepareCalls, 1);
    EXPECT_EQ(blocksBeforePreparation, 0);
    EXPECT_EQ(preparedChannels, 1);
    EXPECT_EQ(preparedRate, 44100.0) << "the rate that the blocks are told to have";
    EXPECT_EQ(preparedRate, callbackRate);
    EXPECT_TRUE(service.SetSampleRate(96000.0));
    ASSERT_TRUE(await([] { return callbackRate == 96000.0; }));
    EXPECT_EQ(prepareCalls, 2) << "each stream anew";
    EXPECT_EQ(preparedRate, 96000.0);
}

TEST_F(CaptureWorkerTest, BlockOfIndexOneNeverMeetsTheCallback) {
    callbackCalls = 0;
    scriptedPortAudio::setDevices({device("mic")});
    listenTo(1);
    service.SetAudioCallback(quarter);
    startWith({{"mic", 0, 1}});
    ASSERT_TRUE(await([this] { return nextOfBus1() == 0.5f; }));
    EXPECT_EQ(callbackCalls, 0);
}

TEST_F(CaptureWorkerTest, InputWithoutIndexIsReadButNeitherFilteredNorForwarded) {
    callbackCalls = 0;
    scriptedPortAudio::setDevices({device("mic")});
    listenTo(0);
    listenTo(0xFFFFFFFF);
    service.SetAudioCallback(quarter);
    startWith({{"mic", 0, -1}});
    ASSERT_TRUE(awaitBlocks("mic", 10));
    EXPECT_EQ(callbackCalls, 0);
    EXPECT_TRUE(buffers.collectProcessIds().empty());
}

TEST_F(CaptureWorkerTest, MonoInputReachesBothSides) {
    scriptedPortAudio::setDevices({device("mic", 1)});
    listenTo(2);
    startWith({{"mic", 0, 2}});
    StereoLevel level;
    ASSERT_TRUE(await([&] {
        level = buffers.getProcessLevels(2);
        return level.left > 0.5f;
    }));
    EXPECT_EQ(level.left, level.right);
}

TEST_F(CaptureWorkerTest, OverflowIsSurvivedWithoutAMessage) {
    scriptedPortAudio::setDevices({device("mic")});
    scriptedPortAudio::fail(Call::ReadStream, paInputOverflowed);
    listenTo(0);
    startWith({{"mic", 0, 0}});
    const qsizetype before = log.lines().size();
    ASSERT_TRUE(awaitBlocks("mic", 10));
    EXPECT_TRUE(hasRing(0));
    EXPECT_EQ(log.lines().size(), before);
}

TEST_F(CaptureWorkerTest, FailedReadHandsNothingOverAndRefreshes) {
    scriptedPortAudio::setDevices({device("good"), device("bad")});
    listenTo(0);
    scriptedPortAudio::fail(Call::ReadStream, kReadError, 1, "bad");
    scriptedPortAudio::setErrorText(kReadError, "Stream is stopped");
    // Shared, since the worker reads on after the test's own variables have gone.
    const auto initializationsAtHandOver = std::make_shared<std::atomic<int>>(0);
    scriptedPortAudio::setReadHook([this, initializationsAtHandOver](const std::string&) {
        if (!hasRing(0)) {
            *initializationsAtHandOver = scriptedPortAudio::initializations();
        }
    });
    startWith({{"good", 0, 0}, {"bad", 0, 1}});
    ASSERT_TRUE(await([this] { return hasRing(0); }));
    EXPECT_EQ(*initializationsAtHandOver, 2) << "only the pass after the rebuild is handed over";
    EXPECT_EQ(log.count("Failed to read input device (bad): Stream is stopped"), 1);
    EXPECT_EQ(log.count("Device refresh request: reinitialize PortAudio to update device list"), 1);
}

TEST_F(CaptureWorkerTest, InactiveStreamIsLoggedAndRebuilt) {
    scriptedPortAudio::setDevices({device("mic")});
    startWith({{"mic", 0, 0}});
    ASSERT_TRUE(awaitBlocks("mic"));
    scriptedPortAudio::fail(Call::IsStreamActive, 0, 1);
    ASSERT_TRUE(await([this] { return log.count("inactive detected") == 1; }));
    EXPECT_TRUE(await([] { return scriptedPortAudio::opens() == 2; }));
    EXPECT_TRUE(awaitBlocks("mic"));
}

TEST_F(CaptureWorkerTest, EachKindOfInactiveStreamHasItsLine) {
    scriptedPortAudio::setDevices({device("mic")});
    scriptedPortAudio::setErrorText(kBadStream, "Invalid stream pointer");
    scriptedPortAudio::fail(Call::IsStreamActive, 0, 1);
    scriptedPortAudio::fail(Call::IsStreamActive, kBadStream, 1);
    startWith({{"mic", 0, 0}});
    EXPECT_TRUE(awaitLog("[Warning] Input stream inactive detected (mic), device may be disconnected"));
    EXPECT_TRUE(awaitLog("[Warning] Failed to check input stream status (mic): Invalid stream pointer"));
    ASSERT_TRUE(awaitBlocks("mic"));
    // The sweep before the reads finds it active, the check at the read does not.
    service.Stop();
    scriptedPortAudio::fail(Call::IsStreamActive, 1, 1);
    scriptedPortAudio::fail(Call::IsStreamActive, 0, 1);
    ASSERT_TRUE(service.Restart());
    EXPECT_TRUE(
        awaitLog("[Warning] Input stream inactive detected before reading (mic), skipping this read"));
    ASSERT_TRUE(awaitBlocks("mic"));
    service.Stop();
    scriptedPortAudio::fail(Call::IsStreamActive, 1, 1);
    scriptedPortAudio::fail(Call::IsStreamActive, kBadStream, 1);
    ASSERT_TRUE(service.Restart());
    EXPECT_TRUE(awaitLog(
        "[Warning] Failed to check input stream status before reading (mic): Invalid stream pointer"));
}

TEST_F(CaptureWorkerTest, UnpluggedDeviceDropsOutStaysConfiguredAndComesBackAtTheNextRebuild) {
    scriptedPortAudio::setDevices({device("other"), device("mic")});
    startWith({{"mic", 0, 0}, {"other", 0, 1}});
    ASSERT_TRUE(awaitBlocks("mic"));
    scriptedPortAudio::setDevices({device("other")});
    ASSERT_TRUE(awaitLog("Input device not found: mic"));
    EXPECT_EQ(service.GetInputDevices().size(), 2U);
    EXPECT_TRUE(awaitBlocks("other")) << "the others go on";
    EXPECT_TRUE(service.HasMissingInput());
    scriptedPortAudio::setDevices({device("mic"), device("other")});
    EXPECT_TRUE(service.RefreshDevices());
    EXPECT_TRUE(awaitBlocks("mic"));
    EXPECT_FALSE(service.HasMissingInput());
}

TEST_F(CaptureWorkerTest, InputThatDoesNotOpenIsMissingUntilItIsRemoved) {
    scriptedPortAudio::setDevices({device("mic"), device("dead")});
    scriptedPortAudio::fail(Call::OpenStream, -9985, -1, "dead");
    startWith({{"mic", 0, 0}});
    EXPECT_FALSE(service.HasMissingInput());
    EXPECT_TRUE(service.AddInputDevice("dead", 0, 1));
    ASSERT_TRUE(await([this] { return service.HasMissingInput(); }));
    // It stays so: the rebuild of the next request finds the same.
    EXPECT_TRUE(service.SetOutputDevice("x"));
    ASSERT_TRUE(awaitLog("Audio stream initialized", 3));
    EXPECT_TRUE(service.HasMissingInput());
    EXPECT_TRUE(service.RemoveInputDevice("dead"));
    EXPECT_TRUE(await([this] { return !service.HasMissingInput(); }));
}

TEST_F(CaptureWorkerTest, GoneDeviceIsRefreshedOnceAndNotForEver) {
    scriptedPortAudio::setDevices({device("mic")});
    scriptedPortAudio::fail(Call::OpenStream, -9999);
    scriptedPortAudio::setErrorText(-9999, "PaErrorCode -10851");
    startWith({{"mic", 0, 0}});
    ASSERT_TRUE(awaitLog("Device refresh request"));
    // The start's own rebuild, and the one of the refresh; then, at each request, the same again and no more.
    constexpr int kRequests = 5;
    ASSERT_TRUE(awaitLog("Audio stream initialized", 2));
    for (int request = 1; request <= kRequests; ++request) {
        EXPECT_TRUE(service.SetOutputDevice(std::to_string(request)));
        ASSERT_TRUE(awaitLog("Audio stream initialized", 2 + 2 * request));
    }
    EXPECT_EQ(log.count("Device refresh request"), 1 + kRequests);
    EXPECT_EQ(scriptedPortAudio::opens(), 2 + 2 * kRequests);
}

TEST_F(CaptureWorkerTest, OpenWithoutAHandleIsRetriedAfterAnAddition) {
    Device hollow = device("mic");
    hollow.nullStream = true;
    scriptedPortAudio::setDevices({hollow});
    startWith({});
    EXPECT_TRUE(service.AddInputDevice("mic", 0, 0));
    ASSERT_TRUE(
        awaitLog("[Info] After adding device, some devices still failed to open, refresh and retry again"));
    EXPECT_TRUE(awaitLog("Device refresh request"));
    EXPECT_EQ(std::ranges::count(pauses(), 200ms), 1) << "before the retry";
}
