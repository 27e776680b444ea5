#pragma once

// Presses keys in the place of the user: what has the keyboard focus hears them as it hears the keyboard.

#include <cstddef>
#include <cstdint>
#include <span>

/// The numbers of keys, as Windows has them. A letter A to Z and a digit 0 to 9 is its own number.
namespace virtualKey {
inline constexpr std::uint16_t kNone = 0x00; ///< no key: counts as one, and does nothing
inline constexpr std::uint16_t kBackspace = 0x08;
inline constexpr std::uint16_t kTab = 0x09;
inline constexpr std::uint16_t kReturn = 0x0D;
inline constexpr std::uint16_t kShift = 0x10;
inline constexpr std::uint16_t kControl = 0x11;
inline constexpr std::uint16_t kMenu = 0x12; ///< Alt
inline constexpr std::uint16_t kEscape = 0x1B;
inline constexpr std::uint16_t kSpace = 0x20;
inline constexpr std::uint16_t kPageUp = 0x21;
inline constexpr std::uint16_t kPageDown = 0x22;
inline constexpr std::uint16_t kEnd = 0x23;
inline constexpr std::uint16_t kHome = 0x24;
inline constexpr std::uint16_t kLeft = 0x25;
inline constexpr std::uint16_t kUp = 0x26;
inline constexpr std::uint16_t kRight = 0x27;
inline constexpr std::uint16_t kDown = 0x28;
inline constexpr std::uint16_t kInsert = 0x2D;
inline constexpr std::uint16_t kDelete = 0x2E;
inline constexpr std::uint16_t kLeftWindows = 0x5B;
inline constexpr std::uint16_t kF1 = 0x70; ///< F2 to F12 follow
inline constexpr std::uint16_t kPlus = 0xBB;
inline constexpr std::uint16_t kMinus = 0xBD;
} // namespace virtualKey

/// One key that goes down or up.
struct KeyEvent {
    std::uint16_t key = virtualKey::kNone;
    bool isRelease = false;

    [[nodiscard]] bool operator==(const KeyEvent&) const = default;
};

/// Presses and releases keys in this order, without a wait between them; returns how many events the system
/// took. Linux: the X11 display of $DISPLAY, by its XTEST extension; under Wayland only programs that run on
/// the X11 server inside of it hear the keys, which one line of the log says. Where the keyboard lacks one of
/// the keys, none is pressed. Where none can be pressed, a line of the log says why. Waits for the display's
/// answer. The UI thread.
[[nodiscard]] std::size_t injectKeys(std::span<const KeyEvent> keys);
