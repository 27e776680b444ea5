#include "audio/capture/AudioRouterService.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/unit/audio/capture/CaptureFixture.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <memory>
#include <thread>

namespace {

using namespace std::chrono_literals;

class AudioRouterServiceTest : public CaptureFixture {};

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

TEST_F(AudioRouterServiceTest, AddInputDeviceOnAStoppedServiceLeavesNothingPending) {
    scriptedPortAudio::setDevices({device("mic")});
    EXPECT_FALSE(service.AddInputDevice("mic", 0, 0));
    startWith({});
    // A request that is honoured shows that a pass has gone by.
    EXPECT_TRUE(service.RemoveInputDevice("nobody"));
    ASSERT_TRUE(awaitLog("Remove device request: nobody"));
    EXPECT_EQ(log.count("Add device request"), 0);
    EXPECT_TRUE(service.GetInputDevices().empty());
}

TEST_F(AudioRouterServiceTest, StoppedServiceRefusesEveryRequest) {
    EXPECT_FALSE(service.SetSampleRate(44100.0));
    EXPECT_FALSE(service.RemoveInputDevice("mic"));
    EXPECT_FALSE(service.SetOutputDevice("out"));
    EXPECT_FALSE(service.RefreshDevices());
    EXPECT_FALSE(service.IsRunning());
    EXPECT_TRUE(service.SetAudioCallback(nullptr));
}

TEST_F(AudioRouterServiceTest, SecondStartReturnsFalse) {
    startWith({});
    EXPECT_FALSE(service.Start({}));
}

TEST_F(AudioRouterServiceTest, StartLogsItsLinesInOrderAndStopEndsTheWorker) {
    scriptedPortAudio::setDevices({device("mic")});
    startWith({{"mic", 0, 0}});
    service.Stop();
    EXPECT_FALSE(service.IsRunning());
    const QStringList lines = log.texts(QtDebugMsg);
    EXPECT_EQ(lines.last(), "Audio routing service stopped");
    EXPECT_EQ(lines.indexOf("Audio routing service started"), lines.size() - 2);
    service.Stop();
    EXPECT_EQ(log.count("Audio routing service stopped"), 1);
}

TEST_F(AudioRouterServiceTest, NameInAnotherCaseIsAlreadyConfigured) {
    startWith({{"usb mic", 0, -1}});
    EXPECT_FALSE(service.AddInputDevice("USB MIC", 0));
    EXPECT_TRUE(service.AddInputDevice("USB MIC 2", 0));
}

TEST_F(AudioRouterServiceTest, PartOfAConfiguredNameCanBeAddedAndItsRemovalErasesBoth) {
    startWith({{"usb mic pro", 0, -1}});
    EXPECT_TRUE(service.AddInputDevice("usb mic", 0, 1));
    ASSERT_TRUE(await([this] { return service.GetInputDevices().size() == 2; }));
    EXPECT_TRUE(service.RemoveInputDevice("USB mic"));
    EXPECT_TRUE(await([this] { return service.GetInputDevices().empty(); }));
    EXPECT_EQ(log.count("Remove device request: USB mic"), 1);
}

TEST_F(AudioRouterServiceTest, LongerNameRemovesTheShorterOneThatItContains) {
    startWith({{"mic", 0, -1}, {"line", 0, -1}});
    EXPECT_TRUE(service.RemoveInputDevice("The Mic of the desk"));
    EXPECT_TRUE(await([this] { return service.GetInputDevices().size() == 1; }));
    EXPECT_EQ(service.GetInputDevices()[0].name, "line");
}

TEST_F(AudioRouterServiceTest, TwoAdditionsOfOneNameBeforeTheWorkerRunsGiveTwoSlots) {
    scriptedPortAudio::setDevices({device("gate"), device("mic")});
    // Shared, since the worker reads on after the test's own variables have gone.
    struct Gate {
        std::atomic<bool> reached{false};
        std::atomic<bool> open{false};
    };
    const auto gate = std::make_shared<Gate>();
    scriptedPortAudio::setReadHook([gate](const std::string&) {
        gate->reached = true;
        while (!gate->open) {
            std::this_thread::yield();
        }
    });
    startWith({{"gate", 0, -1}});
    EXPECT_TRUE(await([&] { return gate->reached.load(); }));
    EXPECT_TRUE(service.AddInputDevice("mic", 0, 1));
    EXPECT_TRUE(service.AddInputDevice("mic", 0, 2));
    gate->open = true;
    ASSERT_TRUE(await([] { return scriptedPortAudio::openStreams() == 3; }));
    EXPECT_EQ(service.GetInputDevices().size(), 3U);
    EXPECT_EQ(log.count("Add device request: mic"), 2);
}

TEST_F(AudioRouterServiceTest, RemovingAnUnknownNameOnlyRebuildsWithoutReinitialising) {
    scriptedPortAudio::setDevices({device("mic")});
    startWith({{"mic", 0, 0}});
    EXPECT_TRUE(service.RemoveInputDevice("nobody"));
    ASSERT_TRUE(await([] { return scriptedPortAudio::opens() == 2; }));
    EXPECT_EQ(service.GetInputDevices().size(), 1U);
    EXPECT_EQ(scriptedPortAudio::initializations(), 1);
}

TEST_F(AudioRouterServiceTest, AdditionReinitialisesPortAudioAndSeesADeviceThatCameLater) {
    startWith({});
    scriptedPortAudio::setDevices({device("late mic")});
    EXPECT_TRUE(service.AddInputDevice("late", 0, 3));
    EXPECT_TRUE(awaitBlocks("late mic"));
    EXPECT_EQ(scriptedPortAudio::initializations(), 2);
    EXPECT_EQ(log.count("[Info] Automatically refresh device list when adding device"), 1);
}

TEST_F(AudioRouterServiceTest, RefreshReinitialisesPortAudio) {
    startWith({});
    EXPECT_TRUE(service.RefreshDevices());
    ASSERT_TRUE(awaitLog("Device refresh request: reinitialize PortAudio to update device list"));
    EXPECT_TRUE(await([] { return scriptedPortAudio::initializations() == 2; }));
}

TEST_F(AudioRouterServiceTest, OutputDeviceIsChangedByTheWorker) {
    startWith({});
    EXPECT_EQ(service.GetOutputDevice(), "VEXO Output");
    EXPECT_TRUE(service.SetOutputDevice("Speakers"));
    EXPECT_TRUE(await([this] { return service.GetOutputDevice() == "Speakers"; }));
    EXPECT_EQ(log.count("Output device change request: Speakers"), 1);
}

TEST_F(AudioRouterServiceTest, RateOfZeroIsRefused) {
    startWith({});
    EXPECT_FALSE(service.SetSampleRate(0.0));
    EXPECT_FALSE(service.SetSampleRate(-44100.0));
}

TEST_F(AudioRouterServiceTest, RateWithinOneHertzChangesNothing) {
    scriptedPortAudio::setDevices({device("mic")});
    startWith({{"mic", 0, 0}});
    EXPECT_TRUE(service.SetSampleRate(48000.5));
    EXPECT_TRUE(service.SetSampleRate(48001.0));
    ASSERT_TRUE(awaitBlocks("mic", 10));
    EXPECT_EQ(log.count("Sample rate change request"), 0);
    EXPECT_EQ(service.GetSampleRate(), 48000.0);
}

TEST_F(AudioRouterServiceTest, InfiniteRateIsTakenOnceAndOtherRequestsAreStillHonoured) {
    startWith({});
    EXPECT_TRUE(service.SetSampleRate(std::numeric_limits<double>::infinity()));
    ASSERT_TRUE(await([this] { return log.count("Sample rate change request") == 1; }));
    EXPECT_TRUE(service.RemoveInputDevice("nobody"));
    ASSERT_TRUE(await([this] { return log.count("Remove device request: nobody") == 1; }));
    EXPECT_EQ(log.count("Sample rate change request"), 1);
    EXPECT_FALSE(service.SetSampleRate(std::numeric_limits<double>::quiet_NaN()));
}

TEST_F(AudioRouterServiceTest, InfiniteRateOfADeviceThatTakesItReachesTheMixerAsTheLargest) {
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

TEST_F(AudioRouterServiceTest, NewRateReinitialisesAndOpensTheStreamsWithIt) {
    scriptedPortAudio::setDevices({device("mic")});
    startWith({{"mic", 0, 0}});
    EXPECT_TRUE(service.SetSampleRate(96000.0));
    ASSERT_TRUE(await([] { return scriptedPortAudio::opens() == 2; }));
    EXPECT_EQ(scriptedPortAudio::openedWith().back(), "mic 2 96000 256 1 0.008");
    EXPECT_EQ(service.GetSampleRate(), 96000.0);
    EXPECT_EQ(log.count("Sample rate change request: 96000 Hz"), 1);
    EXPECT_EQ(log.count("[Info] Automatically refresh device list when changing sample rate"), 1);
}

TEST_F(AudioRouterServiceTest, DeviceOf44100HzOnlyIsRebuiltOnEveryPassWhile48000IsAskedFor) {
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

TEST_F(AudioRouterServiceTest, OneInputThatFailedToOpenSilencesAll) {
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

TEST_F(AudioRouterServiceTest, BlockOfIndexZeroPassesTheCallbackBeforeItReachesTheMixer) {
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

TEST_F(AudioRouterServiceTest, FormatOfIndexZeroIsToldWhereItsStreamOpensBeforeItsFirstBlock) {
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
    ASSERT_TRUE(await([] { return callbackCalls > 0; }));
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

TEST_F(AudioRouterServiceTest, BlockOfIndexOneNeverMeetsTheCallback) {
    callbackCalls = 0;
    scriptedPortAudio::setDevices({device("mic")});
    listenTo(1);
    service.SetAudioCallback(quarter);
    startWith({{"mic", 0, 1}});
    ASSERT_TRUE(await([this] { return nextOfBus1() == 0.5f; }));
    EXPECT_EQ(callbackCalls, 0);
}

TEST_F(AudioRouterServiceTest, InputWithoutIndexIsReadButNeitherFilteredNorForwarded) {
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

TEST_F(AudioRouterServiceTest, MonoInputReachesBothSides) {
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

TEST_F(AudioRouterServiceTest, OverflowIsSurvivedWithoutAMessage) {
    scriptedPortAudio::setDevices({device("mic")});
    scriptedPortAudio::fail(Call::ReadStream, paInputOverflowed);
    listenTo(0);
    startWith({{"mic", 0, 0}});
    const qsizetype before = log.lines().size();
    ASSERT_TRUE(awaitBlocks("mic", 10));
    EXPECT_TRUE(hasRing(0));
    EXPECT_EQ(log.lines().size(), before);
}

TEST_F(AudioRouterServiceTest, FailedReadHandsNothingOverAndRefreshes) {
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

TEST_F(AudioRouterServiceTest, InactiveStreamIsLoggedAndRebuilt) {
    scriptedPortAudio::setDevices({device("mic")});
    startWith({{"mic", 0, 0}});
    ASSERT_TRUE(awaitBlocks("mic"));
    scriptedPortAudio::fail(Call::IsStreamActive, 0, 1);
    ASSERT_TRUE(await([this] { return log.count("inactive detected") == 1; }));
    EXPECT_TRUE(await([] { return scriptedPortAudio::opens() == 2; }));
    EXPECT_TRUE(awaitBlocks("mic"));
}

TEST_F(AudioRouterServiceTest, EachKindOfInactiveStreamHasItsLine) {
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

TEST_F(AudioRouterServiceTest, UnpluggedDeviceDropsOutStaysConfiguredAndComesBackAtTheNextRebuild) {
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

TEST_F(AudioRouterServiceTest, InputThatDoesNotOpenIsMissingUntilItIsRemoved) {
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

TEST_F(AudioRouterServiceTest, GoneDeviceIsRefreshedOnceAndNotForEver) {
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

TEST_F(AudioRouterServiceTest, OpenWithoutAHandleIsRetriedAfterAnAddition) {
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

TEST_F(AudioRouterServiceTest, FailedReinitialisationEndsTheWorkerWhileTheServiceStaysRunning) {
    startWith({});
    scriptedPortAudio::fail(Call::Initialize, -9999);
    EXPECT_TRUE(service.AddInputDevice("mic", 0, 0));
    ASSERT_TRUE(awaitLog("Audio routing service stopped"));
    EXPECT_EQ(log.count("[Error] Finally unable to reinitialize PortAudio, service will stop"), 1);
    EXPECT_EQ(log.count("Failed to reopen streams"), 1);
    EXPECT_TRUE(service.IsRunning());
    EXPECT_TRUE(service.AddInputDevice("mic 2", 0, 1));
    EXPECT_FALSE(service.Start({}));
    scriptedPortAudio::recover(Call::Initialize);
    EXPECT_TRUE(service.Restart());
    EXPECT_TRUE(awaitLog("Audio routing service started", 2));
}

TEST_F(AudioRouterServiceTest, FailedInitialisationEndsTheWorkerAtOnce) {
    scriptedPortAudio::fail(Call::Initialize, -9999);
    scriptedPortAudio::setErrorText(-9999, "no host");
    ASSERT_TRUE(service.Start({}));
    ASSERT_TRUE(awaitLog("PortAudio initialization failed: no host"));
    EXPECT_TRUE(service.IsRunning());
    scriptedPortAudio::recover(Call::Initialize);
    service.Stop();
    EXPECT_TRUE(service.Start({}));
    EXPECT_TRUE(awaitLog("Audio routing service started"));
}

TEST_F(AudioRouterServiceTest, RestartKeepsTheInputsAndWorksFromTheStoppedState) {
    scriptedPortAudio::setDevices({device("mic")});
    startWith({});
    EXPECT_TRUE(service.AddInputDevice("mic", 0, 0));
    ASSERT_TRUE(awaitBlocks("mic"));
    service.Stop();
    EXPECT_TRUE(service.Restart());
    EXPECT_TRUE(service.IsRunning());
    EXPECT_EQ(service.GetInputDevices().size(), 1U);
    EXPECT_TRUE(awaitBlocks("mic"));
}

TEST_F(AudioRouterServiceTest, DeviceListHoldsOnlyDevicesOfThePreferredHostAndTheWantedDirection) {
    Device alsaOutput = device("alsa out", 0);
    alsaOutput.maxOutputChannels = 2;
    Device output = device("out", 0);
    output.hostApi = paWASAPI;
    output.maxOutputChannels = 2;
    Device input = device("in");
    input.hostApi = paWASAPI;
    Device nameless = input;
    nameless.nullName = true;
    scriptedPortAudio::setDevices({alsaOutput, output, input, nameless});

    const std::vector<AudioDeviceEntry> outputs = service.GetDeviceList(2);
    ASSERT_EQ(outputs.size(), 1U);
    EXPECT_EQ(outputs[0].index, 1);
    EXPECT_EQ(outputs[0].name, "out");
    EXPECT_EQ(outputs[0].hostApi, "Windows WASAPI");
    EXPECT_EQ(outputs[0].maxOutputChannels, 2);
    EXPECT_EQ(outputs[0].defaultSampleRate, 48000.0);
    EXPECT_TRUE(outputs[0].isOutput);
    EXPECT_FALSE(outputs[0].isInput);
    const std::vector<AudioDeviceEntry> inputs = service.GetDeviceList(1);
    ASSERT_EQ(inputs.size(), 2U);
    EXPECT_EQ(inputs[1].name, "(null)");
    EXPECT_EQ(service.GetDeviceList(0).size(), 3U);
    EXPECT_EQ(service.GetDeviceList(9).size(), 3U);
    EXPECT_FALSE(scriptedPortAudio::initialized()) << "a stopped service lets PortAudio go again";
}

TEST_F(AudioRouterServiceTest, DeviceListIsEmptyWhenPortAudioFails) {
    scriptedPortAudio::fail(Call::Initialize, -9999);
    EXPECT_TRUE(service.GetDeviceList(0).empty());
}
