// Fuzzes the reading of hotkeys: any bytes as UTF-8. It fails when a sanitizer reports, and when what is read
// would leave a key pressed or press one that no text names.

#include "bridge/Hotkey.h"
#include "tests/fuzz/FuzzProgram.h"

#include <QByteArrayView>
#include <QString>

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace {

using fuzz::require;

bool isModifier(std::uint16_t key) {
    constexpr std::array<std::uint16_t, 4> kModifiers = {0x10, 0x11, 0x12, 0x5B};
    return std::ranges::find(kModifiers, key) != kModifiers.end();
}

bool isMainKey(std::uint16_t key) {
    constexpr std::array<std::uint16_t, 19> kNamed = {0x00, 0x08, 0x09, 0x0D, 0x1B, 0x20, 0x21,
                                                      0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28,
                                                      0x2D, 0x2E, 0xBB, 0xBD, 0x7B};
    return (key >= '0' && key <= '9') || (key >= 'A' && key <= 'Z') || (key >= 0x70 && key < 0x7B) ||
           std::ranges::find(kNamed, key) != kNamed.end();
}

void checkEvents(const std::vector<KeyEvent>& events, qsizetype parts) {
    require(events.size() >= 2 && events.size() % 2 == 0, "each key goes down and up");
    const std::size_t half = events.size() / 2;
    require(half <= static_cast<std::size_t>(parts), "no more keys than parts");
    require(events[half - 1] == KeyEvent{events[half].key, false}, "the main key goes up at once");
    require(isMainKey(events[half].key), "the main key is one of the known");
    for (std::size_t at = 0; at < half; ++at) {
        require(!events[at].isRelease && events[half + at].isRelease, "first all go down, then all go up");
        if (at + 1 < half) {
            require(isModifier(events[at].key), "what goes down first is a modifier");
            require(events[half + 1 + at].key == events[at].key, "modifiers go up in the order of the text");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QString text =
        QString::fromUtf8(QByteArrayView(reinterpret_cast<const char*>(bytes), static_cast<qsizetype>(size)));
    const QStringList parts = hotkeyParts(text);
    require(!parts.isEmpty(), "a text has a part");
    const Hotkey hotkey = hotkeyOf(parts);
    require(hotkey.fault.has_value() == hotkey.events.empty(), "a fault, or keys");
    if (!hotkey.fault) {
        checkEvents(hotkey.events, parts.size());
    }
    return 0;
}
