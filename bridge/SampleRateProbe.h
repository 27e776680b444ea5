#pragma once

#include <QString>

class SoundInputs;

/// Asks the sound system whether every device whose name contains `deviceName`, in any case, would open at
/// this rate, in Hz: with its outputs where it has some, else with its inputs. Nothing is changed on the
/// system; the findings are logged. False for an empty name, a rate of 0 or less, no device, or one that
/// refuses. The UI thread.
[[nodiscard]] bool probeDeviceSampleRate(SoundInputs& inputs, const QString& deviceName, double sampleRate);
