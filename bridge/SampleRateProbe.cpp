#include "bridge/SampleRateProbe.h"

#include "platform/SoundInputs.h"

#include <QDebug>
#include <QList>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace {

QString nameOf(const SoundDeviceRecord& record) {
    return QString::fromLocal8Bit(record.name.value_or(""));
}

int formatCheck(SoundInputs& inputs, const SoundDeviceRecord& record, double sampleRate) {
    const bool output = record.maxOutputChannels > 0;
    return inputs.checkFormat(
        {.device = record.index,
         .isOutput = output,
         .channels = std::min(2, output ? record.maxOutputChannels : record.maxInputChannels),
         .latency = output ? record.lowOutputLatency : record.lowInputLatency,
         .sampleRate = sampleRate});
}

void logSupported(const SoundDeviceRecord& record, const QString& name, double sampleRate) {
    qDebug() << "SystemBridge::SetDeviceSampleRate: Device supports sample rate" << sampleRate << "Hz";
    if (record.maxInputChannels > 0) {
        qDebug() << "  Input channels:" << record.maxInputChannels << "can use this sample rate";
    }
    if (record.maxOutputChannels > 0) {
        qDebug() << "  Output channels:" << record.maxOutputChannels << "can use this sample rate";
    }
    qWarning()
        << "SystemBridge::SetDeviceSampleRate: Windows platform - Cannot directly modify system device "
           "sample rate via PortAudio.";
    qWarning() << "  Device:" << name;
    qWarning() << "  Requested sample rate:" << sampleRate << "Hz";
    qWarning() << "  Device default sample rate:" << record.defaultSampleRate << "Hz";
    if (record.maxInputChannels > 0) {
        qWarning() << "  Input channels:" << record.maxInputChannels
                   << "(sample rate can be set when opening stream)";
    }
    if (record.maxOutputChannels > 0) {
        qWarning() << "  Output channels:" << record.maxOutputChannels
                   << "(sample rate can be set when opening stream)";
    }
    qWarning() << "  Note: To change system device sample rate, use Windows Sound Settings or device driver "
                  "settings.";
    qWarning()
        << "  Note: PortAudio can use the requested sample rate when opening audio streams, but cannot "
           "change the system default.";
}

bool probeOne(SoundInputs& inputs, std::int32_t index, double sampleRate) {
    const SoundDeviceList devices = inputs.devices();
    const SoundDeviceRecord* const record = devices.find(index);
    if (record == nullptr) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: Failed to get device info for index" << index;
        return false;
    }
    const QString name = nameOf(*record);
    qDebug().nospace() << "SystemBridge::SetDeviceSampleRate: Processing device: " << name
                       << " (Index: " << index << ")";
    qDebug().nospace() << "  Input channels: " << record->maxInputChannels
                       << ", Output channels: " << record->maxOutputChannels;
    if (record->maxInputChannels < 1 && record->maxOutputChannels < 1) {
        qWarning() << "SystemBridge::SetDeviceSampleRate: Device has no input or output channels, skipping";
        return true;
    }
    const int result = formatCheck(inputs, *record, sampleRate);
    if (result == kInputInvalidRate) {
        qWarning() << "SystemBridge::SetDeviceSampleRate: Device does not support sample rate" << sampleRate
                   << "Hz";
        qWarning() << "  Default sample rate:" << record->defaultSampleRate << "Hz";
        return false;
    }
    if (result != kInputDone) {
        qWarning() << "SystemBridge::SetDeviceSampleRate: Error checking format support:"
                   << inputs.errorText(result).c_str();
        return false;
    }
    logSupported(*record, name, sampleRate);
    return true;
}

} // namespace

bool probeDeviceSampleRate(SoundInputs& inputs, const QString& deviceName, double sampleRate) {
    if (deviceName.isEmpty() || !(sampleRate > 0.0)) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: Invalid parameters - deviceName:" << deviceName
                 << "sampleRate:" << sampleRate;
        return false;
    }
    const SoundDeviceList devices = inputs.devices();
    if (devices.deviceCount <= 0) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: No audio devices found";
        return false;
    }
    QList<std::int32_t> matches;
    for (const SoundDeviceRecord& record : devices.records) {
        if (nameOf(record).contains(deviceName, Qt::CaseInsensitive)) {
            matches.append(record.index);
        }
    }
    if (matches.isEmpty()) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: Device not found:" << deviceName;
        return false;
    }
    qDebug() << "SystemBridge::SetDeviceSampleRate: Found" << matches.size() << "matching device(s)";
    bool allSupported = true;
    for (const std::int32_t index : std::as_const(matches)) {
        allSupported = probeOne(inputs, index, sampleRate) && allSupported;
    }
    return allSupported;
}
