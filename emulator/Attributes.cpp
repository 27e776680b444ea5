#include "emulator/Attributes.h"

#include <algorithm>
#include <array>

namespace vexo::emulator {
namespace {

enum class Shape { Byte, Colours };

// A value as one model has it. For colours the numbers are counts, for bytes steps.
struct Values {
    Shape shape;
    int lowest;
    int highest;
    // First value: the byte, or the colour as 0xRRGGBB.
    std::uint32_t initial;
};

constexpr Values onOff(std::uint32_t initial = 0) {
    return {Shape::Byte, 0, 1, initial};
}
constexpr Values steps(int lowest, int highest, std::uint32_t initial) {
    return {Shape::Byte, lowest, highest, initial};
}
constexpr Values colours(int count, std::uint32_t initial) {
    return {Shape::Colours, count, count, initial};
}

struct Entry {
    std::uint8_t id;
    std::string_view name;
    std::optional<Values> r2;
    std::optional<Values> m40;
    std::optional<Values> t40;
};

constexpr Entry everywhere(std::uint8_t id, std::string_view name, Values values) {
    return {id, name, values, values, values};
}
constexpr Entry lights(std::uint8_t id, std::string_view name, Values r2, Values t40) {
    return {id, name, r2, std::nullopt, t40};
}
constexpr Entry lights(std::uint8_t id, std::string_view name, Values both) {
    return lights(id, name, both, both);
}
constexpr Entry microphones(std::uint8_t id, std::string_view name, Values values) {
    return {id, name, std::nullopt, values, values};
}

constexpr std::uint32_t kRed = 0xFF0000;
constexpr std::uint32_t kGreen = 0x00FF00;
constexpr std::uint32_t kBlue = 0x0000FF;
constexpr std::uint32_t kYellow = 0xFFFF00;

constexpr auto kCatalogue = std::to_array<Entry>({
    everywhere(1, "mute", onOff()),
    {2, "power", onOff(), std::nullopt, std::nullopt},
    everywhere(3, "auto_gain", onOff()),
    everywhere(4, "listen_output", steps(0, 255, 0)),
    {5, "mic_gain", steps(1, 30, 15), steps(0, 18, 9), steps(0, 18, 9)},
    {6, "listen_volume", steps(1, 30, 15), steps(0, 13, 6), steps(0, 13, 6)},
    {7, "mic_listen_ratio", steps(1, 30, 15), steps(0, 13, 6), steps(0, 13, 6)},
    everywhere(8, "usb_audio_version", steps(0, 255, 1)),
    everywhere(9, "mcu_version", steps(0, 255, 1)),
    lights(10, "background_static_effect", colours(30, kBlue), colours(12, kBlue)),
    lights(11, "background_breath_effect", colours(7, kBlue)),
    lights(12, "background_wave_effect", colours(30, kBlue), colours(12, kBlue)),
    lights(13, "input_sound_wave_light_color", colours(30, kGreen), colours(6, kGreen)),
    // 0 off, 1 to 3 the effects.
    lights(14, "background_light_off", steps(0, 3, 1)),
    lights(15, "input_sound_wave_direction", onOff()),
    lights(16, "mic_gain_light_color", colours(1, kGreen)),
    lights(17, "listen_volume_light_color", colours(1, kYellow)),
    lights(18, "mic_listen_ratio_light_color", colours(1, kBlue)),
    lights(19, "rgb_light_brightness", steps(0, 100, 50)),
    lights(21, "rgb_light_off", colours(1, kRed)),
    lights(22, "background_wave_light_direction", onOff()),
    everywhere(23, "anti_noise", onOff()),
    // 0 off, 1 weak, 2 strong.
    microphones(24, "ai_jianzao", steps(0, 2, 0)),
    // dB, signed: -5.
    everywhere(25, "device_boom_value", steps(0, 255, 0xFB)),
    everywhere(26, "other_light_off", onOff()),
    microphones(27, "reset_factory_settings", onOff()),
    microphones(28, "device_compressor", onOff()),
    // dB, signed: -45.
    microphones(29, "device_compressor_value", steps(0, 255, 0xD3)),
});

constexpr std::string_view kAutoGainOnMicrophones = "auto_gain_on";

const Entry* entryOf(std::uint8_t id) {
    const auto* const found = std::ranges::find(kCatalogue, id, &Entry::id);
    return found == kCatalogue.end() ? nullptr : found;
}

std::optional<Values> valuesOf(Model model, const Entry& entry) {
    switch (model) {
    case Model::MixdeskR2:
        return entry.r2;
    case Model::VoxmicM40:
        return entry.m40;
    case Model::VoxmicT40:
        return entry.t40;
    case Model::MixdeskR2Bootloader:
        break;
    }
    return std::nullopt;
}

std::optional<Values> valuesOf(Model model, std::uint8_t id) {
    const Entry* const entry = entryOf(id);
    return entry == nullptr ? std::nullopt : valuesOf(model, *entry);
}

} // namespace

std::vector<std::uint8_t> attributesOf(Model model) {
    std::vector<std::uint8_t> ids;
    for (const Entry& entry : kCatalogue) {
        if (valuesOf(model, entry)) {
            ids.push_back(entry.id);
        }
    }
    return ids;
}

std::string_view attributeName(Model model, std::uint8_t id) {
    if (id == kAttributeAutoGain && model != Model::MixdeskR2) {
        return kAutoGainOnMicrophones;
    }
    const Entry* const entry = entryOf(id);
    return entry == nullptr ? std::string_view() : entry->name;
}

std::optional<std::uint8_t> attributeByName(std::string_view name) {
    if (name == kAutoGainOnMicrophones) {
        return kAttributeAutoGain;
    }
    const auto* const found = std::ranges::find(kCatalogue, name, &Entry::name);
    return found == kCatalogue.end() ? std::nullopt : std::optional(found->id);
}

Bytes attributeDefault(Model model, std::uint8_t id) {
    const std::optional<Values> values = valuesOf(model, id);
    if (!values) {
        return {};
    }
    if (values->shape == Shape::Byte) {
        return {static_cast<std::uint8_t>(values->initial)};
    }
    Bytes list;
    for (int i = 0; i < values->lowest; ++i) {
        appendU32(list, values->initial);
    }
    return list;
}

bool attributeInRange(Model model, std::uint8_t id, BytesView value) {
    const std::optional<Values> values = valuesOf(model, id);
    if (!values) {
        return false;
    }
    if (values->shape == Shape::Byte) {
        return value.size() == 1 && value[0] >= values->lowest && value[0] <= values->highest;
    }
    if (value.size() != static_cast<std::size_t>(values->lowest) * 4) {
        return false;
    }
    for (std::size_t i = 3; i < value.size(); i += 4) {
        if (value[i] != 0) {
            return false;
        }
    }
    return true;
}

} // namespace vexo::emulator
