#include "mixer/router/RoutingMaps.h"

#include <QString>

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace {

QVariantMap input(const QVariant& volume) {
    return {{QStringLiteral("volume"), volume}};
}

float volumeOf(const QVariant& volume) {
    return appAudioConfigOf({{QStringLiteral("input1"), input(volume)}}).input1Volume;
}

} // namespace

TEST(RoutingMaps, EveryKeyReachesItsField) {
    const QVariantMap map{{QStringLiteral("processID"), 4711},
                          {QStringLiteral("solo"), true},
                          {QStringLiteral("input1"), QVariantMap{{QStringLiteral("enabled"), true},
                                                                 {QStringLiteral("volume"), 0.25},
                                                                 {QStringLiteral("muted"), true}}},
                          {QStringLiteral("input2"), QVariantMap{{QStringLiteral("enabled"), true},
                                                                 {QStringLiteral("volume"), 0.75},
                                                                 {QStringLiteral("muted"), true}}},
                          {QStringLiteral("bundleID"), QStringLiteral("x")},
                          {QStringLiteral("streamID"), 3},
                          {QStringLiteral("deviceName"), QStringLiteral("y")},
                          {QStringLiteral("active"), false}};
    EXPECT_EQ(appAudioConfigOf(map), (AppAudioConfig{.processID = 4711,
                                                     .active = true,
                                                     .input1Enabled = true,
                                                     .input1Volume = 0.25f,
                                                     .input1Muted = true,
                                                     .input2Enabled = true,
                                                     .input2Volume = 0.75f,
                                                     .input2Muted = true,
                                                     .solo = true}));
}

TEST(RoutingMaps, MissingKeysLeaveTheInitialValues) {
    EXPECT_EQ(appAudioConfigOf({}), AppAudioConfig{});
    const QVariantMap enabled{{QStringLiteral("enabled"), true}};
    EXPECT_EQ(appAudioConfigOf({{QStringLiteral("input2"), enabled}}),
              (AppAudioConfig{.input2Enabled = true}));
}

TEST(RoutingMaps, ARecordWithoutInput1LeavesBus1DisabledAtFullVolume) {
    const AppAudioConfig config = appAudioConfigOf({{QStringLiteral("processID"), 12}});
    EXPECT_FALSE(config.input1Enabled);
    EXPECT_EQ(config.input1Volume, 1.0f);
    EXPECT_FALSE(config.input1Muted);
}

TEST(RoutingMaps, MasterIdsArriveFromScriptNumbers) {
    // A script's number is a double.
    EXPECT_EQ(appAudioConfigOf({{QStringLiteral("processID"), 4294967295.0}}).processID,
              kBus1MasterProcessId);
    EXPECT_EQ(appAudioConfigOf({{QStringLiteral("processID"), 4294967294.0}}).processID,
              kBus2MasterProcessId);
}

TEST(RoutingMaps, AbsurdVolumesArriveAsTheyAre) {
    EXPECT_EQ(volumeOf(-3.5), -3.5f);
    EXPECT_EQ(volumeOf(1e30), 1e30f);
    EXPECT_TRUE(std::isinf(volumeOf(1e300)));
    EXPECT_TRUE(std::isnan(volumeOf(std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(volumeOf(QStringLiteral("loud")), 0.0f);
}

TEST(RoutingMaps, ValuesOfTheWrongTypeAreReadAsQtConvertsThem) {
    const AppAudioConfig config = appAudioConfigOf({{QStringLiteral("processID"), QStringLiteral("nonsense")},
                                                    {QStringLiteral("solo"), QStringLiteral("true")},
                                                    {QStringLiteral("input1"), 5}});
    EXPECT_EQ(config, (AppAudioConfig{.solo = true}));
}

TEST(RoutingMaps, LevelsBecomeMapsWithTheirThreeKeys) {
    const QVariantList maps = levelMapsOf({{4711, 0.5f, 0.25f}, {kBus1MasterProcessId, 1.5f, 0.0f}});
    ASSERT_EQ(maps.size(), 2);
    EXPECT_EQ(maps.at(0).toMap(), (QVariantMap{{QStringLiteral("processID"), 4711u},
                                               {QStringLiteral("levelLeft"), 0.5f},
                                               {QStringLiteral("levelRight"), 0.25f}}));
    EXPECT_EQ(maps.at(1).toMap().value(QStringLiteral("processID")).toUInt(), 4294967295u);
    EXPECT_EQ(maps.at(1).toMap().value(QStringLiteral("levelLeft")).toDouble(), 1.5);
    EXPECT_TRUE(levelMapsOf({}).isEmpty());
}
