#include "bridge/Hotkey.h"

#include <QChar>
#include <QLatin1String>

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

struct NamedKey {
    const char* name;
    std::uint16_t key;
};

constexpr std::array<NamedKey, 7> kModifiers = {{
    {"Ctrl", virtualKey::kControl},
    {"Command", virtualKey::kControl},
    {"Alt", virtualKey::kMenu},
    {"Option", virtualKey::kMenu},
    {"Shift", virtualKey::kShift},
    {"Meta", virtualKey::kLeftWindows},
    // The vocabulary is that of a system on which the command key does what the control key does elsewhere.
    {"Control", virtualKey::kLeftWindows},
}};

constexpr std::array<NamedKey, 32> kMainKeys = {{
    {"F1", virtualKey::kF1},
    {"F2", virtualKey::kF1 + 1},
    {"F3", virtualKey::kF1 + 2},
    {"F4", virtualKey::kF1 + 3},
    {"F5", virtualKey::kF1 + 4},
    {"F6", virtualKey::kF1 + 5},
    {"F7", virtualKey::kF1 + 6},
    {"F8", virtualKey::kF1 + 7},
    {"F9", virtualKey::kF1 + 8},
    {"F10", virtualKey::kF1 + 9},
    {"F11", virtualKey::kF1 + 10},
    {"F12", virtualKey::kF1 + 11},
    {"Space", virtualKey::kSpace},
    {"Enter", virtualKey::kReturn},
    {"Return", virtualKey::kReturn},
    {"Tab", virtualKey::kTab},
    {"Esc", virtualKey::kEscape},
    {"Escape", virtualKey::kEscape},
    {"Backspace", virtualKey::kBackspace},
    {"Delete", virtualKey::kDelete},
    {"Insert", virtualKey::kInsert},
    {"Home", virtualKey::kHome},
    {"End", virtualKey::kEnd},
    {"PageUp", virtualKey::kPageUp},
    {"PageDown", virtualKey::kPageDown},
    {"Left", virtualKey::kLeft},
    {"Right", virtualKey::kRight},
    {"Up", virtualKey::kUp},
    {"Down", virtualKey::kDown},
    {"Minus", virtualKey::kMinus},
    {"Plus", virtualKey::kPlus},
    {"Equal", virtualKey::kPlus}, // one key, as on the keyboard
}};

std::optional<std::uint16_t> modifierOf(const QString& word) {
    const auto* const found = std::ranges::find_if(kModifiers, [&word](const NamedKey& modifier) {
        return word.compare(QLatin1String(modifier.name), Qt::CaseInsensitive) == 0;
    });
    return found != kModifiers.end() ? std::optional(found->key) : std::nullopt;
}

std::uint16_t keyOfCharacter(QChar character) {
    const char16_t upper = character.toUpper().unicode();
    const bool isKey = (upper >= u'A' && upper <= u'Z') || (upper >= u'0' && upper <= u'9');
    return isKey ? upper : virtualKey::kNone;
}

std::uint16_t mainKeyOf(const QString& name) {
    if (name.size() == 1) {
        return keyOfCharacter(name.front());
    }
    const auto* const found = std::ranges::find_if(
        kMainKeys, [&name](const NamedKey& key) { return name == QLatin1String(key.name); });
    return found != kMainKeys.end() ? found->key : virtualKey::kNone;
}

} // namespace

Hotkey hotkeyOf(const QStringList& parts) {
    Hotkey hotkey;
    if (parts.isEmpty()) {
        hotkey.fault = HotkeyFault::NoParts;
        return hotkey;
    }
    std::vector<std::uint16_t> modifiers;
    for (const QString& part : parts) {
        const QString word = part.trimmed();
        if (const std::optional<std::uint16_t> modifier = modifierOf(word)) {
            modifiers.push_back(*modifier);
        } else {
            hotkey.mainKey = word;
        }
    }
    if (hotkey.mainKey.isEmpty()) {
        hotkey.fault = HotkeyFault::NoMainKey;
        return hotkey;
    }
    const std::uint16_t key = mainKeyOf(hotkey.mainKey);
    if (key == virtualKey::kNone && hotkey.mainKey.size() > 1) {
        hotkey.fault = HotkeyFault::UnsupportedKey;
        return hotkey;
    }
    for (const std::uint16_t modifier : modifiers) {
        hotkey.events.push_back({modifier, false});
    }
    hotkey.events.push_back({key, false});
    hotkey.events.push_back({key, true});
    for (const std::uint16_t modifier : modifiers) {
        hotkey.events.push_back({modifier, true});
    }
    return hotkey;
}

QStringList hotkeyParts(const QString& text) {
    return text.split(QLatin1Char('+'), Qt::KeepEmptyParts);
}
