#include "dsp/frames/ControlFrame.h"
#include "dsp/frames/ParameterRecords.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <numeric>
#include <span>
#include <string>
#include <vector>

namespace vexo::dsp {
namespace {

std::vector<std::uint8_t> rampStore(RecordKind kind, std::uint8_t first = 0) {
    std::vector<std::uint8_t> store(storeBytes(kind));
    std::iota(store.begin(), store.end(), first);
    return store;
}

bool holds(const std::vector<std::string>& lines, const std::string& line) {
    return std::ranges::count(lines, line) == 1;
}

TEST(ParameterRecords, StoresHaveTheirSizes) {
    EXPECT_EQ(storeBytes(RecordKind::Adc), 88U);
    EXPECT_EQ(storeBytes(RecordKind::Dac), 32U);
    EXPECT_EQ(storeBytes(RecordKind::I2s), 36U);
    EXPECT_EQ(storeBytes(RecordKind::SpkEq), 324U);
    EXPECT_EQ(storeBytes(RecordKind::MicEq), 324U);
    EXPECT_EQ(storeBytes(RecordKind::Alg), 104U);
}

TEST(ParameterRecords, TheDumpOfADacRecordIsExactly) {
    std::vector<std::uint8_t> store = rampStore(RecordKind::Dac);
    store[10] = 0xFF;
    store[25] = 0x80;
    const std::vector<std::string> wanted{"dacCfg aias: 0",
                                          "dacCfg mix: 1",
                                          "dacCfg drcEn: 2",
                                          "dacCfg wordLen: 3",
                                          "dacCfg sr: 117835012",
                                          "dacCfg chxCfg[0].en: 8",
                                          "dacCfg chxCfg[0].mute: 9",
                                          "dacCfg chxCfg[0].god: -1",
                                          "dacCfg chxCfg[0].gom: 11",
                                          "dacCfg chxCfg[0].gomix: 12",
                                          "dacCfg chxCfg[0].gimix: 13",
                                          "dacCfg chxCfg[0].mixdac: 14",
                                          "dacCfg chxCfg[0].aidac: 15",
                                          "dacCfg chxCfg[0].drcThr: 16",
                                          "dacCfg chxCfg[0].drcComp: 17",
                                          "dacCfg chxCfg[0].rev[0]: 18",
                                          "dacCfg chxCfg[0].rev[1]: 19",
                                          "dacCfg chxCfg[1].en: 20",
                                          "dacCfg chxCfg[1].mute: 21",
                                          "dacCfg chxCfg[1].god: 22",
                                          "dacCfg chxCfg[1].gom: 23",
                                          "dacCfg chxCfg[1].gomix: 24",
                                          "dacCfg chxCfg[1].gimix: -128",
                                          "dacCfg chxCfg[1].mixdac: 26",
                                          "dacCfg chxCfg[1].aidac: 27",
                                          "dacCfg chxCfg[1].drcThr: 28",
                                          "dacCfg chxCfg[1].drcComp: 29",
                                          "dacCfg chxCfg[1].rev[0]: 30",
                                          "dacCfg chxCfg[1].rev[1]: 31"};
    EXPECT_EQ(dumpRecord(RecordKind::Dac, store), wanted);
}

TEST(ParameterRecords, EachFieldIsReadAtItsOffset) {
    const auto adc = dumpRecord(RecordKind::Adc, rampStore(RecordKind::Adc));
    EXPECT_EQ(adc.size(), 2U * 5 + 6 * 4 + 3 * 16);
    EXPECT_TRUE(holds(adc, "adcCfg gCfg[1].wordLen: 9"));
    EXPECT_TRUE(holds(adc, "adcCfg gCfg[1].sr: 252579084"));
    EXPECT_TRUE(holds(adc, "adcCfg chxCfg[5].aiadc: 39"));
    EXPECT_TRUE(holds(adc, "adcCfg pairCfg[1].agcCfg.minGain: 69"));
    EXPECT_TRUE(holds(adc, "adcCfg pairCfg[2].agcCfg.rev: 87"));
    const auto signedAdc = dumpRecord(RecordKind::Adc, rampStore(RecordKind::Adc, 0xF0 - 17));
    EXPECT_TRUE(holds(signedAdc, "adcCfg chxCfg[0].gim: -16"));
    const auto i2s = dumpRecord(RecordKind::I2s, rampStore(RecordKind::I2s));
    EXPECT_EQ(i2s.size(), 27U);
    EXPECT_TRUE(holds(i2s, "i2sCfg[2].frameLen: 31"));
    EXPECT_TRUE(holds(i2s, "i2sCfg[2].sr: 589439264"));
    const auto alg = dumpRecord(RecordKind::Alg, rampStore(RecordKind::Alg));
    EXPECT_EQ(alg.size(), 12U + 8 + 8 + 6 + 2 + 5 + 3);
    EXPECT_TRUE(holds(alg, "algCfg DenoiseEn: 11"));
    EXPECT_TRUE(holds(alg, "algCfg vol[7]: 19"));
    EXPECT_TRUE(holds(alg, "algCfg agc.sr: 387323156"));
    EXPECT_TRUE(holds(alg, "algCfg dereverb.rat: 84"));
    EXPECT_TRUE(holds(alg, "algCfg dnVolum: 1734763876"));
}

TEST(ParameterRecords, RightBandsAreDumpedOnlyWithStereo) {
    std::vector<std::uint8_t> store = rampStore(RecordKind::SpkEq);
    const auto both = dumpRecord(RecordKind::SpkEq, store, 3);
    EXPECT_EQ(both.size(), 4U + 20 * 7);
    EXPECT_TRUE(holds(both, "Spk EqNum 3 right[9].rev[1]: 55"));
    store[1] = 0;
    const auto left = dumpRecord(RecordKind::MicEq, store, 1);
    EXPECT_EQ(left.size(), 4U + 10 * 7);
    EXPECT_TRUE(holds(left, "Mic EqNum 1 left[0].qbw: 185207048"));
    EXPECT_TRUE(holds(left, "Mic EqNum 1 gain: 3"));
}

TEST(ParameterRecords, AMissingStoreDumpsEqParaNull) {
    EXPECT_EQ(dumpRecord(RecordKind::SpkEq, {}), std::vector<std::string>{"EQ para NULL!"});
    EXPECT_TRUE(dumpRecord(RecordKind::Adc, {}).empty());
}

TEST(ParameterRecords, AShortReplyCopiesWhatIsThereThenZeros) {
    std::vector<std::uint8_t> store(32, 0xEE);
    Report record(10);
    record.insert(record.end(), {1, 2, 3, 0x77});
    copyRecord(RecordKind::Dac, record, store);
    std::vector<std::uint8_t> wanted{1, 2, 3, 0x77};
    wanted.resize(32);
    EXPECT_EQ(store, wanted);
}

TEST(ParameterRecords, ALongReplyDoesNotPassTheStore) {
    std::vector<std::uint8_t> memory(40, 0xEE);
    copyRecord(RecordKind::Dac, Report(500, 0x11), std::span(memory).first(32));
    EXPECT_EQ(std::ranges::count(memory, 0x11), 32);
    EXPECT_EQ(std::ranges::count(memory, 0xEE), 8);
}

TEST(ParameterRecords, AlgOfTotal105Copies36BytesAndOf106All) {
    std::vector<std::uint8_t> store(104, 0xEE);
    copyRecord(RecordKind::Alg, Report(105, 0x11), store);
    EXPECT_EQ(std::ranges::count(store, 0x11), 36);
    EXPECT_EQ(std::ranges::count(store, 0xEE), 68);
    copyRecord(RecordKind::Alg, Report(106, 0x22), store);
    EXPECT_EQ(std::ranges::count(store, 0x22), 96);
    EXPECT_EQ(std::ranges::count(store, 0), 8);
}

TEST(ParameterRecords, DefaultsAreWholeRecordsAndDecodeToTheirValues) {
    const RecordKind kinds[] = {RecordKind::Adc,   RecordKind::Dac,   RecordKind::I2s,
                                RecordKind::SpkEq, RecordKind::MicEq, RecordKind::Alg};
    for (const RecordKind kind : kinds) {
        const Report record = defaultRecord(kind);
        EXPECT_EQ(record.size(), storeBytes(kind) + 11);
        EXPECT_EQ(std::accumulate(record.begin(), record.end(), 0U) % 256, 0U);
        EXPECT_EQ(record[8] + 256U * record[9], storeBytes(kind));
    }
    std::vector<std::uint8_t> store(324);
    copyRecord(RecordKind::SpkEq, defaultRecord(RecordKind::SpkEq), store);
    EXPECT_TRUE(holds(dumpRecord(RecordKind::SpkEq, store), "Spk EqNum 0 left[9].fc: 1000"));
    copyRecord(RecordKind::Adc, defaultRecord(RecordKind::Adc), store);
    EXPECT_TRUE(holds(dumpRecord(RecordKind::Adc, store), "adcCfg gCfg[1].sr: 48000"));
}

} // namespace
} // namespace vexo::dsp
