#include "mixer/BusForwarder.h"
#include "mixer/EndpointClassification.h"
#include "platform/windows/routerAudio/WasapiOutputStream.h"
#include "platform/windows/routerAudio/WindowsRouterPlatform.h"
#include "tests/support/mixer/RouterLogCapture.h"
#include "tests/windows/SoundScene.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iostream>
#include <objbase.h>

namespace {

constexpr std::uint32_t kSource = 4242;
constexpr float kAmplitude = 0.25f;
// Half a decibel, in both directions.
constexpr double kLowest = 0.236;
constexpr double kHighest = 0.265;

class RenderTest : public testing::Test {
protected:
    // Windows' own calls, with an answer to the question for the connectors of a device.
    static AudioSystemCalls withConnectors(HRESULT result, UINT connectors) {
        AudioSystemCalls calls = windowsAudioSystemCalls();
        calls.connectorCount = [result, connectors](IMMDevice*, UINT* count) {
            *count = connectors;
            return result;
        };
        return calls;
    }

    static bool carries(const RecordedSink& sink, double leftHz, double rightHz) {
        const double left = sink.amplitude(0, leftHz);
        const double right = sink.amplitude(1, rightHz);
        return left > kLowest && left < kHighest && right > kLowest && right < kHighest &&
               sink.amplitude(0, rightHz) < 0.01 && sink.amplitude(1, leftHz) < 0.01;
    }

    static std::string levels(const RecordedSink& sink, double leftHz, double rightHz) {
        return "left " + std::to_string(sink.amplitude(0, leftHz)) + ", right " +
               std::to_string(sink.amplitude(1, rightHz)) + ", crossed " +
               std::to_string(sink.amplitude(0, rightHz)) + " and " +
               std::to_string(sink.amplitude(1, leftHz));
    }

    SoundScene scene;
};

} // namespace

TEST_F(RenderTest, BusChannelPlaysBothChannelsAtTheirLevelIntoAVirtualEndpoint) {
    scene.addSource(kSource);
    const TonePlayer player(scene.buffers, kSource, 1000, 1500, kAmplitude);
    const RouterPlatform platform = windowsRouterPlatform(windowsAudioSystemCalls());
    RouterLogCapture log;
    BusForwarder forwarder(platform, scene.buffers);
    forwarder.setBus1Device("virtual CABLE");
    ASSERT_TRUE(forwarder.start());
    const RecordedSink sink("cable");
    EXPECT_TRUE(comesTrue([&] { return carries(sink, 1000, 1500); })) << levels(sink, 1000, 1500);
    forwarder.stop();
    const auto silent = [&] {
        return sink.amplitude(0, 1000) < 1e-4;
    };
    EXPECT_TRUE(comesTrue(silent)) << sink.amplitude(0, 1000);
    EXPECT_TRUE(log.contains("[BusForwarder] Using device format: 48000 Hz, 2 ch, 32 bits"));
}

TEST_F(RenderTest, DriftIsNotCorrected) {
    EXPECT_FALSE(windowsRouterPlatform(windowsAudioSystemCalls()).correctsDrift);
}

TEST_F(RenderTest, SoloPlaysOnAnEndpointWhoseTopologyHasAConnector) {
    scene.addSource(kSource);
    const TonePlayer player(scene.buffers, kSource, 700, 1100, kAmplitude);
    const RouterPlatform platform = windowsRouterPlatform(withConnectors(S_OK, 1));
    RouterLogCapture log;
    BusForwarder forwarder(platform, scene.buffers);
    forwarder.setSoloDevice(GetDefaultDeviceGuid(*platform.endpoints));
    ASSERT_TRUE(forwarder.start());
    const RecordedSink sink("speakers");
    EXPECT_TRUE(comesTrue([&] { return carries(sink, 700, 1100); })) << levels(sink, 700, 1100);
    forwarder.stop();
    EXPECT_TRUE(log.contains("[BusForwarder] Solo thread started successfully."));
}

TEST_F(RenderTest, WithoutATopologyNothingIsHardwareAndSoloStaysOff) {
    const RouterPlatform platform = windowsRouterPlatform(withConnectors(E_NOINTERFACE, 0));
    RouterLogCapture log;
    EXPECT_EQ(FindFirstRealHardwareDevice(*platform.endpoints, true), "");
    BusForwarder forwarder(platform, scene.buffers);
    forwarder.setSoloDevice(GetDefaultDeviceGuid(*platform.endpoints));
    EXPECT_TRUE(forwarder.start());
    EXPECT_TRUE(log.contains("[BusForwarder] Failed to initialize Solo thread."));
}

TEST_F(RenderTest, EndpointAtAnotherRateShiftsThePitchByTheRatioOfTheRates) {
    scene.addSource(kSource);
    const TonePlayer player(scene.buffers, kSource, 1000, 1000, kAmplitude);
    const RouterPlatform platform = windowsRouterPlatform(windowsAudioSystemCalls());
    RouterLogCapture log;
    BusForwarder forwarder(platform, scene.buffers);
    forwarder.setBus2Device("old virtual");
    ASSERT_TRUE(forwarder.start());
    const RecordedSink sink("old", 2, 44100);
    EXPECT_TRUE(comesTrue([&] { return sink.amplitude(0, 1000 * 44100.0 / 48000) > kLowest; }))
        << sink.amplitude(0, 1000 * 44100.0 / 48000) << ", unshifted " << sink.amplitude(0, 1000);
    forwarder.stop();
    EXPECT_TRUE(log.contains("[BusForwarder] Using device format: 44100 Hz, 2 ch, 32 bits"));
}

TEST_F(RenderTest, EndpointWithSixChannelsIsOpenedWithTwo) {
    scene.addSource(kSource);
    const TonePlayer player(scene.buffers, kSource, 900, 1300, kAmplitude);
    const RouterPlatform platform = windowsRouterPlatform(windowsAudioSystemCalls());
    RouterLogCapture log;
    BusForwarder forwarder(platform, scene.buffers);
    forwarder.setBus1Device("surround");
    ASSERT_TRUE(forwarder.start());
    const RecordedSink sink("six", 6);
    EXPECT_TRUE(comesTrue([&] { return carries(sink, 900, 1300); })) << levels(sink, 900, 1300);
    forwarder.stop();
    EXPECT_TRUE(log.contains("[BusForwarder] Using device format: 48000 Hz, 2 ch, 32 bits"));
}

TEST_F(RenderTest, CaptureEndpointFailsAtGetService) {
    const AudioEndpointPointer microphone = endpointNamed(EndpointFlow::Capture, "Cable Microphone");
    ASSERT_NE(microphone, nullptr);
    RouterLogCapture log;
    WasapiOutputStream stream(windowsAudioSystemCalls());
    EXPECT_FALSE(stream.open(*microphone));
    const Lines lines = log.take();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), "[BusForwarder] GetService failed: 0x88890003");
}

TEST_F(RenderTest, EndpointRemovedWhilePlayingIsSilentlyKeptAndTheOtherOutputPlaysOn) {
    scene.addSource(kSource);
    const TonePlayer player(scene.buffers, kSource, 1000, 1500, kAmplitude);
    const RouterPlatform platform = windowsRouterPlatform(windowsAudioSystemCalls());
    BusForwarder forwarder(platform, scene.buffers);
    forwarder.setBus1Device("plugged");
    forwarder.setBus2Device("virtual cable");
    ASSERT_TRUE(forwarder.start());
    const RecordedSink sink("plug");
    const RecordedSink other("cable");
    ASSERT_TRUE(comesTrue([&] { return sink.amplitude(0, 1000) > kLowest && carries(other, 1000, 1500); }));
    RouterLogCapture log;
    ASSERT_TRUE(unload("plug"));
    // The other output plays on, meanwhile nothing is said or opened anew.
    const double removedAt = other.seconds();
    EXPECT_TRUE(comesTrue([&] { return other.seconds() > removedAt + 1 && carries(other, 1000, 1500); }))
        << levels(other, 1000, 1500);
    EXPECT_TRUE(log.take().empty());
    const auto before = std::chrono::steady_clock::now();
    forwarder.stop();
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
}

TEST_F(RenderTest, CallbackWithEightSourcesTakesLessThanAFifthOfItsPeriod) {
    std::vector<std::unique_ptr<TonePlayer>> players;
    for (std::uint32_t source = 0; source < 8; ++source) {
        scene.addSource(kSource + source);
        players.push_back(
            std::make_unique<TonePlayer>(scene.buffers, kSource + source, 200 + 50 * source, 300, 0.05f));
    }
    const AudioEndpointPointer speakers = endpointNamed(EndpointFlow::Render, "Speakers");
    ASSERT_NE(speakers, nullptr);
    for (const bool solo : {false, true}) {
        SCOPED_TRACE(solo ? "Solo" : "bus");
        WasapiOutputStream stream(windowsAudioSystemCalls());
        ASSERT_TRUE(stream.open(*speakers));
        using Clock = std::chrono::steady_clock;
        constexpr std::size_t kCallbacks = 100;
        std::atomic<bool> running{true};
        std::atomic<std::size_t> callbacks{0};
        std::vector<double> shares; // of the period, of each callback
        shares.reserve(kCallbacks);
        double spent = 0;
        double played = 0;
        std::thread thread([&] {
            stream.run(running, [&](float* output, std::uint32_t count) {
                const auto before = Clock::now();
                if (solo) {
                    scene.buffers.mixSolo(output, count);
                } else {
                    scene.buffers.mixBus(output, count, 1);
                }
                const double taken = std::chrono::duration<double>(Clock::now() - before).count();
                const double period = count / 48000.0;
                if (shares.size() < kCallbacks) {
                    shares.push_back(taken / period);
                    spent += taken;
                    played += period;
                }
                ++callbacks;
            });
        });
        EXPECT_TRUE(comesTrue([&] { return callbacks >= kCallbacks; }));
        running = false;
        stream.wake();
        thread.join();
        ASSERT_EQ(shares.size(), kCallbacks);
        std::ranges::sort(shares);
        std::cout << "render callback, 8 sources, " << (solo ? "Solo" : "bus") << ": " << 100 * spent / played
                  << " % of its period; the 95th of 100 " << 100 * shares[94] << " %, the longest "
                  << 100 * shares.back() << " %\n";
        EXPECT_LT(spent / played, 0.2);
        // A few may have waited for a processor on a busy machine.
        EXPECT_LT(shares[94], 0.2);
    }
}
