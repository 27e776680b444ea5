#pragma once

// Records and levels in the form in which the user interface sends and receives them. Any thread.

#include "mixer/AppAudioConfig.h"

#include <QVariantList>
#include <QVariantMap>

#include <vector>

/// The record of one map; keys that are missing leave the record's initial values, unknown ones are ignored.
[[nodiscard]] AppAudioConfig appAudioConfigOf(const QVariantMap& map);

/// One map for each report, with "processID", "levelLeft" and "levelRight".
[[nodiscard]] QVariantList levelMapsOf(const std::vector<AudioLevelInfo>& levels);
