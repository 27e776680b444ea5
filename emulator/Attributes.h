// The catalogue of attributes: ids, names, which model has which, first values and ranges.
#pragma once

#include "emulator/Models.h"

namespace vexo::emulator {

// Attributes that the device acts upon.
inline constexpr std::uint8_t kAttributeAutoGain = 3;
inline constexpr std::uint8_t kAttributeMicGain = 5;
inline constexpr std::uint8_t kAttributeBackgroundMode = 14;
inline constexpr std::uint8_t kAttributeFactoryReset = 27;

// The ids that a model has, ascending. A bootloader has none.
std::vector<std::uint8_t> attributesOf(Model model);

// The catalogue's name; id 3 is "auto_gain" on the mixer and "auto_gain_on" on the microphones. Empty for an
// id that no model has.
std::string_view attributeName(Model model, std::uint8_t id);

// The id of a name; both names of id 3 are accepted for every model.
std::optional<std::uint8_t> attributeByName(std::string_view name);

// The value with which a model leaves the factory.
Bytes attributeDefault(Model model, std::uint8_t id);

// Whether a model's attribute can have this value: number of bytes, smallest and greatest step, known modes,
// number of colours. A colour is four bytes: blue, green, red, 0.
bool attributeInRange(Model model, std::uint8_t id, BytesView value);

} // namespace vexo::emulator
