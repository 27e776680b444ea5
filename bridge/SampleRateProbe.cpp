#include "bridge/SampleRateProbe.h"

#include <QDebug>
#include <QList>

#include <algorithm>
#include <portaudio.h>

namespace {

PaError formatCheck(PaDeviceIndex index, const PaDeviceInfo& info, double sampleRate) {
    const bool output = info.maxOutputChannels > 0;
    PaStreamParameters parameters{};
    parameters.device = index;
    parameters.channelCount = std::min(2, output ? info.maxOutputChannels : info.maxInputChannels);
    parameters.sampleFormat = paFloat32;
    parameters.suggestedLatency = output ? info.defaultLowOutputLatency : info.defaultLowInputLatency;
    return output ? Pa_IsFormatSupported(nullptr, &parameters, sampleRate)
                  : Pa_IsFormatSupported(&parameters, nullptr, sampleRate);
}

void logSupported(const PaDeviceInfo& info, const QString& name, double sampleRate) {
    qDebug() << "SystemBridge::SetDeviceSampleRate: Device supports sample rate" << sampleRate << "Hz";
    if (info.maxInputChannels > 0) {
        qDebug() << "  Input channels:" << info.maxInputChannels << "can use this sample rate";
    }
    if (info.maxOutputChannels > 0) {
        qDebug() << "  Output channels:" << info.maxOutputChannels << "can use this sample rate";
    }
    qWarning()
        << "SystemBridge::SetDeviceSampleRate: Windows platform - Cannot directly modify system device "
           "sample rate via PortAudio.";
    qWarning() << "  Device:" << name;
    qWarning() << "  Requested sample rate:" << sampleRate << "Hz";
    qWarning() << "  Device default sample rate:" << info.defaultSampleRate << "Hz";
    if (info.maxInputChannels > 0) {
        qWarning() << "  Input channels:" << info.maxInputChannels
                   << "(sample rate can be set when opening stream)";
    }
    if (info.maxOutputChannels > 0) {
        qWarning() << "  Output channels:" << info.maxOutputChannels
                   << "(sample rate can be set when opening stream)";
    }
    qWarning() << "  Note: To change system device sample rate, use Windows Sound Settings or device driver "
                  "settings.";
    qWarning()
        << "  Note: PortAudio can use the requested sample rate when opening audio streams, but cannot "
           "change the system default.";
}

bool probeOne(PaDeviceIndex index, double sampleRate) {
    const PaDeviceInfo* const info = Pa_GetDeviceInfo(index);
    if (info == nullptr) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: Failed to get device info for index" << index;
        return false;
    }
    const QString name = QString::fromLocal8Bit(info->name);
    qDebug().nospace() << "SystemBridge::SetDeviceSampleRate: Processing device: " << name
                       << " (Index: " << index << ")";
    qDebug().nospace() << "  Input channels: " << info->maxInputChannels
                       << ", Output channels: " << info->maxOutputChannels;
    if (info->maxInputChannels < 1 && info->maxOutputChannels < 1) {
        qWarning() << "SystemBridge::SetDeviceSampleRate: Device has no input or output channels, skipping";
        return true;
    }
    const PaError result = formatCheck(index, *info, sampleRate);
    if (result == paInvalidSampleRate) {
        qWarning() << "SystemBridge::SetDeviceSampleRate: Device does not support sample rate" << sampleRate
                   << "Hz";
        qWarning() << "  Default sample rate:" << info->defaultSampleRate << "Hz";
        return false;
    }
    if (result != paFormatIsSupported) {
        qWarning() << "SystemBridge::SetDeviceSampleRate: Error checking format support:"
                   << Pa_GetErrorText(result);
        return false;
    }
    logSupported(*info, name, sampleRate);
    return true;
}

} // namespace

bool probeDeviceSampleRate(const QString& deviceName, double sampleRate) {
    if (deviceName.isEmpty() || !(sampleRate > 0.0)) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: Invalid parameters - deviceName:" << deviceName
                 << "sampleRate:" << sampleRate;
        return false;
    }
    const PaDeviceIndex count = Pa_GetDeviceCount();
    if (count <= 0) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: No audio devices found";
        return false;
    }
    QList<PaDeviceIndex> matches;
    for (PaDeviceIndex index = 0; index < count; ++index) {
        const PaDeviceInfo* const info = Pa_GetDeviceInfo(index);
        if (info != nullptr && QString::fromLocal8Bit(info->name).contains(deviceName, Qt::CaseInsensitive)) {
            matches.append(index);
        }
    }
    if (matches.isEmpty()) {
        qDebug() << "SystemBridge::SetDeviceSampleRate: Device not found:" << deviceName;
        return false;
    }
    qDebug() << "SystemBridge::SetDeviceSampleRate: Found" << matches.size() << "matching device(s)";
    bool allSupported = true;
    for (const PaDeviceIndex index : std::as_const(matches)) {
        allSupported = probeOne(index, sampleRate) && allSupported;
    }
    return allSupported;
}
