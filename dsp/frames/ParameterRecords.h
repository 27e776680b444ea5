#pragma once

#include "dsp/frames/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// The signal processor's configuration as it comes over the wire: packed little-endian records that are
/// carried and logged, not interpreted. Pure functions on any thread.
namespace vexo::dsp {

enum class RecordKind { Adc, Dac, I2s, SpkEq, MicEq, Alg };

/// The size of a record's store.
[[nodiscard]] std::size_t storeBytes(RecordKind kind);

/// The record of a device that does not answer, with header and checksum as the device would send it.
[[nodiscard]] Report defaultRecord(RecordKind kind);

/// Copies a complete record's data into its store, never past either. A short record brings its checksum byte
/// along; the rest of the store is then zeros. Of the algorithm record only 36 bytes are taken where its
/// total is at most 105, and the store's other bytes stay. Needs a store of storeBytes().
void copyRecord(RecordKind kind, Bytes record, std::span<std::uint8_t> store);

/// A line for each field, in the order of the offsets. `set` is the number of an equaliser set, whose right
/// bands are left out unless it is stereo. An equaliser's store that is too short gives "EQ para NULL!",
/// another one nothing.
[[nodiscard]] std::vector<std::string> dumpRecord(RecordKind kind, Bytes store, std::size_t set = 0);

} // namespace vexo::dsp
