#pragma once

// The desktop's own screenshot and screen recording, of which the user chooses the part of the screen and the
// file. The UI thread; returns whether that has begun.

#include <QString>

#include <functional>

/// Presses a hotkey by its text; whether that went well.
using HotkeyPress = std::function<bool(const QString& hotkey)>;

/// Windows: the hotkey of the region capture.
/// Linux: the desktop's portal (org.freedesktop.portal.Screenshot). True when it has been asked; where it
/// does not answer within 5 s, or has no screenshots, the desktop's own program is started then. Where there
/// is no such program either, a line of the log says so. One request at a time: until the user has answered
/// it in the portal's dialogue, further calls have no effect, for 2 minutes at most.
bool takeDesktopScreenshot(const HotkeyPress& press);

/// Windows: the hotkey of the game bar.
/// Linux: the desktop's own program, or its hotkey where it has no program. Without either a line of the log
/// says so.
bool startDesktopRecording(const HotkeyPress& press);
