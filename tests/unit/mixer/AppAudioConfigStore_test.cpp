#include "mixer/AppAudioConfigStore.h"

#include <gtest/gtest.h>
#include <limits>

TEST(AppAudioConfigStore, UnknownSourceIsInactiveAtFullVolume) {
    const AppAudioConfigStore store;
    const AppAudioConfig config = store.getConfig(4711);
    EXPECT_FALSE(config.active);
    EXPECT_FALSE(config.input1Enabled || config.input1Muted || config.input2Enabled || config.input2Muted);
    EXPECT_FALSE(config.solo);
    EXPECT_EQ(config.input1Volume, 1.0f);
    EXPECT_EQ(config.input2Volume, 1.0f);
    EXPECT_EQ(config.processID, 0u);
}

TEST(AppAudioConfigStore, RecordThatNamesNothingIsActiveOnNoBus) {
    const AppAudioConfig config;
    EXPECT_TRUE(config.active);
    EXPECT_EQ(config.processID, 0u);
    EXPECT_FALSE(config.input1Enabled || config.input1Muted || config.input2Enabled || config.input2Muted);
    EXPECT_FALSE(config.solo);
    EXPECT_EQ(config.input1Volume, 1.0f);
    EXPECT_EQ(config.input2Volume, 1.0f);
}

TEST(AppAudioConfigStore, BusWithoutMasterRecordIsEnabledAtFullVolumeOnThatBusAlone) {
    const AppAudioConfigStore store;
    AppAudioConfig bus1;
    bus1.input1Enabled = true;
    EXPECT_EQ(store.getBusConfig(1), bus1);
    AppAudioConfig bus2;
    bus2.input2Enabled = true;
    EXPECT_EQ(store.getBusConfig(2), bus2);
    EXPECT_EQ(store.getBusConfig(3), bus2);
}

TEST(AppAudioConfigStore, MasterRecordsLieUnderTheTwoHighestIds) {
    AppAudioConfigStore store;
    AppAudioConfig master1;
    master1.processID = 0xFFFFFFFF;
    master1.input1Volume = 0.25f;
    AppAudioConfig master2;
    master2.processID = 0xFFFFFFFE;
    master2.solo = true;
    store.putConfig(0xFFFFFFFF, master1);
    store.putConfig(0xFFFFFFFE, master2);
    EXPECT_EQ(store.getBusConfig(1), master1);
    EXPECT_EQ(store.getBusConfig(2), master2);
    EXPECT_EQ(store.getBusConfig(0), master2);
    EXPECT_EQ(store.getBusConfig(77), master2);
}

TEST(AppAudioConfigStore, RecordIsKeptUnderTheGivenIdWhateverItNames) {
    AppAudioConfigStore store;
    AppAudioConfig config;
    config.processID = 0;
    config.active = false;
    store.putConfig(20, config);
    EXPECT_EQ(store.getConfig(20), config);
    EXPECT_EQ(store.allProcessIds(), std::vector<std::uint32_t>{20});
}

TEST(AppAudioConfigStore, LastOfTwoRecordsOfOneSourceWins) {
    AppAudioConfigStore store;
    AppAudioConfig config;
    config.input1Volume = 0.5f;
    store.putConfig(20, config);
    config.input1Volume = 0.75f;
    store.putConfig(20, config);
    EXPECT_EQ(store.getConfig(20).input1Volume, 0.75f);
    EXPECT_EQ(store.allProcessIds().size(), 1u);
}

TEST(AppAudioConfigStore, IdsComeInAscendingOrderAndAreNeverForgottenBeforeTheEnd) {
    AppAudioConfigStore store;
    for (const std::uint32_t processID : {0xFFFFFFFFu, 10u, 0u, 9u, 0xFFFFFFFEu, 100u}) {
        store.putConfig(processID, {});
    }
    store.putConfig(100, inactiveAppAudioConfig());
    EXPECT_EQ(store.allProcessIds(), (std::vector<std::uint32_t>{0, 9, 10, 100, 0xFFFFFFFE, 0xFFFFFFFF}));
    store.clear();
    EXPECT_TRUE(store.allProcessIds().empty());
    EXPECT_FALSE(store.getConfig(10).active);
}

TEST(AppAudioConfigStore, TenThousandRecordsAreKept) {
    AppAudioConfigStore store;
    for (std::uint32_t processID = 0; processID < 10'000; ++processID) {
        AppAudioConfig config;
        config.processID = processID;
        config.input1Volume = static_cast<float>(processID);
        store.putConfig(processID, config);
    }
    EXPECT_EQ(store.allProcessIds().size(), 10'000u);
    for (std::uint32_t processID = 0; processID < 10'000; ++processID) {
        ASSERT_EQ(store.getConfig(processID).input1Volume, static_cast<float>(processID));
    }
}

TEST(AppAudioConfigStore, ProcessWideStoreIsOne) {
    EXPECT_EQ(&AppAudioConfigStore::instance(), &AppAudioConfigStore::instance());
}
