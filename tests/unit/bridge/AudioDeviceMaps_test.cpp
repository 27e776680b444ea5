#include "bridge/AudioDeviceMaps.h"

#include <gtest/gtest.h>

namespace {

QVariantList audioDeviceMaps(const QList<AudioDeviceFacts>& inputs, const QList<AudioDeviceFacts>& outputs,
                             int type) {
    QVariantList maps;
    appendAudioDeviceMaps(maps, inputs, outputs, type);
    return maps;
}

QStringList names(const QVariantList& maps) {
    QStringList result;
    for (const QVariant& map : maps) {
        result.append(map.toMap()["name"].toString());
    }
    return result;
}

} // namespace

TEST(AudioDeviceMaps, DeviceOfBothListsUnderOneIdIsOneMapWithBothFlags) {
    const QVariantList maps =
        audioDeviceMaps({{"id", "Headset", 1, 16000.0}}, {{"id", "Headset", 2, 48000.0}}, 0);
    EXPECT_EQ(maps, (QVariantList{QVariantMap{{"index", 0},
                                              {"name", "Headset"},
                                              {"hostApi", "Qt Multimedia"},
                                              {"maxInputChannels", 1},
                                              {"maxOutputChannels", 2},
                                              {"defaultSampleRate", 48000.0},
                                              {"isInput", true},
                                              {"isOutput", true}}}));
}

TEST(AudioDeviceMaps, OrderIsThatOfTheIdsWhileTheIndexCountsAsMet) {
    const QVariantList maps = audioDeviceMaps({{"c", "C", 1, 0}, {"a", "A", 1, 0}}, {{"b", "B", 1, 0}}, 0);
    EXPECT_EQ(names(maps), (QStringList{"A", "B", "C"}));
    EXPECT_EQ(maps[0].toMap()["index"], 1);
    EXPECT_EQ(maps[1].toMap()["index"], 2);
    EXPECT_EQ(maps[2].toMap()["index"], 0);
}

TEST(AudioDeviceMaps, TypeKeepsInputsOrOutputs) {
    const QList<AudioDeviceFacts> inputs{{"m", "Mic", 1, 48000.0}, {"h", "Headset", 1, 48000.0}};
    const QList<AudioDeviceFacts> outputs{{"s", "Speakers", 2, 48000.0}, {"h", "Headset", 2, 48000.0}};
    EXPECT_EQ(names(audioDeviceMaps(inputs, outputs, 1)), (QStringList{"Headset", "Mic"}));
    EXPECT_EQ(names(audioDeviceMaps(inputs, outputs, 2)), (QStringList{"Headset", "Speakers"}));
    EXPECT_EQ(names(audioDeviceMaps(inputs, outputs, 7)), (QStringList{"Headset", "Mic", "Speakers"}));
}

TEST(AudioDeviceMaps, RateWithoutAValueChangesNothing) {
    const auto rateOf = [](double input, double output) {
        return audioDeviceMaps({{"x", "X", 1, input}}, {{"x", "X", 2, output}}, 0)[0]
            .toMap()["defaultSampleRate"];
    };
    EXPECT_EQ(rateOf(44100.0, 0.0), 44100.0);
    EXPECT_EQ(rateOf(44100.0, -1.0), 44100.0);
    EXPECT_EQ(rateOf(0.0, 44100.0), 44100.0);
    EXPECT_EQ(rateOf(96000.0, 44100.0), 96000.0);
}

TEST(AudioDeviceMaps, EntriesOfTheServiceKeepTheirOrderAndIndex) {
    AudioDeviceEntry entry;
    entry.index = 5;
    entry.name = "麦克风";
    entry.hostApi = "Windows WASAPI";
    entry.maxInputChannels = 2;
    entry.defaultSampleRate = 44100.0;
    entry.isInput = true;
    QVariantList maps{QStringLiteral("gathered before")};
    appendAudioDeviceMaps(maps, {entry});
    ASSERT_EQ(maps.size(), 2);
    EXPECT_EQ(maps[0], "gathered before");
    EXPECT_EQ(maps[1].toMap()["index"], 5);
    EXPECT_EQ(maps[1].toMap()["name"], QStringLiteral("麦克风"));
    EXPECT_EQ(maps[1].toMap()["hostApi"], "Windows WASAPI");
}
