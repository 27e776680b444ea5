#include "bridge/AudioDeviceMaps.h"

#include <QByteArray>
#include <QMap>

#include <algorithm>

namespace {

QVariantMap mapOf(const AudioDeviceEntry& entry) {
    return {
        {QStringLiteral("index"), entry.index},
        {QStringLiteral("name"), QString::fromStdString(entry.name)},
        {QStringLiteral("hostApi"), QString::fromStdString(entry.hostApi)},
        {QStringLiteral("maxInputChannels"), entry.maxInputChannels},
        {QStringLiteral("maxOutputChannels"), entry.maxOutputChannels},
        {QStringLiteral("defaultSampleRate"), entry.defaultSampleRate},
        {QStringLiteral("isInput"), entry.isInput},
        {QStringLiteral("isOutput"), entry.isOutput},
    };
}

void addDirection(QMap<QByteArray, AudioDeviceEntry>& devices, const QList<AudioDeviceFacts>& list,
                  bool AudioDeviceEntry::* direction, std::int32_t AudioDeviceEntry::* channels) {
    for (const AudioDeviceFacts& facts : list) {
        auto found = devices.find(facts.id);
        if (found == devices.end()) {
            AudioDeviceEntry entry;
            entry.index = static_cast<std::int32_t>(devices.size());
            entry.name = facts.description.toStdString();
            entry.hostApi = "Qt Multimedia"; // of a device from the system's list, whoever gave that
            entry.defaultSampleRate = facts.preferredSampleRate;
            found = devices.insert(facts.id, entry);
        } else if (facts.preferredSampleRate > 0.0) {
            found->defaultSampleRate = std::max(found->defaultSampleRate, facts.preferredSampleRate);
        }
        (*found).*direction = true;
        (*found).*channels = facts.maxChannels;
    }
}

} // namespace

void appendAudioDeviceMaps(QVariantList& maps, const QList<AudioDeviceFacts>& inputs,
                           const QList<AudioDeviceFacts>& outputs, int type) {
    QMap<QByteArray, AudioDeviceEntry> devices;
    addDirection(devices, inputs, &AudioDeviceEntry::isInput, &AudioDeviceEntry::maxInputChannels);
    addDirection(devices, outputs, &AudioDeviceEntry::isOutput, &AudioDeviceEntry::maxOutputChannels);
    for (const AudioDeviceEntry& entry : std::as_const(devices)) {
        if ((type == kInputDeviceList && !entry.isInput) || (type == kOutputDeviceList && !entry.isOutput)) {
            continue;
        }
        maps.append(mapOf(entry));
    }
}

void appendAudioDeviceMaps(QVariantList& maps, const std::vector<AudioDeviceEntry>& entries) {
    for (const AudioDeviceEntry& entry : entries) {
        maps.append(mapOf(entry));
    }
}
