#include "mixer/InputBuffer.h"
#include "mixer/router/AudioRouterAPI.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/mixer/router/AudioRouterApiFixture.h"
#include "tests/unit/mixer/router/ShutdownAtEnd.h"

#include <QString>

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <memory>
#include <stdexcept>

namespace {

QVariantMap record(std::uint32_t processID) {
    return {{QStringLiteral("processID"), processID}};
}

bool silent(PerAppInputBuffers& buffers, std::uint32_t processID) {
    const auto ring = buffers.getInputBuffer(processID, 1);
    return ring->writePos == 0 && ring->levelLeft == 0.0f;
}

} // namespace

// Start

TEST_F(AudioRouterApiTest, DriftIsCorrectedWhereTheSystemSaysSo) {
    constexpr std::size_t kFrames = 480;
    constexpr std::uint32_t kBlocks = 1'500;
    for (const bool corrects : {false, true}) {
        system.correctsDrift = corrects;
        AudioRouterAPI router(system.platform(), store, buffers, kShortPause);
        ASSERT_TRUE(router.startAudioRouter({}, {}, {}, {}));
        ASSERT_TRUE(router.applyAudioConfigs({onBothBuses(7)}));
        feed(7, constant(10 * kFrames, 0.5f, 0.5f)); // more than a reader begins with
        for (std::uint32_t block = 0; block < kBlocks; ++block) {
            static_cast<void>(bus(1, kFrames));
            feed(7, constant(kFrames, 0.5f, 0.5f));
        }
        const std::size_t exact = kBlocks * kFrames % InputBuffer::kFrameCount;
        const std::uint32_t read = buffers.getInputBuffer(7, 1)->busReadPos / 2;
        if (corrects) {
            EXPECT_GT(read, exact + 50);
        } else {
            EXPECT_EQ(read, exact);
        }
        router.shutdownAudioRouter();
    }
}

TEST_F(AudioRouterApiTest, InitSaysOnTheQtLoggerWhatCameOfIt) {
    LogCapture qtLog;
    api.initAudioRouter();
    EXPECT_TRUE(api.isAudioRouterRunning());
    EXPECT_EQ(qtLog.texts(QtDebugMsg),
              (QStringList{QStringLiteral("[INFO] Attempting to initialize AudioRouterAPI..."),
                           QStringLiteral("[INFO] AudioRouterAPI initialized successfully")}));
    EXPECT_TRUE(qtLog.texts(QtCriticalMsg).isEmpty());
}

TEST_F(AudioRouterApiTest, InitThatFailsLeavesTheRouterStopped) {
    system.sessionEntry = SessionEntry::Refused;
    LogCapture qtLog;
    api.initAudioRouter();
    EXPECT_FALSE(api.isAudioRouterRunning());
    EXPECT_EQ(qtLog.texts(QtCriticalMsg),
              (QStringList{QStringLiteral("[ERROR] Failed to initialize AudioRouterAPI")}));
    EXPECT_EQ(system.journal.take(), (Calls{"session.enter"}));
    EXPECT_TRUE(log.take().empty());
}

TEST_F(AudioRouterApiTest, ASecondStartWhileRunningChangesNothing) {
    startQuietly();
    EXPECT_FALSE(api.startAudioRouter("a", "b", "c", "d"));
    EXPECT_TRUE(api.isAudioRouterRunning());
    EXPECT_TRUE(system.journal.take().empty());
    EXPECT_TRUE(log.take().empty());
}

TEST_F(AudioRouterApiTest, AThreadInAnotherKindOfSessionIsNoFailureAndIsNotTakenOutOfIt) {
    system.sessionEntry = SessionEntry::Foreign;
    start();
    api.shutdownAudioRouter();
    EXPECT_EQ(system.journal.take(), (Calls{"session.enter"}));
}

TEST_F(AudioRouterApiTest, AThreadThatWasInTheSessionBeforeIsNotTakenOutOfIt) {
    system.sessionEntry = SessionEntry::Again;
    start();
    api.shutdownAudioRouter();
    EXPECT_EQ(system.journal.take(), (Calls{"session.enter"}));
}

TEST_F(AudioRouterApiTest, TheSessionIsLeftOnceAtShutdown) {
    start();
    api.shutdownAudioRouter();
    api.shutdownAudioRouter();
    EXPECT_EQ(system.journal.take(), (Calls{"session.enter", "session.leave"}));
}

TEST_F(AudioRouterApiTest, AStartThatThrowsLeavesTheSessionAndTheNextStartRuns) {
    endpoints.add(kRender, fakeEndpoint("Headset", "usb#1"));
    for (const SessionEntry entered : {SessionEntry::Entered, SessionEntry::Again, SessionEntry::Foreign}) {
        SCOPED_TRACE(static_cast<int>(entered));
        system.sessionEntry = entered;
        system.outputsThatThrow = {3};
        EXPECT_THROW(static_cast<void>(api.startAudioRouter({}, {}, {}, {})), std::runtime_error);
        EXPECT_FALSE(api.isAudioRouterRunning());
        // A session that this thread did not enter is not left.
        EXPECT_EQ(system.journal.take(), entered == SessionEntry::Foreign
                                             ? (Calls{"session.enter"})
                                             : (Calls{"session.enter", "session.leave"}));
        system.outputsThatThrow.clear();
        start();
        api.shutdownAudioRouter();
        static_cast<void>(system.journal.take());
    }
}

TEST_F(AudioRouterApiTest, SoloPlaysToTheFirstRealOutputWhenNoneIsNamed) {
    endpoints.add(kRender, fakeEndpoint("Headset", "usb#1"));
    start();
    const Lines lines = log.take();
    EXPECT_EQ((Lines{lines.end() - 7, lines.end()}),
              (Lines{"[INFO] Found real hardware device: Headset (External, usb#1)",
                     "[INFO] Auto-selected first real hardware device for Solo output.",
                     "[INFO] Solo device GUID set: usb#1",
                     "[INFO] Input2 device GUID/Name is empty, Input2 forwarding will be disabled",
                     "[BusForwarder] Found device by GUID: Headset",
                     "[BusForwarder] Bus3 using device: Headset (Output) (ClassGuid: usb#1)",
                     "[BusForwarder] Solo thread started successfully."}));
    EXPECT_NE(system.outputOf(3), nullptr);
}

TEST_F(AudioRouterApiTest, ARestartIsWorthItOnceARealOutputHasComeForTheSoloThatIsOff) {
    EXPECT_FALSE(api.isSoloWorthARestart()) << "not started";
    start();
    EXPECT_FALSE(api.isSoloWorthARestart()) << "no output";
    endpoints.add(kRender, fakeEndpoint("Dummy Output", "auto_null", 0));
    EXPECT_FALSE(api.isSoloWorthARestart()) << "none that Solo plays to";
    endpoints.add(kRender, fakeEndpoint("Headset", "usb#1"));
    EXPECT_TRUE(api.isSoloWorthARestart());
    api.shutdownAudioRouter();
    start();
    EXPECT_FALSE(api.isSoloWorthARestart()) << "Solo is on";
    endpoints.add(kRender, fakeEndpoint("Speakers", "hdaudio#1"));
    EXPECT_FALSE(api.isSoloWorthARestart()) << "an output does not move";
}

TEST_F(AudioRouterApiTest, AVirtualDefaultIsTheFallbackForSoloAndIsNotFound) {
    endpoints.add(kRender, fakeEndpoint("Virtual Out", "{v}", 0));
    endpoints.defaultId = "{v}";
    start();
    const Lines lines = log.take();
    EXPECT_EQ((Lines{lines.end() - 8, lines.end()}),
              (Lines{"[WARNING] No real hardware device found among 1 devices.",
                     "[WARNING] No real hardware device found, trying default device as fallback...",
                     "[INFO] Using default device for Solo output: {v}", "[INFO] Solo device GUID set: {v}",
                     "[INFO] Input2 device GUID/Name is empty, Input2 forwarding will be disabled",
                     "[BusForwarder] Bus3: Device not found with GUID/Name: {v}",
                     "[BusForwarder] Bus3: Listing all available devices for debugging...",
                     "[BusForwarder] Failed to initialize Solo thread."}));
    EXPECT_TRUE(api.isAudioRouterRunning());
}

TEST_F(AudioRouterApiTest, WithNoEndpointAtAllTheRouterRunsWithoutOutput) {
    endpoints.failBothFlows(EnumerationStep::Enumerator);
    start();
    EXPECT_EQ(log.take(),
              (Lines{"[DEBUG] Failed to create device enumerator.",
                     "[WARNING] No real hardware device found, trying default device as fallback...",
                     "[ERROR] No devices available, Solo forwarding will be disabled.",
                     "[INFO] Input2 device GUID/Name is empty, Input2 forwarding will be disabled",
                     "[BusForwarder] Solo device GUID is empty, Solo forwarding disabled."}));
    EXPECT_TRUE(api.isAudioRouterRunning());
    EXPECT_TRUE(api.applyAudioConfigs({}));
}

TEST_F(AudioRouterApiTest, NamedOutputsAreResolvedAndPassedOn) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    endpoints.add(kRender, fakeEndpoint("Point A", "{a}", 0));
    endpoints.add(kRender, fakeEndpoint("Point B", "{b}", 0));
    ASSERT_TRUE(api.startAudioRouter("point", "speak", "point a", "{b}"));
    EXPECT_EQ(log.take(),
              (Lines{"[FindDeviceGuidByNameOrGuid] Found device by name: \"Point A\" -> GUID: {a}",
                     "[FindDeviceGuidByNameOrGuid] Found device by name: \"Speakers\" -> GUID: {spk}",
                     "[INFO] Solo device GUID set: {spk}",
                     "[FindDeviceGuidByNameOrGuid] Found device by name: \"Point A\" -> GUID: {a}",
                     "[INFO] Input1 device (name/GUID: point a) -> GUID: {a}",
                     "[INFO] Searching for Input2 device: {b}",
                     "[INFO] Input2 device found! (name/GUID: {b}) -> GUID: {b}",
                     "[INFO] Input2 device GUID set in BusForwarder: {b}",
                     "[BusForwarder] Found device by GUID: Point A",
                     "[BusForwarder] Bus1 using device: Point A (Output) (ClassGuid: {a})",
                     "[BusForwarder] Found device by GUID: Point B",
                     "[BusForwarder] Bus2 using device: Point B (Output) (ClassGuid: {b})",
                     "[BusForwarder] Found device by GUID: Speakers",
                     "[BusForwarder] Bus3 using device: Speakers (Output) (ClassGuid: {spk})",
                     "[BusForwarder] Solo thread started successfully."}));
}

TEST_F(AudioRouterApiTest, BusesWhoseDeviceIsNotFoundAreMixedButNotForwarded) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    ASSERT_TRUE(api.startAudioRouter({}, "{spk}", "speakers", "missing"));
    EXPECT_EQ(
        log.take(),
        (Lines{"[INFO] Solo device GUID set: {spk}",
               "[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: speakers",
               "[WARNING] Input1 device not found: speakers", "[INFO] Searching for Input2 device: missing",
               "[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: missing",
               "[ERROR] Input2 device not found: missing", "[ERROR] Input2 forwarding will be disabled",
               "[BusForwarder] Found device by GUID: Speakers",
               "[BusForwarder] Bus3 using device: Speakers (Output) (ClassGuid: {spk})",
               "[BusForwarder] Solo thread started successfully."}));
    EXPECT_EQ(system.outputOf(1), nullptr);
    EXPECT_EQ(system.outputOf(2), nullptr);
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
    feed(7, constant(4, 0.5f, 0.5f));
    EXPECT_EQ(bus(1, 4), constant(4, 0.5f, 0.5f));
}

TEST_F(AudioRouterApiTest, ABusWithAnIdThatNoEndpointHasStaysOffAndTheRouterGoesOn) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    endpoints.add(kRender, fakeEndpoint("Point B", "{b}", 0));
    ASSERT_TRUE(api.startAudioRouter({}, {}, "{gone}", "{b}"));
    EXPECT_TRUE(log.contains("[INFO] Input1 device (name/GUID: {gone}) -> GUID: {gone}"));
    EXPECT_TRUE(log.contains("[BusForwarder] Bus1: Device not found with GUID/Name: {gone}"));
    EXPECT_TRUE(api.isAudioRouterRunning());
    EXPECT_EQ(system.outputOf(1), nullptr);
    EXPECT_NE(system.outputOf(2), nullptr);
    EXPECT_NE(system.outputOf(3), nullptr);
    EXPECT_TRUE(api.applyAudioConfigs({onBothBuses(20)}));
}

TEST_F(AudioRouterApiTest, NamesOfAnEarlierStartDoNotHoldForTheNext) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    endpoints.add(kRender, fakeEndpoint("Point A", "{a}", 0));
    endpoints.add(kRender, fakeEndpoint("Point B", "{b}", 0));
    ASSERT_TRUE(api.startAudioRouter({}, "{spk}", "{a}", "{b}"));
    EXPECT_EQ(system.outputs.size(), 3u);
    api.shutdownAudioRouter();
    start();
    EXPECT_EQ(system.outputOf(1), nullptr);
    EXPECT_EQ(system.outputOf(2), nullptr);
    EXPECT_NE(system.outputOf(3), nullptr); // the first real one
    api.shutdownAudioRouter();
    endpoints.failBothFlows(EnumerationStep::Enumerator); // which now cannot be found
    start();
    EXPECT_EQ(log.take().back(), "[BusForwarder] Solo device GUID is empty, Solo forwarding disabled.");
}

TEST_F(AudioRouterApiTest, ASoloDeviceThatIsNotFoundFallsBackToTheFirstRealOne) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    ASSERT_TRUE(api.startAudioRouter({}, "missing", {}, {}));
    EXPECT_TRUE(log.contains("[FindDeviceGuidByNameOrGuid] Device not found by name/GUID: missing"));
    EXPECT_TRUE(log.contains("[INFO] Auto-selected first real hardware device for Solo output."));
}

TEST_F(AudioRouterApiTest, Input2WithoutANamePlaysIntoTheLiveEndpointWhereTheSystemHasOne) {
    endpoints.live = std::make_shared<const AudioEndpoint>(fakeEndpoint("Live Microphone", "live", 0));
    endpoints.failBothFlows(EnumerationStep::Enumerator); // it is not searched for
    start();
    EXPECT_NE(system.outputOf(2), nullptr);
    EXPECT_EQ(system.outputOf(1), nullptr);
    EXPECT_TRUE(log.contains("[INFO] Input2 plays into the virtual microphone: Live Microphone"));
    EXPECT_TRUE(log.contains("[BusForwarder] Bus2 using device: Live Microphone (Output) (ClassGuid: live)"));
    EXPECT_FALSE(log.contains("[INFO] Input2 device GUID/Name is empty, Input2 forwarding will be disabled"));
}

TEST_F(AudioRouterApiTest, ANamedInput2TakesThePlaceOfTheLiveEndpoint) {
    endpoints.live = std::make_shared<const AudioEndpoint>(fakeEndpoint("Live Microphone", "live", 0));
    endpoints.add(kRender, fakeEndpoint("Point B", "{b}", 0));
    start();
    api.shutdownAudioRouter();
    static_cast<void>(log.take());
    ASSERT_TRUE(api.startAudioRouter({}, {}, {}, "point b"));
    EXPECT_TRUE(log.contains("[BusForwarder] Bus2 using device: Point B (Output) (ClassGuid: {b})"));
    api.shutdownAudioRouter();
    ASSERT_TRUE(api.startAudioRouter({}, {}, {}, "missing"));
    EXPECT_TRUE(log.contains("[ERROR] Input2 forwarding will be disabled"));
    EXPECT_EQ(system.outputOf(2), nullptr);
}

// Apply

TEST_F(AudioRouterApiTest, SetAudioConfigBeforeAGoodStartDoesNothing) {
    api.setAudioConfig({record(4711)});
    EXPECT_FALSE(api.applyAudioConfigs({onBothBuses(4711)}));
    EXPECT_TRUE(store.allProcessIds().empty());
    EXPECT_TRUE(system.journal.take().empty());
}

TEST_F(AudioRouterApiTest, ANewProcessIsCapturedWithItsChildrenIntoTwentyMilliseconds) {
    startQuietly();
    api.setAudioConfig({record(4711)});
    EXPECT_EQ(system.journal.take(), (Calls{"capture4711.start tree 20 ms"}));
    EXPECT_EQ(log.take(), (Lines{"[INFO] Started capture for PID: 4711"}));
    EXPECT_TRUE(store.getConfig(4711).active);
}

TEST_F(AudioRouterApiTest, StreamsOfTheCaptureServiceAndMastersAreNotCaptured) {
    startQuietly();
    ASSERT_TRUE(
        api.applyAudioConfigs({onBothBuses(0), onBothBuses(7), onBothBuses(9),
                               onBothBuses(kBus1MasterProcessId), onBothBuses(kBus2MasterProcessId)}));
    EXPECT_TRUE(system.journal.take().empty());
    EXPECT_TRUE(log.take().empty());
    feed(7, constant(4, 0.5f, 0.5f));
    EXPECT_EQ(bus(1, 4), constant(4, 0.5f, 0.5f));
}

TEST_F(AudioRouterApiTest, TheSmallestProcessIdIsTen) {
    startQuietly();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(10), onBothBuses(0xFFFFFFFD)}));
    EXPECT_EQ(system.journal.take(),
              (Calls{"capture10.start tree 20 ms", "capture4294967293.start tree 20 ms"}));
    EXPECT_EQ(log.take(),
              (Lines{"[INFO] Started capture for PID: 10", "[INFO] Started capture for PID: 4294967293"}));
}

TEST_F(AudioRouterApiTest, AnUnchangedListStartsAndStopsNothing) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20), onBothBuses(21), onBothBuses(3)}));
    static_cast<void>(system.journal.take());
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20), onBothBuses(21), onBothBuses(3)}));
    EXPECT_TRUE(system.journal.take().empty());
}

TEST_F(AudioRouterApiTest, AChangeOfVolumeTouchesOnlyTheRecord) {
    startQuietly();
    AppAudioConfig config = onBothBuses(20);
    ASSERT_TRUE(api.applyAudioConfigs({config}));
    feed(20, constant(4, 0.5f, 0.5f));
    static_cast<void>(system.journal.take());
    config.input1Volume = 0.5f;
    ASSERT_TRUE(api.applyAudioConfigs({config}));
    EXPECT_TRUE(system.journal.take().empty());
    feed(20, constant(4, 0.5f, 0.5f));
    std::vector<float> expected = constant(4, 0.5f, 0.5f);
    const std::vector<float> quieter = constant(4, 0.25f, 0.25f);
    expected.insert(expected.end(), quieter.begin(), quieter.end());
    EXPECT_EQ(bus(1, 8), expected);
}

TEST_F(AudioRouterApiTest, ASourceThatIsLeftOutIsStoppedForgottenAndItsLatePacketsAreDropped) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20), onBothBuses(21)}));
    feed(20, constant(4, 0.5f, 0.5f));
    feed(21, constant(4, 0.25f, 0.25f));
    static_cast<void>(system.journal.take());
    static_cast<void>(log.take());
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(21)}));
    EXPECT_EQ(system.journal.take(), (Calls{"capture20.stop", "capture20.released"}));
    EXPECT_TRUE(log.take().empty());
    EXPECT_EQ(store.getConfig(20), inactiveAppAudioConfig());
    EXPECT_EQ(store.allProcessIds(), (std::vector<std::uint32_t>{20, 21}));
    feed(20, constant(4, 0.5f, 0.5f));
    EXPECT_TRUE(silent(buffers, 20));
    EXPECT_EQ(bus(1, 4), constant(4, 0.25f, 0.25f));
}

TEST_F(AudioRouterApiTest, AStreamThatIsLeftOutIsResetButKeepsItsRecord) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(3)}));
    feed(3, constant(4, 0.5f, 0.5f));
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(4)}));
    EXPECT_TRUE(silent(buffers, 3));
    EXPECT_TRUE(store.getConfig(3).active);
}

TEST_F(AudioRouterApiTest, AnEmptyListStopsEveryCaptureAndResetsEverySource) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(5), onBothBuses(20), onBothBuses(21)}));
    for (const std::uint32_t source : {5u, 20u, 21u}) {
        feed(source, constant(4, 0.5f, 0.5f));
    }
    static_cast<void>(system.journal.take());
    api.setAudioConfig({});
    EXPECT_EQ(system.journal.take(),
              (Calls{"capture20.stop", "capture20.released", "capture21.stop", "capture21.released"}));
    EXPECT_TRUE(silent(buffers, 5) && silent(buffers, 20) && silent(buffers, 21));
}

TEST_F(AudioRouterApiTest, ASourceThatIsLeftOutKeepsItsRingsAndNothingInThem) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(5)}));
    feed(5, constant(4, 0.5f, -0.5f));
    static_cast<void>(bus(1, 2));
    static_cast<void>(bus(2, 2));
    const std::array rings{buffers.getInputBuffer(5, 1), buffers.getInputBuffer(5, 2)};
    for (const auto& ring : rings) {
        EXPECT_EQ(ring->busReadPos, 4u);
        EXPECT_GT(ring->levelLeft, 0.0f);
        EXPECT_GT(ring->levelRight, 0.0f);
        ring->soloReadPos = 2; // as after a time of Solo
    }
    ASSERT_TRUE(api.applyAudioConfigs({}));
    for (std::uint32_t number = 1; number <= 2; ++number) {
        const auto& ring = rings[number - 1];
        EXPECT_EQ(buffers.getInputBuffer(5, number), ring);
        for (const auto& frame : ring->samples) {
            const StereoFrame sample = frame.load();
            ASSERT_TRUE(sample.left == 0.0f && sample.right == 0.0f) << "bus " << number;
        }
        EXPECT_EQ(ring->writePos, 0u);
        EXPECT_EQ(ring->busReadPos, 0u);
        EXPECT_EQ(ring->soloReadPos, 0u);
        EXPECT_EQ(ring->levelLeft, 0.0f);
        EXPECT_EQ(ring->levelRight, 0.0f);
    }
}

TEST_F(AudioRouterApiTest, TwoRecordsOfOneProcessGiveOneCaptureAndTheLastWins) {
    startQuietly();
    AppAudioConfig first = onBothBuses(20);
    AppAudioConfig last = onBothBuses(20);
    first.input1Volume = 0.1f;
    last.input1Volume = 0.9f;
    ASSERT_TRUE(api.applyAudioConfigs({first, last}));
    EXPECT_EQ(system.journal.take(), (Calls{"capture20.start tree 20 ms"}));
    EXPECT_EQ(store.getConfig(20), last);
}

TEST_F(AudioRouterApiTest, ACaptureThatFailsToStartIsLoggedDroppedAndTriedAgain) {
    startQuietly();
    system.startResults[20] = SoundResult{SoundError::Refused, 0x80070005};
    const std::string line = "[ERROR] Failed to start capture for PID: 20 (HRESULT: 0x80070005)";
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20), onBothBuses(21)}));
    EXPECT_EQ(system.journal.take(),
              (Calls{"capture20.start tree 20 ms", "capture20.released", "capture21.start tree 20 ms"}));
    EXPECT_EQ(log.take(), (Lines{line, "[INFO] Started capture for PID: 21"}));
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20), onBothBuses(21)}));
    EXPECT_EQ(log.take(), (Lines{line}));
    system.startResults.clear();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20), onBothBuses(21)}));
    EXPECT_EQ(log.take(), (Lines{"[INFO] Started capture for PID: 20"}));
}

TEST_F(AudioRouterApiTest, ACaptureThatCannotBeMadeIsAFailedStart) {
    startQuietly();
    system.capturesCanBeMade = false;
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20)}));
    EXPECT_EQ(log.take(), (Lines{"[ERROR] Failed to start capture for PID: 20 (HRESULT: 0x8007000e)"}));
}

TEST_F(AudioRouterApiTest, ACaptureThatRefusesToStopIsForgottenAllTheSame) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20)}));
    static_cast<void>(system.journal.take());
    static_cast<void>(log.take());
    system.stopResult = SoundError::NothingToStop;
    ASSERT_TRUE(api.applyAudioConfigs({}));
    EXPECT_EQ(system.journal.take(), (Calls{"capture20.stop", "capture20.released"}));
    EXPECT_EQ(store.getConfig(20), inactiveAppAudioConfig());
    EXPECT_TRUE(log.take().empty());
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20)}));
    EXPECT_EQ(system.journal.take(), (Calls{"capture20.start tree 20 ms"}));
    EXPECT_EQ(log.take(), (Lines{"[INFO] Started capture for PID: 20"}));
}

TEST_F(AudioRouterApiTest, APositiveResultOfACaptureIsASuccess) {
    startQuietly();
    system.startResults[20] = {SoundError::None, 1}; // done, with a number
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20)}));
    EXPECT_EQ(log.take(), (Lines{"[INFO] Started capture for PID: 20"}));
}

TEST_F(AudioRouterApiTest, MasterRecordsCarryVolumeMuteAndSolo) {
    start();
    const QVariantMap input1{{QStringLiteral("volume"), 0.5}, {QStringLiteral("enabled"), true}};
    QVariantMap master = record(kBus1MasterProcessId);
    master.insert(QStringLiteral("input1"), input1);
    master.insert(QStringLiteral("solo"), true);
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
    EXPECT_FALSE(store.getBusConfig(1).solo); // missing: full volume, not muted, no solo
    EXPECT_EQ(store.getBusConfig(1).input1Volume, 1.0f);
    EXPECT_FALSE(store.getBusConfig(1).input1Muted);
    QVariantMap stream = record(7);
    stream.insert(QStringLiteral("input1"), QVariantMap{{QStringLiteral("enabled"), true}});
    api.setAudioConfig({stream, master});
    feed(7, constant(4, 0.5f, 0.5f));
    EXPECT_EQ(solo(4), constant(4, 0.25f, 0.25f));
    EXPECT_EQ(bus(1, 4), constant(4, 0.25f, 0.25f));
}

TEST_F(AudioRouterApiTest, AMutedMasterRecordSilencesItsBusAlone) {
    start();
    const auto stream = [](bool muted) {
        const QVariantMap on{{QStringLiteral("enabled"), true}};
        QVariantMap source = record(7);
        source.insert(QStringLiteral("input1"), on);
        source.insert(QStringLiteral("input2"), on);
        QVariantMap master = record(kBus1MasterProcessId);
        master.insert(QStringLiteral("input1"), QVariantMap{{QStringLiteral("enabled"), true},
                                                            {QStringLiteral("volume"), 0.5},
                                                            {QStringLiteral("muted"), muted}});
        return QVariantList{source, master};
    };
    api.setAudioConfig(stream(true));
    EXPECT_TRUE(store.getBusConfig(1).input1Muted);
    feed(7, constant(4, 0.5f, 0.5f));
    EXPECT_EQ(bus(1, 4), constant(4, 0.0f, 0.0f));
    EXPECT_EQ(bus(2, 4), constant(4, 0.5f, 0.5f));
    api.setAudioConfig(stream(false));
    feed(7, constant(4, 0.5f, 0.5f));
    EXPECT_EQ(bus(1, 4), constant(4, 0.25f, 0.25f));
}

TEST_F(AudioRouterApiTest, TenThousandAbsurdRecordsAreTakenAsTheyAre) {
    start();
    std::vector<AppAudioConfig> records;
    for (std::uint32_t index = 0; index < 10'000; ++index) {
        AppAudioConfig config = onBothBuses(index % 5000); // every id twice
        config.input1Volume = index % 3 == 0 ? -1e30f : std::numeric_limits<float>::quiet_NaN();
        config.input2Volume = std::numeric_limits<float>::infinity();
        config.solo = true;
        records.push_back(config);
    }
    ASSERT_TRUE(api.applyAudioConfigs(records));
    EXPECT_EQ(store.allProcessIds().size(), 5000u);
    for (std::uint32_t source = 0; source < 64; ++source) {
        feed(source, constant(64, 0.5f, -0.5f));
    }
    buffers.updateBusLevels();
    static_cast<void>(api.collectLevels());
    for (const std::vector<float>& mix : {bus(1, 64), bus(2, 64), solo(64)}) {
        for (const float sample : mix) {
            EXPECT_TRUE(sample >= -1.0f && sample <= 1.0f) << sample;
        }
    }
    ASSERT_TRUE(api.applyAudioConfigs({}));
    api.shutdownAudioRouter();
}

// Shutdown

TEST_F(AudioRouterApiTest, ShutdownStopsOutputsThenCapturesThenForgetsEverything) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(20), onBothBuses(21)}));
    feed(20, constant(4, 0.5f, 0.5f));
    static_cast<void>(system.journal.take());
    api.shutdownAudioRouter();
    Calls calls = system.journal.take();
    EXPECT_EQ(removeThreadEnds(calls), 1u);
    ASSERT_EQ(calls.size(), 7u);
    std::ranges::sort(calls.begin() + 4, calls.begin() + 6); // released together, in no order
    EXPECT_EQ(calls, (Calls{"output3.wake", "output3.stopClient", "capture20.stop", "capture21.stop",
                            "capture20.released", "capture21.released", "session.leave"}));
    EXPECT_FALSE(api.isAudioRouterRunning());
    EXPECT_TRUE(store.allProcessIds().empty());
    EXPECT_TRUE(buffers.collectProcessIds().empty());
    EXPECT_FALSE(api.applyAudioConfigs({onBothBuses(20)}));
}

TEST_F(AudioRouterApiTest, ShutdownJoinsTheLevelThreadBeforeTheOutputsStop) {
    endpoints.add(kRender, fakeEndpoint("Speakers", "{spk}"));
    startWithSound();
    std::atomic<int> reports{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) {
        // Notes the end of the thread that calls.
        struct ThreadEnd {
            ~ThreadEnd() { journal.note("levels.ended"); }
            CallJournal& journal;
        };
        thread_local const ThreadEnd end{system.journal};
        ++reports;
    });
    ASSERT_TRUE(await([&] { return reports > 0; }));
    static_cast<void>(system.journal.take());
    api.shutdownAudioRouter();
    Calls calls = system.journal.take();
    ASSERT_FALSE(calls.empty());
    EXPECT_EQ(calls.front(), "levels.ended");
    EXPECT_NE(std::ranges::find(calls, "output3.wake"), calls.end());
}

TEST_F(AudioRouterApiTest, ShutdownJoinsTheLevelThreadAndForgetsItsCallback) {
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
    feed(7, constant(480, 0.5f, 0.5f));
    std::atomic<int> reports{0};
    std::atomic<int> later{0};
    const ShutdownAtEnd atEnd(api);
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++reports; });
    ASSERT_TRUE(await([&] { return reports > 0; }));
    api.shutdownAudioRouter();
    const int atShutdown = reports;
    start();
    ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
    feed(7, constant(480, 0.5f, 0.5f));
    api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++later; });
    ASSERT_TRUE(await([&] { return later >= 2; }));
    EXPECT_EQ(reports, atShutdown);
}

TEST_F(AudioRouterApiTest, AfterAShutdownItStartsAndRegistersAnew) {
    for (int round = 0; round < 3; ++round) {
        start();
        ASSERT_TRUE(api.applyAudioConfigs({onBothBuses(7)}));
        feed(7, constant(480, 0.5f, 0.5f));
        std::atomic<int> reports{0};
        const ShutdownAtEnd atEnd(api);
        api.setNativeLevelCallback([&](const std::vector<AudioLevelInfo>&) { ++reports; });
        ASSERT_TRUE(await([&] { return reports > 0; }));
        api.shutdownAudioRouter();
    }
}

TEST_F(AudioRouterApiTest, ShutdownOfAStoppedRouterDoesNothing) {
    put(onBothBuses(7));
    api.shutdownAudioRouter();
    EXPECT_TRUE(store.getConfig(7).active);
    EXPECT_TRUE(system.journal.take().empty());
}

TEST_F(AudioRouterApiTest, TheDestructorShutsDown) {
    {
        AudioRouterAPI other(system.platform(), store, buffers);
        ASSERT_TRUE(other.startAudioRouter({}, {}, {}, {}));
    }
    EXPECT_EQ(system.journal.take(), (Calls{"session.enter", "session.leave"}));
}
