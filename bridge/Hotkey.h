#pragma once

// From the text of a hotkey, as "Ctrl+Shift+A", to the keys that are pressed. Any thread.

#include "platform/KeyInjection.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

/// Why a text is no hotkey.
enum class HotkeyFault {
    NoParts,       ///< There is no text at all.
    NoMainKey,     ///< No key but modifiers.
    UnsupportedKey ///< The main key's name is longer than a character and no key's.
};

struct Hotkey {
    QString mainKey; ///< its name as it stands in the text, trimmed
    /// What is pressed and released: modifiers down in the order of the text, the main key down and up,
    /// modifiers up in the same order. Empty where there is a fault.
    std::vector<KeyEvent> events;
    std::optional<HotkeyFault> fault;
};

/// The parts of the text between its plus signs. A modifier ("Ctrl", "Command", "Alt", "Option", "Shift",
/// "Meta", "Control") counts in any letter case and any number of times; of several other parts the last one
/// is the main key. Blanks around a part do not count. A main key of one character that is neither a letter
/// nor a digit is virtualKey::kNone, so that the modifiers alone are tapped.
[[nodiscard]] Hotkey hotkeyOf(const QStringList& parts);

/// The parts of a text: it is split at each "+", and empty parts stay.
[[nodiscard]] QStringList hotkeyParts(const QString& text);
