#pragma once

// Audio devices as maps for QML, one each: "index", "name", "hostApi", "maxInputChannels",
// "maxOutputChannels", "defaultSampleRate", "isInput", "isOutput". Plain functions for any thread.

#include "audio/capture/AudioRouterConfig.h"
#include "platform/InventorySources.h"

#include <QList>
#include <QVariantList>

#include <vector>

inline constexpr int kInputDeviceList = 1;
inline constexpr int kOutputDeviceList = 2;

/// Appends the maps of kind `type` (1 inputs, 2 outputs, else all) in the order of the ids. A device that is
/// in both lists under one id is one map, with the larger of its rates. "index" counts devices in the order
/// of the lists, inputs before outputs. An exception leaves the maps that were made before it.
void appendAudioDeviceMaps(QVariantList& maps, const QList<AudioDeviceFacts>& inputs,
                           const QList<AudioDeviceFacts>& outputs, int type);

/// Appends the list of the capture service, unchanged.
void appendAudioDeviceMaps(QVariantList& maps, const std::vector<AudioDeviceEntry>& entries);
