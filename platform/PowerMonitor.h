#pragma once

// When the screen goes dark or the session is locked.

#include <cstdint>
#include <functional>
#include <optional>

/// What the systems tell of screen, session and machine.
enum class DisplayEvent {
    Suspend,
    Resume,
    Lock,
    Unlock,
    ScreenSaverOn,
    ScreenSaverOff,
    ConsoleDisplay, ///< value: 0 off, 1 on, 2 dimmed
    SessionDisplay  ///< value: 0 off, 1 on, 2 dimmed
};

/// Whether the screen counts as on after an event; nothing where the event says nothing about it. Without a
/// memory: several events of one cause give the same answer several times.
[[nodiscard]] constexpr std::optional<bool> screenOnAfter(DisplayEvent event, std::uint32_t value = 0) {
    switch (event) {
    case DisplayEvent::Suspend:
    case DisplayEvent::Lock:
    case DisplayEvent::ScreenSaverOn:
        return false;
    case DisplayEvent::Resume:
    case DisplayEvent::Unlock:
    case DisplayEvent::ScreenSaverOff:
        return true;
    case DisplayEvent::ConsoleDisplay:
        return value <= 2 ? std::optional(value == 1) : std::nullopt;
    case DisplayEvent::SessionDisplay:
        return value <= 1 ? std::optional(value == 1) : std::nullopt;
    }
    return std::nullopt;
}

using ScreenStateCallback = std::function<void(bool screenOn)>;

/// Calls `callback` at each such event, on the calling thread's event loop, until stopPowerMonitor(). One
/// monitor at a time: a former one is stopped first. False, and nothing is left behind, where the system
/// gives no events. Linux: logind on the system bus (sleep of the machine, lock of the session) and the
/// screen saver on the session bus, each only from whom its name belongs to. It is always true: a bus that is
/// missing, is lost or does not answer is looked for again, after 1 s at first and after a minute at most,
/// where it is a socket of this machine. One line of the log names it, and another one only after it has been
/// there for a minute. Nothing waits for a bus. Windows: a hidden
/// window gets the messages. The UI thread.
[[nodiscard]] bool startPowerMonitor(ScreenStateCallback callback);

/// The UI thread.
void stopPowerMonitor();
