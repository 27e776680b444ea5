#pragma once

#include "platform/PowerMonitor.h"

#include <functional>
#include <windows.h>

/// The class of the hidden window, which gets messages only.
inline constexpr const wchar_t* kPowerWindowClass = L"VexoDeckPowerEventWindow";

/// The functions of Windows that the monitor calls, so that tests can make each of them fail. Each returns
/// what Windows' function of its name returns.
struct PowerSystemCalls {
    std::function<HMODULE()> getModuleHandle; ///< of the program
    std::function<BOOL(HINSTANCE module, const wchar_t* name, WNDCLASSEXW* known)> getClassInfo;
    std::function<ATOM(const WNDCLASSEXW* known)> registerClass;
    /// A message-only window of this class, without title and size.
    std::function<HWND(HINSTANCE module, const wchar_t* name, void* parameter)> createWindow;
    std::function<BOOL(HWND window)> destroyWindow;
    std::function<BOOL(HWND window, DWORD flags)> registerSessionNotification;
    std::function<BOOL(HWND window)> unregisterSessionNotification;
    std::function<HPOWERNOTIFY(HANDLE window, const GUID* setting, DWORD flags)> registerPowerSetting;
    std::function<BOOL(HPOWERNOTIFY notification)> unregisterPowerSetting;
};

/// Windows' own functions.
[[nodiscard]] const PowerSystemCalls& windowsPowerSystemCalls();

/// startPowerMonitor() and stopPowerMonitor() by these functions.
[[nodiscard]] bool startPowerMonitorBy(const PowerSystemCalls& calls, ScreenStateCallback callback);
void stopPowerMonitorBy(const PowerSystemCalls& calls);
