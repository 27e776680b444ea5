#include "bridge/Launching.h"

#include "bridge/Hotkey.h"
#include "platform/DesktopOpener.h"
#include "platform/KeyInjection.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>

#include <cstddef>
#include <exception>

namespace {

const QString kLocalAddress = QStringLiteral("http://127.0.0.1");

// A path behind "file:///" begins with a drive on Windows, and with the slash itself elsewhere.
QString withoutFileScheme(const QString& path) {
    static const QString kFile = QStringLiteral("file:///");
    static const QString kHost = QStringLiteral("file://");
    const bool slashIsRoot = QDir::rootPath() == QLatin1String("/");
    if (path.startsWith(kFile)) {
        return path.mid(slashIsRoot ? kHost.size() : kFile.size());
    }
    return path.startsWith(kHost) ? path.mid(kHost.size()) : path;
}

bool openExistingFile(const QString& path) {
    const OpenResult result = openFileByDesktop(path, QFileInfo(path).absolutePath());
    if (!result.isOpened()) {
        qWarning() << "Failed to open application, ShellExecute returned:" << result.code
                   << "Error code:" << result.systemError;
        return false;
    }
    qDebug() << "Successfully opened application:" << path;
    return true;
}

void warnOf(HotkeyFault fault, const QString& mainKey, const QString& text) {
    switch (fault) {
    case HotkeyFault::NoParts:
        qWarning() << "Invalid hotkey format:" << text;
        break;
    case HotkeyFault::NoMainKey:
        qWarning() << "No main key found in hotkey:" << text;
        break;
    case HotkeyFault::UnsupportedKey:
        qWarning() << "Unsupported key:" << mainKey;
        break;
    }
}

} // namespace

void openUrlInBrowser(const QString& url) {
    qDebug() << "Opening URL in Windows browser:" << url;
    try {
        const OpenResult result = openUrlByDesktop(url.isEmpty() ? kLocalAddress : url);
        if (result.isOpened()) {
            qDebug() << "Successfully opened URL in browser";
        } else {
            qWarning() << "Failed to open URL, ShellExecute returned:" << result.code;
        }
    } catch (const std::exception&) {
        qWarning() << "Failed to open URL in Windows browser";
    }
}

bool openWindowsApplication(const QString& path) {
    qDebug() << "openWindowsApplication() called with path:" << path;
    try {
        const QString file = withoutFileScheme(path);
        if (file.isEmpty()) {
            qWarning() << "Invalid application path:" << path;
            return false;
        }
        if (!QFileInfo::exists(file)) {
            qWarning() << "Application path does not exist:" << file;
            return false;
        }
        return openExistingFile(file);
    } catch (const std::exception& exception) {
        qWarning() << "Failed to open application:" << exception.what();
        return false;
    }
}

bool simulateWindowsKeyPress(const QString& hotkey) {
    qDebug() << "simulateWindowsKeyPress() called with hotkey:" << hotkey;
    const Hotkey keys = hotkeyOf(hotkeyParts(hotkey));
    if (keys.fault) {
        warnOf(*keys.fault, keys.mainKey, hotkey);
        return false;
    }
    const std::size_t taken = injectKeys(keys.events);
    if (taken != keys.events.size()) {
        qWarning() << "Failed to simulate key press, SendInput returned:" << taken
                   << "expected:" << keys.events.size();
        return false;
    }
    qDebug() << "Successfully simulated key press:" << hotkey;
    return true;
}
