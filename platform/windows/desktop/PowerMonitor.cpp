// The identifiers of the power settings are defined here.
#include "platform/windows/desktop/PowerMonitor.h"

#include <cstring>
#include <initguid.h>
#include <optional>
#include <utility>
#include <wtsapi32.h>

namespace {

// The one monitor of the process.
struct PowerMonitorState {
    ScreenStateCallback callback; // empty when it is stopped
    HWND window = nullptr;
    HPOWERNOTIFY consoleDisplayNotification = nullptr;
    HPOWERNOTIFY sessionDisplayNotification = nullptr;
};

PowerMonitorState& powerMonitorState() {
    static PowerMonitorState state;
    return state;
}

void report(const PowerMonitorState& state, DisplayEvent event, std::uint32_t value = 0) {
    const std::optional<bool> screenOn = screenOnAfter(event, value);
    if (screenOn && state.callback) {
        const ScreenStateCallback receiver = state.callback; // which may stop the monitor
        receiver(*screenOn);
    }
}

void takeSetting(const PowerMonitorState& state, const POWERBROADCAST_SETTING* setting) {
    DWORD value = 0;
    if (setting == nullptr || setting->DataLength < sizeof(value)) {
        return;
    }
    std::memcpy(&value, setting->Data, sizeof(value));
    if (setting->PowerSetting == GUID_CONSOLE_DISPLAY_STATE) {
        report(state, DisplayEvent::ConsoleDisplay, value);
    } else if (setting->PowerSetting == GUID_SESSION_DISPLAY_STATUS) {
        report(state, DisplayEvent::SessionDisplay, value);
    }
}

void takeBroadcast(const PowerMonitorState& state, WPARAM event, LPARAM data) {
    switch (event) {
    case PBT_APMSUSPEND:
        report(state, DisplayEvent::Suspend);
        break;
    case PBT_APMRESUMESUSPEND:
    case PBT_APMRESUMEAUTOMATIC:
        report(state, DisplayEvent::Resume);
        break;
    case PBT_POWERSETTINGCHANGE:
        takeSetting(state, reinterpret_cast<const POWERBROADCAST_SETTING*>(data));
        break;
    default:
        break;
    }
}

void takeSessionChange(const PowerMonitorState& state, WPARAM change) {
    if (change == WTS_SESSION_LOCK) {
        report(state, DisplayEvent::Lock);
    } else if (change == WTS_SESSION_UNLOCK) {
        report(state, DisplayEvent::Unlock);
    }
}

LRESULT CALLBACK powerWindowProcedure(HWND window, UINT message, WPARAM first, LPARAM second) {
    if (message == WM_NCCREATE) {
        const auto* const creation = reinterpret_cast<const CREATESTRUCTW*>(second);
        SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
        return 1;
    }
    const auto* const state =
        reinterpret_cast<const PowerMonitorState*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    switch (message) {
    case WM_DESTROY:
        SetWindowLongPtrW(window, GWLP_USERDATA, 0);
        return 0;
    case WM_POWERBROADCAST:
        if (state != nullptr) {
            takeBroadcast(*state, first, second);
        }
        return 1;
    case WM_WTSSESSION_CHANGE:
        if (state != nullptr) {
            takeSessionChange(*state, first);
        }
        return 0;
    default:
        return DefWindowProcW(window, message, first, second);
    }
}

bool isWindowClassThere(const PowerSystemCalls& calls, HMODULE module) {
    WNDCLASSEXW known{};
    known.cbSize = sizeof(known);
    if (calls.getClassInfo(module, kPowerWindowClass, &known) != 0) {
        return true;
    }
    WNDCLASSEXW wanted{};
    wanted.cbSize = sizeof(wanted);
    wanted.style = CS_HREDRAW | CS_VREDRAW;
    wanted.lpfnWndProc = powerWindowProcedure;
    wanted.hInstance = module;
    wanted.lpszClassName = kPowerWindowClass;
    return calls.registerClass(&wanted) != 0;
}

bool createWindow(const PowerSystemCalls& calls, PowerMonitorState& state) {
    const HMODULE module = calls.getModuleHandle();
    if (module == nullptr || !isWindowClassThere(calls, module)) {
        return false;
    }
    state.window = calls.createWindow(module, kPowerWindowClass, &state);
    return state.window != nullptr;
}

// One after the other; the first that fails ends it.
bool registerNotifications(const PowerSystemCalls& calls, PowerMonitorState& state) {
    if (calls.registerSessionNotification(state.window, NOTIFY_FOR_THIS_SESSION) == 0) {
        return false;
    }
    state.consoleDisplayNotification =
        calls.registerPowerSetting(state.window, &GUID_CONSOLE_DISPLAY_STATE, DEVICE_NOTIFY_WINDOW_HANDLE);
    if (state.consoleDisplayNotification == nullptr) {
        return false;
    }
    state.sessionDisplayNotification =
        calls.registerPowerSetting(state.window, &GUID_SESSION_DISPLAY_STATUS, DEVICE_NOTIFY_WINDOW_HANDLE);
    return state.sessionDisplayNotification != nullptr;
}

} // namespace

const PowerSystemCalls& windowsPowerSystemCalls() {
    static const PowerSystemCalls calls{
        .getModuleHandle = [] { return GetModuleHandleW(nullptr); },
        .getClassInfo = GetClassInfoExW,
        .registerClass = RegisterClassExW,
        .createWindow =
            [](HINSTANCE module, const wchar_t* name, void* parameter) {
                return CreateWindowExW(0, name, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, module, parameter);
            },
        .destroyWindow = DestroyWindow,
        .registerSessionNotification = WTSRegisterSessionNotification,
        .unregisterSessionNotification = WTSUnRegisterSessionNotification,
        .registerPowerSetting = RegisterPowerSettingNotification,
        .unregisterPowerSetting = UnregisterPowerSettingNotification,
    };
    return calls;
}

bool startPowerMonitorBy(const PowerSystemCalls& calls, ScreenStateCallback callback) {
    stopPowerMonitorBy(calls);
    PowerMonitorState& state = powerMonitorState();
    state.callback = std::move(callback);
    if (!createWindow(calls, state)) {
        state.callback = nullptr;
        return false;
    }
    if (!registerNotifications(calls, state)) {
        stopPowerMonitorBy(calls);
        return false;
    }
    return true;
}

void stopPowerMonitorBy(const PowerSystemCalls& calls) {
    PowerMonitorState& state = powerMonitorState();
    for (HPOWERNOTIFY* const notification :
         {&state.consoleDisplayNotification, &state.sessionDisplayNotification}) {
        if (*notification != nullptr) {
            calls.unregisterPowerSetting(std::exchange(*notification, nullptr));
        }
    }
    if (state.window != nullptr) {
        calls.unregisterSessionNotification(state.window);
        calls.destroyWindow(std::exchange(state.window, nullptr));
    }
    state.callback = nullptr;
}

bool startPowerMonitor(ScreenStateCallback callback) {
    return startPowerMonitorBy(windowsPowerSystemCalls(), std::move(callback));
}

void stopPowerMonitor() {
    stopPowerMonitorBy(windowsPowerSystemCalls());
}
