#pragma once

#include <QString>

#include <functional>
#include <windows.h>

using MessageBoxCall = std::function<int(HWND owner, LPCWSTR text, LPCWSTR title, UINT flags)>;

/// Shows a message box and waits until the user has closed it; false, with its line, when it cannot be shown.
/// Nothing in the program calls it yet. Any thread.
bool showWindowsNotification(const QString& title, const QString& message,
                             const MessageBoxCall& showMessageBox = MessageBoxW);
