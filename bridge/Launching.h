#pragma once

// What the button of the device starts: addresses, programs, keys. The functions keep the names that they
// have on Windows, where they come from; the bodies below them are each system's own.
//
// The UI thread. Each operation tells what came of it in the log.

#include <QString>

/// Opens an address in the user's browser. An empty one is that of this machine.
void openUrlInBrowser(const QString& url);

/// Starts a program, or opens a file or folder, with the folder in which it lies as working directory. The
/// path may stand behind "file:///" or "file://"; nothing in it is decoded. False where there is no such
/// file, or the system does not open it.
bool openWindowsApplication(const QString& path);

/// Presses a hotkey as hotkeyOf() reads it. False where the text is none, or the system takes not all of its
/// keys.
bool simulateWindowsKeyPress(const QString& hotkey);
