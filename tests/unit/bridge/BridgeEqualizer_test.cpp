// The way from the stored settings to the blocks. What the equaliser does with them:
// MonitorEqualizer_test.cpp.

#include "audio/equalizer/EqualizerBands.h"
#include "audio/equalizer/FBiquadChain.h"
#include "mixer/PerAppInputBuffers.h"
#include "mixer/router/AudioRouterAPI.h"
#include "tests/unit/bridge/SystemBridgeFixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
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
    void switchOff() { store({{"device_equalizer", false}}); }
    static std::vector<double> flat() { return std::vector<double>(12, 0.0); }
    static std::vector<double> peakAt1000Hz(double gainDb) {
        std::vector<double> gains = flat();
        gains[5] = gainDb;
        return gains;
    }
};

/// With blocks of the test's own, as of a stream that has opened.
class StoredEqualizer : public Equaliser {
protected:
    using Block = std::array<float, 512>;

    void SetUp() override {
        Equaliser::SetUp();
        bridge->prepareEqualizer(2, 48000.0);
        reference.init(48000.0f, static_cast<std::int32_t>(kEqualizerBandCount), 2);
    }

    /// The next block, plain.
    [[nodiscard]] Block plain() const {
        Block block{};
        for (std::size_t at = 0; at < block.size(); ++at) {
            const std::size_t frameInBlock = at / 2;
            const auto frame = static_cast<double>(blockNumber) * 256.0 + static_cast<double>(frameInBlock);
            block[at] = static_cast<float>(0.25 * std::sin(frame * 0.1308996939)); // 1000 Hz
        }
        return block;
    }
    void expectUntouched(const char* why = "") {
        Block block = plain();
        bridge->processBlock(block.data(), 2, 256, 48000.0);
        EXPECT_EQ(block, plain()) << why;
        ++blockNumber;
    }
    /// The next block comes out as a chain with these gains has it, whose history is the bridge's so far.
    void expectFilteredBy(const std::vector<double>& gains, const char* why = "") {
        std::array<float, kEqualizerBandCount> gainsDb{};
        std::ranges::transform(gains, gainsDb.begin(), [](double gain) { return static_cast<float>(gain); });
        applyEqualizerGains(reference, gainsDb);
        Block expected = plain();
        reference.processBlock(expected.data(), 256);
        Block block = plain();
        bridge->processBlock(block.data(), 2, 256, 48000.0);
        EXPECT_EQ(block, expected) << why;
        EXPECT_NE(block, plain()) << why;
        ++blockNumber;
    }

    FBiquadChain reference;
    int blockNumber = 0;
};

} // namespace

TEST_F(StoredEqualizer, NothingStoredIsOff) {
    bridge->updateMonitorDevice();
    expectUntouched("without a reader");
    store({});
    expectUntouched("without a switch");
}

TEST_F(StoredEqualizer, SwitchedOffItLeavesTheBlockAsItIs) {
    storeGains(std::vector<double>(12, 6.0));
    switchOff();
    expectUntouched();
}

TEST_F(StoredEqualizer, StoredGainsFilterTheNextBlock) {
    storeGains(peakAt1000Hz(6.0));
    expectFilteredBy(peakAt1000Hz(6.0));
    storeGains(peakAt1000Hz(-9.0));
    expectFilteredBy(peakAt1000Hz(-9.0));
}

TEST_F(StoredEqualizer, SwitchingOnAgainLoadsTheStoredGains) {
    storeGains(peakAt1000Hz(6.0));
    expectFilteredBy(peakAt1000Hz(6.0));
    switchOff();
    storeGains(peakAt1000Hz(-6.0));
    expectFilteredBy(peakAt1000Hz(-6.0));
}

TEST_F(StoredEqualizer, SwitchedOnWithoutAPresetItHasTheZeroGainsOfTheSwitch) {
    storeGains(peakAt1000Hz(6.0)); // no block comes meanwhile
    switchOff();
    store({{"device_equalizer", true}, {"device_equalizer_current", "not a preset"}});
    expectUntouched();
}

TEST_F(StoredEqualizer, StoredTextOfTheSwitchCountsLikeABoolean) {
    const QString preset = "{\"value\":[0,0,0,0,0,6,0,0,0,0,0,0]}";
    store({{"device_equalizer", "true"}, {"device_equalizer_current", preset}});
    expectFilteredBy(peakAt1000Hz(6.0));
    store({{"device_equalizer", "false"}, {"device_equalizer_current", preset}});
    expectUntouched();
    store({{"device_equalizer_current", preset}});
    expectUntouched("off where nothing is stored");
}

TEST_F(StoredEqualizer, GainsBeyondTheScreensRangeAreUsedAsTheyStand) {
    storeGains(peakAt1000Hz(40.0));
    expectFilteredBy(peakAt1000Hz(40.0));
}

TEST_F(StoredEqualizer, GainOf005IsOffAndOf0051On) {
    storeGains(peakAt1000Hz(0.05));
    expectUntouched();
    storeGains(peakAt1000Hz(0.051));
    expectFilteredBy(peakAt1000Hz(0.051));
}

TEST_F(StoredEqualizer, PresetWithoutTwelveValuesIsCriticalSaysHowManyItHasAndKeepsTheCurve) {
    storeGains(peakAt1000Hz(6.0));
    for (const auto& [preset, count] : std::vector<std::pair<const char*, int>>{
             {R"({"value":[-12,-12,-12,-12,-12,-12,-12,-12,-12,-12,-12]})", 11},
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
        expectFilteredBy(peakAt1000Hz(6.0), preset);
    }
}

TEST_F(StoredEqualizer, MalformedPresetKeepsTheCurveWithoutAMessage) {
    storeGains(peakAt1000Hz(6.0));
    log.clear();
    for (const char* text : {"", "{", "[]", "{}", "null", "12", "\"text\"", "\xff\xfe"}) {
        store({{"device_equalizer", true}, {"device_equalizer_current", text}});
        expectFilteredBy(peakAt1000Hz(6.0), text);
    }
    EXPECT_TRUE(log.lines().isEmpty());
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
    // The last settings hold: the low cut takes the microphone's constant away, then the switch brings it
    // back.
    std::vector<double> lowCut = flat();
    lowCut[0] = -12.0;
    storeGains(lowCut);
    EXPECT_TRUE(await([&] { return std::fabs(bus1()) < 0.05f; })) << "cut from below";
    switchOff();
    EXPECT_TRUE(await([&] { return bus1() == 0.5f; }));
}
