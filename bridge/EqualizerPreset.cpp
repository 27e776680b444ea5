#include "bridge/EqualizerPreset.h"

#include <QDebug>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <algorithm>

std::optional<std::array<float, kEqualizerBandCount>> equalizerPresetGains(const QString& text) {
    const QJsonObject preset = QJsonDocument::fromJson(text.toUtf8()).object();
    if (preset.isEmpty()) {
        return std::nullopt;
    }
    const QJsonArray values = preset.value(QLatin1String("value")).toArray();
    if (values.size() != static_cast<qsizetype>(kEqualizerBandCount)) {
        qCritical() << "SystemBridge::updateMonitorDevice: Equalizer config array size is not 12, got"
                    << values.size();
        return std::nullopt;
    }
    std::array<float, kEqualizerBandCount> gainsDb{};
    std::ranges::transform(values, gainsDb.begin(),
                           [](const QJsonValue& value) { return static_cast<float>(value.toDouble()); });
    return gainsDb;
}
