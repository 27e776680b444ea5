#include "mixer/router/RoutingMaps.h"

#include <QString>

namespace {

bool boolOf(const QVariantMap& map, const QString& key, bool missing) {
    const auto found = map.constFind(key);
    return found != map.constEnd() ? found->toBool() : missing;
}

void readInput(const QVariantMap& map, const QString& key, bool& enabled, float& volume, bool& muted) {
    const QVariantMap input = map.value(key).toMap();
    enabled = boolOf(input, QStringLiteral("enabled"), enabled);
    const auto stored = input.constFind(QStringLiteral("volume"));
    if (stored != input.constEnd()) {
        volume = static_cast<float>(stored->toDouble());
    }
    muted = boolOf(input, QStringLiteral("muted"), muted);
}

} // namespace

AppAudioConfig appAudioConfigOf(const QVariantMap& map) {
    AppAudioConfig config;
    config.processID = map.value(QStringLiteral("processID")).toUInt();
    config.solo = boolOf(map, QStringLiteral("solo"), config.solo);
    readInput(map, QStringLiteral("input1"), config.input1Enabled, config.input1Volume, config.input1Muted);
    readInput(map, QStringLiteral("input2"), config.input2Enabled, config.input2Volume, config.input2Muted);
    return config;
}

QVariantList levelMapsOf(const std::vector<AudioLevelInfo>& levels) {
    QVariantList maps;
    maps.reserve(static_cast<qsizetype>(levels.size()));
    for (const AudioLevelInfo& level : levels) {
        maps.append(QVariantMap{{QStringLiteral("processID"), level.processID},
                                {QStringLiteral("levelLeft"), level.levelLeft},
                                {QStringLiteral("levelRight"), level.levelRight}});
    }
    return maps;
}
