#include "tests/unit/bridge/ScriptedDesktop.h"

#include "platform/ScreenCapture.h"

#include <stdexcept>
#include <utility>

namespace {

OpenResult answer(const QString& asked) {
    scriptedDesktop().asked.append(asked);
    if (scriptedDesktop().isThrowing) {
        throw std::runtime_error("unspeakable");
    }
    return scriptedDesktop().openResult;
}

} // namespace

ScriptedDesktop& scriptedDesktop() {
    static ScriptedDesktop desktop;
    return desktop;
}

OpenResult openUrlByDesktop(const QString& url) {
    return answer(QStringLiteral("url ") + url);
}

OpenResult openFileByDesktop(const QString& path, const QString& folder) {
    return answer(QStringLiteral("file %1 in %2").arg(path, folder));
}

std::size_t injectKeys(std::span<const KeyEvent> keys) {
    scriptedDesktop().keys.assign(keys.begin(), keys.end());
    if (scriptedDesktop().isThrowing) {
        throw std::runtime_error("unspeakable");
    }
    return scriptedDesktop().keysTaken.value_or(keys.size());
}

bool startPowerMonitor(ScreenStateCallback callback) {
    scriptedDesktop().asked.append(QStringLiteral("monitor"));
    scriptedDesktop().screenState = scriptedDesktop().monitorStarts ? std::move(callback) : nullptr;
    return scriptedDesktop().monitorStarts;
}

void stopPowerMonitor() {
    scriptedDesktop().asked.append(QStringLiteral("no monitor"));
    scriptedDesktop().screenState = nullptr;
}

// As on Windows, where the system has a hotkey for each.
bool takeDesktopScreenshot(const HotkeyPress& press) {
    return press(QStringLiteral("Meta+Shift+S"));
}

bool startDesktopRecording(const HotkeyPress& press) {
    return press(QStringLiteral("Meta+G"));
}
