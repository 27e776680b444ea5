// The service's operations: what they accept, and what becomes of it.

#include "audio/capture/AudioRouterService.h"
#include "tests/unit/audio/capture/CaptureFixture.h"

#include <atomic>
#include <limits>
#include <memory>
#include <thread>

namespace {

class AudioRouterServiceTest : public CaptureFixture {};

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

TEST_F(AudioRouterServiceTest, DeviceListIsReadSafelyWhileTheWorkerMakesItAnew) {
    Device input = device("in");
    input.hostApi = paWASAPI;
    scriptedPortAudio::setDevices({input});
    startWith({});
    for (int round = 1; round <= 50; ++round) {
        EXPECT_TRUE(service.RefreshDevices());
        while (scriptedPortAudio::initializations() <= round) {
            for (const AudioDeviceEntry& entry : service.GetDeviceList(1)) {
                ASSERT_EQ(entry.name, "in");
            }
        }
    }
}
