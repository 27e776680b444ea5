#include "audio/capture/AudioRouterState.h"
#include "audio/capture/InputStreamSet.h"
#include "tests/unit/audio/capture/CaptureFixture.h"

#include <chrono>

namespace {

using namespace std::chrono_literals;

/// The stream set by itself, on an initialised PortAudio, without a worker.
class InputStreamSetTest : public CaptureFixture {
protected:
    void SetUp() override {
        CaptureFixture::SetUp();
        state.pause = shortPause();
    }

    void initializeWith(const std::vector<Device>& devices) {
        scriptedPortAudio::setDevices(devices);
        ASSERT_EQ(soundInputs.initialise(), kInputDone);
    }

    void TearDown() override {
        closeStreams(streams);
        soundInputs.terminate();
        CaptureFixture::TearDown();
    }

    std::int32_t find(const std::string& name, bool forOutput) {
        return findDevice(soundInputs.devices(), name, forOutput);
    }

    bool rebuild(const std::vector<InputDeviceRequest>& inputs, bool reinitialise = false) {
        state.config.inputs = inputs;
        state.sampleRate = 48000.0;
        return rebuildStreams(streams, reinitialise);
    }

    AudioRouterState state;
    SoundInputs& soundInputs = systemSoundInputs();
    InputStreamSet streams{state, soundInputs, {}, {}};
};

constexpr int kDeviceGone = -9999;

} // namespace

TEST_F(InputStreamSetTest, NameDefaultFindsTheDefaultDevicesOfBothDirections) {
    initializeWith({device("a"), device("b"), device("c")});
    scriptedPortAudio::setDefaultDevices(2, 1);
    EXPECT_EQ(find("Default", false), 2);
    EXPECT_EQ(find("DEFAULT", true), 1);
}

TEST_F(InputStreamSetTest, RequestNamedDefaultOpensTheDefaultInputAndItsSlotKeepsTheName) {
    initializeWith({device("first"), device("second")});
    scriptedPortAudio::setDefaultDevices(1, -1);
    ASSERT_TRUE(rebuild({{"Default", 0, 0}}));
    ASSERT_EQ(streams.inputSlots.size(), 1U);
    EXPECT_EQ(streams.inputSlots[0].name, "Default");
    EXPECT_EQ(streams.inputSlots[0].deviceIndex, 1);
    EXPECT_NE(streams.inputSlots[0].stream, nullptr);
}

TEST_F(InputStreamSetTest, WasapiDeviceWinsOverAnEarlierOneOfAnotherHost) {
    std::vector<Device> devices(8, device("other"));
    devices[3] = device("USB Mic (ALSA)");
    devices[7] = device("Mic of WASAPI");
    devices[7].hostApi = paWASAPI;
    initializeWith(devices);
    EXPECT_EQ(find("mic", false), 7);
}

TEST_F(InputStreamSetTest, FirstMatchServesWhereNoWasapiDeviceHoldsTheName) {
    Device elsewhere = device("speakers");
    elsewhere.hostApi = paWASAPI;
    initializeWith({elsewhere, device("usb MIC a"), device("usb mic b")});
    EXPECT_EQ(find("Mic", false), 1);
}

TEST_F(InputStreamSetTest, LowestIndexWinsAmongWasapiDevices) {
    Device wasapi = device("VEXO Voxmic M40");
    wasapi.hostApi = paWASAPI;
    initializeWith({device("VEXO Voxmic M40"), wasapi, wasapi});
    EXPECT_EQ(find("voxmic", false), 1);
}

TEST_F(InputStreamSetTest, ProductNameFindsTheLongerNameThatHoldsIt) {
    initializeWith({device("Microphone (VEXO Voxmic M40)")});
    EXPECT_EQ(find("VEXO Voxmic M40", false), 0);
    EXPECT_EQ(find("VEXO Voxmic M41", false), -1);
}

TEST_F(InputStreamSetTest, OnlyAsciiLettersAreLowered) {
    initializeWith({device("Mikrofon ÄÖ 麦克风")});
    EXPECT_EQ(find("MIKROFON ÄÖ 麦克风", false), 0);
    EXPECT_EQ(find("mikrofon äö", false), -1);
}

TEST_F(InputStreamSetTest, DevicesWithoutARecordOrAChannelInTheDirectionAreSkipped) {
    Device gone = device("mic");
    gone.noRecord = true;
    Device speaker = device("mic speaker", 0);
    speaker.maxOutputChannels = 2;
    Device nameless = device("mic");
    nameless.nullName = true;
    initializeWith({gone, speaker, nameless, device("mic")});
    EXPECT_EQ(find("mic", false), 3);
    EXPECT_EQ(find("mic", true), 1);
}

TEST_F(InputStreamSetTest, NoDeviceIsFoundBeforePortAudioIsInitialised) {
    scriptedPortAudio::setDevices({device("mic")});
    EXPECT_EQ(find("mic", false), -1);
}

TEST(ChosenChannels, AutomaticTakesOneOfAMonoDeviceAndTwoOfASixChannelDevice) {
    EXPECT_EQ(chosenChannels(0, 1), 1);
    EXPECT_EQ(chosenChannels(0, 6), 2);
    EXPECT_EQ(chosenChannels(-3, 6), 2);
}

TEST_F(InputStreamSetTest, EightChannelsOfAStereoDeviceAreCutToTwoWithoutAMessage) {
    initializeWith({device("mic")});
    ASSERT_TRUE(rebuild({{"mic", 8, 0}}));
    EXPECT_EQ(streams.inputSlots[0].channels, 2);
    EXPECT_EQ(log.count("hannel"), 0);
}

TEST(OutputChannelPlan, IndexesOneAndNone) {
    std::vector<InputStreamSlot> inputSlots(2);
    inputSlots[0].index = 1;
    EXPECT_EQ(planOutputChannels(inputSlots), 6);
    EXPECT_EQ(inputSlots[0].baseChannel, 2);
    EXPECT_EQ(inputSlots[1].baseChannel, 4);
}

TEST(OutputChannelPlan, AllWithoutIndexFollowEachOther) {
    std::vector<InputStreamSlot> inputSlots(3);
    EXPECT_EQ(planOutputChannels(inputSlots), 6);
    EXPECT_EQ(inputSlots[0].baseChannel, 0);
    EXPECT_EQ(inputSlots[1].baseChannel, 2);
    EXPECT_EQ(inputSlots[2].baseChannel, 4);
}

TEST(OutputChannelPlan, NoSlotsNeedNoChannels) {
    std::vector<InputStreamSlot> none;
    EXPECT_EQ(planOutputChannels(none), 0);
}

TEST_F(InputStreamSetTest, StreamsAreBlockingFloatAtTheDevicesLowLatencyWithoutClipping) {
    initializeWith({device("mic")});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
    EXPECT_EQ(scriptedPortAudio::openedWith(), std::vector<std::string>{"mic 2 48000 256 1 0.008"});
    EXPECT_EQ(streams.inputSlots[0].buffer, std::vector<float>(512, 0.0f));
}

TEST_F(InputStreamSetTest, MissingInputIsLoggedAndLeftOutWhileTheOthersOpen) {
    initializeWith({device("b")});
    ASSERT_TRUE(rebuild({{"a", 0, 0}, {"b", 0, 1}}));
    ASSERT_EQ(streams.inputSlots.size(), 1U);
    EXPECT_EQ(streams.inputSlots[0].name, "b");
    EXPECT_EQ(log.count("Input device not found: a"), 1);
    EXPECT_EQ(state.config.inputs.size(), 2U);
}

TEST_F(InputStreamSetTest, NoInputAtAllIsNoFailure) {
    initializeWith({});
    ASSERT_TRUE(rebuild({}));
    EXPECT_EQ(
        log.texts(QtDebugMsg),
        (QStringList{
            "No available input devices (will keep running to wait for subsequent addition/replacement)",
            "[Info] Windows platform: output stream disabled, only recording from microphone",
            "Currently no successfully opened input streams (will keep running to wait for subsequent "
            "addition/replacement)",
            "Audio stream initialized, sample rate: 48000 Hz (Windows: input only, no output stream)"}));
}

TEST_F(InputStreamSetTest, MissingOutputDeviceIsLogged) {
    initializeWith({device("mic")});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
    EXPECT_EQ(streams.outputDeviceIndex, -1);
    EXPECT_EQ(
        log.count(
            "Output device not found: VEXO Output (will keep running to wait for subsequent correction)"),
        1);
}

TEST_F(InputStreamSetTest, OutputDeviceOfThePlanIsFound) {
    Device output = device("VEXO Output", 0);
    output.maxOutputChannels = 2;
    initializeWith({device("mic"), output});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
    EXPECT_EQ(streams.outputDeviceIndex, 1);
    EXPECT_EQ(streams.outputStream, nullptr);
    EXPECT_EQ(log.count("Output device not found"), 0);
}

TEST_F(InputStreamSetTest, DeviceOf44100HzOnlyOpensAtItsOwnRateAndSetsTheServices) {
    Device slow = device("mic");
    slow.sampleRates = {44100.0};
    slow.defaultSampleRate = 44100.0;
    initializeWith({slow});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
    EXPECT_EQ(streams.currentRate, 44100.0);
    EXPECT_EQ(state.sampleRate, 44100.0);
    EXPECT_EQ(log.count("[Info] Device mic does not support sample rate 48000 Hz, automatically using device "
                        "default sample rate 44100 Hz"),
              1);
    EXPECT_EQ(log.count("[Info] Actual sample rate used: 44100 Hz (device default sample rate)"), 1);
    EXPECT_EQ(log.count("Audio stream initialized, sample rate: 44100 Hz"), 1);
}

TEST_F(InputStreamSetTest, RateOfAFirstInputThatThenFailsToOpenIsAskedOfTheNext) {
    Device slow = device("slow");
    slow.sampleRates = {44100.0};
    slow.defaultSampleRate = 44100.0;
    initializeWith({slow, device("fast")});
    scriptedPortAudio::fail(Call::OpenStream, -9985, -1, "slow");
    ASSERT_TRUE(rebuild({{"slow", 0, 0}, {"fast", 0, 1}}));
    EXPECT_EQ(scriptedPortAudio::openedWith().back(), "fast 2 44100 256 1 0.008");
    EXPECT_EQ(state.sampleRate, 44100.0);
    EXPECT_EQ(streams.currentRate, 48000.0);
    EXPECT_EQ(log.count("Actual sample rate used"), 0);
}

TEST_F(InputStreamSetTest, LastDeviatingInputWins) {
    Device slow = device("slow");
    slow.sampleRates = {44100.0};
    slow.defaultSampleRate = 44100.0;
    initializeWith({device("fast"), slow});
    ASSERT_TRUE(rebuild({{"fast", 0, 0}, {"slow", 0, 1}}));
    EXPECT_EQ(state.sampleRate, 44100.0);
    EXPECT_EQ(streams.currentRate, 44100.0);
    EXPECT_EQ(log.count("[Warning] Device slow using different sample rate 44100 Hz, may not match system"),
              1);
}

TEST_F(InputStreamSetTest, FormatCheckErrorOtherThanTheRateIsLoggedAndTheOpenTried) {
    scriptedPortAudio::fail(Call::IsFormatSupported, -9994);
    scriptedPortAudio::setErrorText(-9994, "Sample format not supported");
    initializeWith({device("mic")});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
    EXPECT_NE(streams.inputSlots[0].stream, nullptr);
    EXPECT_EQ(log.count("[Warning] Warning when checking device format: Sample format not supported"), 1);
}

TEST_F(InputStreamSetTest, FailedOpenLeavesASlotWithoutStreamAndDevice) {
    scriptedPortAudio::fail(Call::OpenStream, -9985);
    scriptedPortAudio::setErrorText(-9985, "Device unavailable");
    initializeWith({device("mic")});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
    ASSERT_EQ(streams.inputSlots.size(), 1U);
    EXPECT_EQ(streams.inputSlots[0].stream, nullptr);
    EXPECT_EQ(streams.inputSlots[0].deviceIndex, -1);
    EXPECT_EQ(log.count("Failed to open input stream (mic): Failed to open input stream: Device unavailable "
                        "(device index: 0) (skipping this input)"),
              1);
    EXPECT_FALSE(state.refreshRequested);
}

TEST_F(InputStreamSetTest, StreamThatDoesNotStartIsClosed) {
    scriptedPortAudio::fail(Call::StartStream, kDeviceGone);
    scriptedPortAudio::setErrorText(kDeviceGone, "Unanticipated host error");
    initializeWith({device("mic")});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
    EXPECT_EQ(scriptedPortAudio::openStreams(), 0);
    EXPECT_EQ(log.count("Failed to start input stream: Unanticipated host error"), 1);
}

TEST_F(InputStreamSetTest, EachMarkOfAGoneDeviceAsksForARefresh) {
    for (const char* text : {"PaErrorCode -10851", "Internal PortAudio error", "Invalid Property Value"}) {
        SCOPED_TRACE(text);
        scriptedPortAudio::reset();
        state.refreshRequested = false;
        scriptedPortAudio::fail(Call::OpenStream, kDeviceGone);
        scriptedPortAudio::setErrorText(kDeviceGone, text);
        initializeWith({device("mic")});
        ASSERT_TRUE(rebuild({{"mic", 0, 0}}));
        EXPECT_TRUE(state.refreshRequested);
        soundInputs.terminate();
    }
    EXPECT_EQ(
        log.count(
            "[Info] Device-related error detected, will automatically refresh device list in next loop"),
        3);
    ASSERT_EQ(soundInputs.initialise(), kInputDone);
}

TEST_F(InputStreamSetTest, GoneDeviceOnAFreshStartAsksForNoRefresh) {
    scriptedPortAudio::fail(Call::OpenStream, kDeviceGone);
    scriptedPortAudio::setErrorText(kDeviceGone, "PaErrorCode -10851");
    initializeWith({device("mic")});
    ASSERT_TRUE(rebuild({{"mic", 0, 0}}, true));
    EXPECT_FALSE(state.refreshRequested);
    EXPECT_EQ(log.count("Device-related error detected"), 0);
}

TEST_F(InputStreamSetTest, DeviceThatVanishesBetweenListingAndOpeningIsSearchedThreeTimes) {
    initializeWith({device("other")});
    InputStreamSlot slot;
    slot.name = "mic";
    double rate = 48000.0;
    try {
        static_cast<void>(openInputStream(streams, slot, rate));
        FAIL() << "no exception";
    } catch (const std::exception& failure) {
        EXPECT_STREQ(failure.what(), "Unable to find input device: mic");
    }
    EXPECT_EQ(pauses(), (std::vector{100ms, 100ms})) << "before the second and the third search";
}

TEST_F(InputStreamSetTest, DefaultDeviceWithoutInputChannelsIsNoInputDevice) {
    initializeWith({device("speakers", 0)});
    scriptedPortAudio::setDefaultDevices(0, 0);
    ASSERT_TRUE(rebuild({{"default", 0, 0}}));
    EXPECT_EQ(log.count("Device is not a valid input device: default"), 1);
}

TEST_F(InputStreamSetTest, StreamsStopInOrderBeforeTheFirstIsClosed) {
    initializeWith({device("a"), device("b")});
    ASSERT_TRUE(rebuild({{"a", 0, 0}, {"b", 0, 1}}));
    closeStreams(streams);
    EXPECT_EQ(scriptedPortAudio::streamCalls(),
              (std::vector<std::string>{"open a", "start a", "open b", "start b", "stop a", "stop b",
                                        "close a", "close b"}));
    EXPECT_EQ(streams.inputSlots[0].stream, nullptr);
}

TEST(PauseThread, WaitsAtLeastAsLongAsAskedFor) {
    const auto startedAt = std::chrono::steady_clock::now();
    pauseThread(5ms);
    EXPECT_GE(std::chrono::steady_clock::now() - startedAt, 5ms);
}

TEST_F(InputStreamSetTest, EveryRebuildOpensAllStreamsAnew) {
    initializeWith({device("a"), device("b")});
    ASSERT_TRUE(rebuild({{"a", 0, 0}}));
    ASSERT_TRUE(rebuild({{"a", 0, 0}, {"b", 0, 1}}));
    EXPECT_EQ(scriptedPortAudio::opens(), 3);
    EXPECT_EQ(scriptedPortAudio::openStreams(), 2);
}

TEST_F(InputStreamSetTest, ReinitialisationIsTriedThreeTimes) {
    initializeWith({device("mic")});
    scriptedPortAudio::fail(Call::Initialize, -9999, 2);
    scriptedPortAudio::setErrorText(-9999, "no host");
    EXPECT_TRUE(rebuild({}, true));
    EXPECT_EQ(pauses(), (std::vector{10ms, 100ms, 100ms, 200ms}))
        << "between stopping and closing streams, and before each attempt";
    EXPECT_EQ(scriptedPortAudio::initializations(), 4);
    EXPECT_EQ(log.count("[Warning] Failed to reinitialize PortAudio: no host, retrying..."), 1);
    EXPECT_EQ(log.count("[Error] Unable to reinitialize PortAudio: no host"), 1);
    EXPECT_EQ(log.count("Finally"), 0);
}

TEST_F(InputStreamSetTest, TerminationErrorOtherThanNotInitializedIsLogged) {
    initializeWith({});
    scriptedPortAudio::fail(Call::Terminate, -9986);
    scriptedPortAudio::setErrorText(-9986, "host in a huff");
    EXPECT_TRUE(rebuild({}, true));
    EXPECT_EQ(log.count("[Warning] Warning when terminating PortAudio: host in a huff"), 1);
    scriptedPortAudio::recover(Call::Terminate);
    soundInputs.terminate();
    log.clear();
    EXPECT_TRUE(rebuild({}, true));
    EXPECT_EQ(log.count("terminating"), 0);
}
