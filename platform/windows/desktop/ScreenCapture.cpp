#include "platform/ScreenCapture.h"

bool takeDesktopScreenshot(const HotkeyPress& press) {
    return press(QStringLiteral("Meta+Shift+S"));
}

bool startDesktopRecording(const HotkeyPress& press) {
    return press(QStringLiteral("Meta+G"));
}
