#include "audio/equalizer/EqualizerBands.h"
#include "audio/equalizer/FBiquadChain.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/router/AudioRouterAPI.h"
#include "tests/unit/bridge/SystemBridgeFixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

namespace {

class Equaliser : public SystemBridgeTest {
protected:
    void SetUp() override {
        SystemBridgeTest::SetUp();
        bringAudioUp();
    }

    void store(const QVariantMap& values) {
        bridge->setSettingsReader([values](const QString& key) { return values.value(key); });
        bridge->updateMonitorDevice();
    }
    void storeGains(const std::vector<double>& gains) {
        QStringList numbers;
        for (const double gain : gains) {
            numbers.append(QString::number(gain));
        }
        store({{"device_equalizer", true},
               {"device_equalizer_current", "{\"value\":[" + numbers.join(',') + "]}"}});
    }
    static std::vector<double> flat() { return std::vector<double>(12, 0.0); }

    /// A stereo sine through the block function, as many frames as it takes to settle; the last block.
    std::vector<float> filtered(double frequency, std::int32_t channels = 2, double rate = 48000.0) {
        std::vector<float> block;
        for (int blockNumber = 0; blockNumber < 200; ++blockNumber) {
            block = sine(frequency, blockNumber, channels, rate);
            bridge->processBlock(block.data(), channels, 256, rate);
        }
        return block;
    }
    static std::vector<float> sine(double frequency, int blockNumber, std::int32_t channels, double rate) {
        std::vector<float> block(static_cast<std::size_t>(256 * channels));
        for (std::int32_t frame = 0; frame < 256; ++frame) {
            const double time = (blockNumber * 256 + frame) / rate;
            const auto value = static_cast<float>(0.25 * std::sin(2.0 * std::numbers::pi * frequency * time));
            std::fill_n(block.begin() + static_cast<std::ptrdiff_t>(frame) * channels, channels, value);
        }
        return block;
    }
    static double rms(const std::vector<float>& block) {
        double sum = 0.0;
        for (const float sample : block) {
            sum += static_cast<double>(sample) * static_cast<double>(sample);
        }
        return std::sqrt(sum / static_cast<double>(block.size()));
    }
    double gainDb(double frequency) {
        return 20.0 * std::log10(rms(filtered(frequency)) / rms(sine(frequency, 199, 2, 48000.0)));
    }
    static std::vector<double> peakAt1000Hz(double gainDb) {
        std::vector<double> gains = flat();
        gains[5] = gainDb;
        return gains;
    }
    /// Switched on with a preset that says nothing.
    void switchOnWithoutGains() {
        store({{"device_equalizer", true}, {"device_equalizer_current", "not a preset"}});
    }
    void switchOff() { store({{"device_equalizer", false}}); }
    std::vector<float> blockThroughBridge(int blockNumber) {
        std::vector<float> block = sine(1000.0, blockNumber, 2, 48000.0);
        bridge->processBlock(block.data(), 2, 256, 48000.0);
        return block;
    }

    /// What a block is to come out as: a chain beside the bridge's.
    class Reference {
    public:
        Reference() { chain.init(48000.0f, static_cast<std::int32_t>(kEqualizerBandCount), 2); }
        void design(const std::vector<double>& gains) {
            std::array<float, kEqualizerBandCount> gainsDb{};
            std::ranges::transform(gains, gainsDb.begin(),
                                   [](double gain) { return static_cast<float>(gain); });
            applyEqualizerGains(chain, gainsDb);
        }
        std::vector<float> block(int blockNumber) {
            std::vector<float> block = sine(1000.0, blockNumber, 2, 48000.0);
            chain.processBlock(block.data(), 256);
            return block;
        }

    private:
        FBiquadChain chain;
    };
    Reference reference;
};

} // namespace

// One test for each row of what the switch, the chain and a pending design come to.

TEST_F(Equaliser, SwitchedOffBlocksPassWhetherAChainIsThereOrNot) {
    EXPECT_EQ(blockThroughBridge(0), sine(1000.0, 0, 2, 48000.0)) << "before any chain";
    storeGains(peakAt1000Hz(6.0));
    EXPECT_NE(blockThroughBridge(1), sine(1000.0, 1, 2, 48000.0));
    switchOff();
    EXPECT_EQ(blockThroughBridge(2), sine(1000.0, 2, 2, 48000.0)) << "beside a designed chain";
    storeGains(peakAt1000Hz(-6.0));
    switchOff();
    EXPECT_EQ(blockThroughBridge(3), sine(1000.0, 3, 2, 48000.0)) << "beside a chain with a pending design";
}

TEST_F(Equaliser, FirstBlockMakesTheChainAndIsFilteredAlready) {
    storeGains(peakAt1000Hz(6.0));
    reference.design(peakAt1000Hz(6.0));
    EXPECT_EQ(blockThroughBridge(0), reference.block(0));
}

TEST_F(Equaliser, FirstBlockWithoutGainsMakesAChainWhoseBandsAreAllOff) {
    switchOnWithoutGains();
    EXPECT_EQ(blockThroughBridge(0), sine(1000.0, 0, 2, 48000.0));
}

TEST_F(Equaliser, ChangedGainsAreDesignedWithTheNextBlockAndTheHistoryGoesOn) {
    storeGains(peakAt1000Hz(6.0));
    reference.design(peakAt1000Hz(6.0));
    EXPECT_EQ(blockThroughBridge(0), reference.block(0));
    storeGains(peakAt1000Hz(-9.0));
    reference.design(peakAt1000Hz(-9.0));
    EXPECT_EQ(blockThroughBridge(1), reference.block(1));
}

TEST_F(Equaliser, WithoutAChangeBlockAfterBlockIsFilteredByTheSameDesign) {
    storeGains(peakAt1000Hz(6.0));
    reference.design(peakAt1000Hz(6.0));
    for (int blockNumber = 0; blockNumber < 5; ++blockNumber) {
        EXPECT_EQ(blockThroughBridge(blockNumber), reference.block(blockNumber)) << blockNumber;
    }
}

TEST_F(Equaliser, SwitchingOffLeavesTheDesignAndTheHistoryAsTheyWere) {
    storeGains(peakAt1000Hz(6.0));
    reference.design(peakAt1000Hz(6.0));
    EXPECT_EQ(blockThroughBridge(0), reference.block(0));
    switchOff();
    static_cast<void>(blockThroughBridge(1));
    // No new gains: nothing is designed anew, though the stored gains are zero by now.
    switchOnWithoutGains();
    EXPECT_EQ(blockThroughBridge(2), reference.block(2));
}

TEST_F(Equaliser, SwitchingOffKeepsAPendingDesignWhichThenMeetsZeroGains) {
    storeGains(peakAt1000Hz(6.0));
    static_cast<void>(blockThroughBridge(0));
    storeGains(peakAt1000Hz(9.0)); // pending
    switchOff();                   // the gains are gone, the pending design is not
    switchOnWithoutGains();
    EXPECT_EQ(blockThroughBridge(1), sine(1000.0, 1, 2, 48000.0));
}

TEST_F(Equaliser, SwitchingOnAgainLoadsTheStoredGains) {
    storeGains(peakAt1000Hz(6.0));
    reference.design(peakAt1000Hz(6.0));
    EXPECT_EQ(blockThroughBridge(0), reference.block(0));
    switchOff();
    storeGains(peakAt1000Hz(-6.0));
    reference.design(peakAt1000Hz(-6.0));
    EXPECT_EQ(blockThroughBridge(1), reference.block(1));
}

TEST_F(Equaliser, StoredTextOfTheSwitchCountsLikeABoolean) {
    const QString preset = "{\"value\":[0,0,0,0,0,6,0,0,0,0,0,0]}";
    store({{"device_equalizer", "true"}, {"device_equalizer_current", preset}});
    reference.design(peakAt1000Hz(6.0));
    EXPECT_EQ(blockThroughBridge(0), reference.block(0));
    store({{"device_equalizer", "false"}, {"device_equalizer_current", preset}});
    EXPECT_EQ(blockThroughBridge(1), sine(1000.0, 1, 2, 48000.0));
    store({{"device_equalizer_current", preset}});
    EXPECT_EQ(blockThroughBridge(2), sine(1000.0, 2, 2, 48000.0)) << "off where nothing is stored";
}

TEST_F(Equaliser, GainsBeyondTheScreensRangeAreUsedAsTheyStand) {
    storeGains(peakAt1000Hz(40.0));
    reference.design(peakAt1000Hz(40.0));
    EXPECT_EQ(blockThroughBridge(0), reference.block(0));
}

TEST_F(Equaliser, SwitchedOffItLeavesTheBlockAsItIs) {
    storeGains(std::vector<double>(12, 6.0));
    store({{"device_equalizer", "false"}});
    EXPECT_EQ(filtered(1000.0), sine(1000.0, 199, 2, 48000.0));
}

TEST_F(Equaliser, AllGainsZeroLeaveEverySampleAsItIs) {
    storeGains(flat());
    EXPECT_EQ(filtered(1000.0), sine(1000.0, 199, 2, 48000.0));
}

TEST_F(Equaliser, GainOf005IsOffAndOf0051On) {
    std::vector<double> gains = flat();
    gains[5] = 0.05;
    storeGains(gains);
    EXPECT_EQ(filtered(1000.0), sine(1000.0, 199, 2, 48000.0));
    gains[5] = 0.051;
    storeGains(gains);
    EXPECT_NE(filtered(1000.0), sine(1000.0, 199, 2, 48000.0));
}

TEST_F(Equaliser, PeakOf6DbAt1000HzLifts1000HzBy6Db) {
    std::vector<double> gains = flat();
    gains[5] = 6.0;
    storeGains(gains);
    EXPECT_NEAR(gainDb(1000.0), 6.0, 0.1);
    EXPECT_NEAR(gainDb(100.0), 0.0, 0.3);
}

TEST_F(Equaliser, LowCutIsTheSameForEitherSign) {
    std::vector<double> gains = flat();
    gains[0] = -3.0;
    storeGains(gains);
    const std::vector<float> down = filtered(30.0);
    EXPECT_LT(rms(down), rms(sine(30.0, 199, 2, 48000.0)) * 0.5);
    bridge = nullptr;
    bridge = std::make_unique<TestBridge>();
    bringAudioUp();
    gains[0] = 3.0;
    storeGains(gains);
    EXPECT_EQ(filtered(30.0), down);
}

TEST_F(Equaliser, PresetOf11ValuesIsCriticalAndKeepsTheCurve) {
    std::vector<double> gains = flat();
    gains[5] = 6.0;
    storeGains(gains);
    storeGains(std::vector<double>(11, -12.0));
    EXPECT_EQ(
        log.texts(QtCriticalMsg),
        QStringList("SystemBridge::updateMonitorDevice: Equalizer config array size is not 12, got 11"));
    EXPECT_NEAR(gainDb(1000.0), 6.0, 0.1);
}

TEST_F(Equaliser, PresetWithoutTwelveValuesSaysHowManyItHas) {
    storeGains(peakAt1000Hz(6.0));
    for (const auto& [preset, count] : std::vector<std::pair<const char*, int>>{
             {R"({"value":[]})", 0},
             {R"({"value":"text"})", 0},
             {R"({"name":"x"})", 0},
             {R"({"value":[0,0,0,0,0,0,0,0,0,0,0,0,0]})", 13},
         }) {
        log.clear();
        store({{"device_equalizer", true}, {"device_equalizer_current", preset}});
        EXPECT_EQ(log.texts(QtCriticalMsg),
                  QStringList(
                      QStringLiteral(
                          "SystemBridge::updateMonitorDevice: Equalizer config array size is not 12, got %1")
                          .arg(count)))
            << preset;
    }
    EXPECT_NEAR(gainDb(1000.0), 6.0, 0.1);
}

TEST_F(Equaliser, MalformedPresetKeepsTheCurveWithoutAMessage) {
    std::vector<double> gains = flat();
    gains[5] = 6.0;
    storeGains(gains);
    log.clear();
    for (const char* text : {"", "{", "[]", "{}", "null", "12", "\"text\"", "\xff\xfe"}) {
        store({{"device_equalizer", true}, {"device_equalizer_current", text}});
    }
    EXPECT_TRUE(log.lines().isEmpty());
    EXPECT_NEAR(gainDb(1000.0), 6.0, 0.1);
}

TEST_F(Equaliser, ChainKeepsTheRateOfItsFirstBlock) {
    std::vector<double> gains = flat();
    gains[5] = 6.0;
    storeGains(gains);
    static_cast<void>(filtered(1000.0));
    // Designed for 48000 Hz, the peak lies lower in a stream of 44100 Hz.
    const double peak = 1000.0 * 44100.0 / 48000.0;
    const auto gainAt = [this](double frequency) {
        return 20.0 *
               std::log10(rms(filtered(frequency, 2, 44100.0)) / rms(sine(frequency, 199, 2, 44100.0)));
    };
    EXPECT_NEAR(gainAt(peak), 6.0, 0.1);
}

TEST_F(Equaliser, BlockWithThreeChannelsIsFilteredOnAllThree) {
    std::vector<double> gains = flat();
    gains[5] = 6.0;
    storeGains(gains);
    const std::vector<float> block = filtered(1000.0, 3);
    const std::vector<float> plain = sine(1000.0, 199, 3, 48000.0);
    EXPECT_NEAR(rms(block) / rms(plain), std::pow(10.0, 6.0 / 20.0), 0.03);
    for (std::size_t at = 0; at < block.size(); at += 3) {
        EXPECT_EQ(block[at], block[at + 1]);
        EXPECT_EQ(block[at], block[at + 2]);
    }
}

TEST_F(Equaliser, BlocksOfOtherChannelCountsAfterTheFirstAreSafe) {
    std::vector<double> gains = flat();
    gains[5] = 6.0;
    storeGains(gains);
    static_cast<void>(filtered(1000.0, 2));
    EXPECT_NEAR(rms(filtered(1000.0, 1)) / rms(sine(1000.0, 199, 1, 48000.0)), std::pow(10.0, 6.0 / 20.0),
                0.03);
    const std::vector<float> nine = filtered(1000.0, 9);
    EXPECT_EQ(nine[8], sine(1000.0, 199, 9, 48000.0)[8]) << "a channel that the chain does not have passes";
}

TEST_F(Equaliser, NotANumberIsForgottenWithTheNextBlockWhateverItsChannels) {
    storeGains(peakAt1000Hz(6.0));
    static_cast<void>(filtered(1000.0, 2));
    for (const std::int32_t channels : {1, 2, 3}) {
        std::vector<float> spoilt(std::size_t{256} * static_cast<std::size_t>(channels),
                                  std::numeric_limits<float>::quiet_NaN());
        bridge->processBlock(spoilt.data(), channels, 256, 48000.0);
        for (const float sample : filtered(1000.0, channels)) {
            ASSERT_TRUE(std::isfinite(sample)) << channels << " channels";
        }
    }
}

TEST_F(Equaliser, SettingsChangeWhileTheWorkersBlocksGoThrough) {
    // Reports of levels go through Qt's event queue, whose locks the thread sanitizer does not see.
    AudioRouterAPI::instance().setLevelCallback({});
    scriptedPortAudio::Device microphone;
    microphone.name = "mic";
    scriptedPortAudio::setDevices({microphone});
    bridge->setAudioConfig({QVariantMap{
        {"processID", 0}, {"input1", QVariantMap{{"enabled", true}, {"volume", 1.0}, {"muted", false}}}}});
    ASSERT_TRUE(bridge->AddInputDevice("mic", 0));
    const auto blocks = [] {
        return scriptedPortAudio::reads("mic");
    };
    ASSERT_TRUE(await([&] { return blocks() > 0; }));
    const auto bus1 = [] {
        std::array<float, 2> frame{};
        PerAppInputBuffers::instance().mixBus(frame.data(), 1, 1);
        return frame[0];
    };
    for (int change = 0, seen = blocks(); seen < 200; ++change) {
        storeGains(peakAt1000Hz(change % 2 == 0 ? 6.0 : -6.0));
        if (change % 5 == 4) {
            switchOff();
        }
        ASSERT_TRUE(std::isfinite(bus1()));
        ASSERT_TRUE(await([&] { return blocks() > seen; }));
        seen = blocks();
    }
    // What was asked for last holds: a peak far from the constant that the microphone gives, then none.
    std::vector<double> gains = flat();
    gains[0] = -12.0;
    storeGains(gains);
    EXPECT_TRUE(await([&] { return std::fabs(bus1()) < 0.05f; })) << "cut from below";
    switchOff();
    EXPECT_TRUE(await([&] { return bus1() == 0.5f; }));
}
