// The part of SystemBridge that reaches the desktop: programs, addresses, keys, the screen, the program's own
// end and restart.

#include "audio/capture/AudioRouterService.h"
#include "bridge/Guarded.h"
#include "bridge/Launching.h"
#include "bridge/SystemBridge.h"
#include "cloud/NetworkManager.h"
#include "device/HIDHotplugManager.h"
#include "platform/LaunchedProcess.h"
#include "platform/PowerMonitor.h"
#include "platform/ScreenCapture.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QProcess>
#include <QTimer>
#include <QWindow>

#include <chrono>
#include <utility>

namespace {

// The document that asked for the installer ends its own work meanwhile.
constexpr std::chrono::milliseconds kInstallerHandOver(200);

// Of a program with windows; else none.
QWindowList applicationWindows() {
    const bool hasWindows = qobject_cast<QGuiApplication*>(QCoreApplication::instance()) != nullptr;
    return hasWindows ? QGuiApplication::allWindows() : QWindowList();
}

void closeWindowsAndExit() {
    for (QWindow* const window : applicationWindows()) {
        window->close();
    }
    QCoreApplication::exit(0);
}

} // namespace

void SystemBridge::openUrl(const QString& url) const {
    qDebug() << "SystemBridge::openUrl() called with URL:" << url << "on platform:" << getPlatform();
    openUrlInBrowser(url);
}

bool SystemBridge::openApplication(const QString& appPath) const {
    qDebug() << "SystemBridge::openApplication() called with path:" << appPath
             << "on platform:" << getPlatform();
    return openWindowsApplication(appPath);
}

bool SystemBridge::simulateKeyPress(const QString& hotkey) const {
    qDebug() << "SystemBridge::simulateKeyPress() called with hotkey:" << hotkey
             << "on platform:" << getPlatform();
    return guarded("SystemBridge::simulateKeyPress: Exception:", false,
                   [&hotkey] { return simulateWindowsKeyPress(hotkey); });
}

bool SystemBridge::takeScreenshot() const {
    qDebug() << "SystemBridge::takeScreenshot() called on platform:" << getPlatform();
    return guarded("SystemBridge::takeScreenshot: Exception:", false, [this] {
        return takeDesktopScreenshot([this](const QString& hotkey) { return simulateKeyPress(hotkey); });
    });
}

bool SystemBridge::startScreenRecording() const {
    qDebug() << "SystemBridge::startScreenRecording() called on platform:" << getPlatform();
    return guarded("SystemBridge::startScreenRecording: Exception:", false, [this] {
        return startDesktopRecording([this](const QString& hotkey) { return simulateKeyPress(hotkey); });
    });
}

bool SystemBridge::installFile(const QString& filePath) {
    if (handingOver) {
        return true;
    }
    const QFileInfo file(filePath);
    if (!file.isFile()) {
        qWarning() << "SystemBridge::installFile 文件不存在:" << filePath;
        return false;
    }
    qDebug() << "SystemBridge::installFile 准备启动安装程序并退出当前程序:" << filePath;
    if (!openWindowsApplication(QDir::toNativeSeparators(file.absoluteFilePath()))) {
        qWarning() << "SystemBridge::installFile 打开安装文件失败:" << filePath;
        return false;
    }
    handingOver = true;
    QTimer::singleShot(kInstallerHandOver, Qt::PreciseTimer, this, [] {
        qDebug() << "SystemBridge::installFile 安装程序已启动，正在退出当前程序";
        closeWindowsAndExit();
    });
    return true;
}

void SystemBridge::setInstanceHold(InstanceHold hold) {
    instanceHold = std::move(hold);
}

void SystemBridge::restartApplication() {
    const QString path = QCoreApplication::applicationFilePath();
    if (path.isEmpty()) {
        qWarning() << "SystemBridge::restartApplication 无法获取应用路径";
        return;
    }
    // Who has ended the program wants no new run.
    if (quitting || handingOver || std::exchange(restarting, true)) {
        return;
    }
    const QStringList arguments = QCoreApplication::arguments().mid(1);
    QProcess process;
    process.setProgram(path);
    process.setArguments(arguments);
    prepareLaunch(process);
    if (instanceHold) {
        instanceHold(false);
    }
    if (!process.startDetached()) {
        restarting = false;
        if (instanceHold) {
            instanceHold(true);
        }
        qWarning() << "SystemBridge::restartApplication 重启失败:" << path << arguments;
        return;
    }
    qDebug() << "SystemBridge::restartApplication 正在重启应用";
    closeWindowsAndExit();
}

// To the user the program is gone at once. The device is disconnected first, while the event loop still runs.
// Then the audio stops, and the windows close last.
void SystemBridge::quitApplication() {
    // The windows that are closed here ask for the end again.
    if (std::exchange(quitting, true)) {
        return;
    }
    qDebug() << "SystemBridge::quitApplication 正在退出应用程序";
    static_cast<void>(NetworkManager::instance());
    for (QWindow* const window : applicationWindows()) {
        window->hide();
    }
    if (HIDHotplugManager* const manager = HIDHotplugManager::instance()) {
        manager->stopAndDisconnectDevice();
    }
    if (audioRouterService) {
        // An exception of the audio must not keep the program from ending.
        guarded("SystemBridge::quitApplication: Exception:", [this] { audioRouterService->Stop(); });
    }
    stopPowerEventMonitor();
    closeWindowsAndExit();
}

void SystemBridge::startPowerEventMonitor() {
    if (powerMonitorRunning) {
        return;
    }
    powerMonitorRunning = guarded("SystemBridge::startPowerEventMonitor: Exception:", false, [this] {
        return startPowerMonitor([this](bool screenOn) { emit screenPowerStateChanged(screenOn); });
    });
    if (!powerMonitorRunning) {
        qWarning() << "SystemBridge::startPowerEventMonitor 无法启动 Windows 监控";
    }
}

void SystemBridge::stopPowerEventMonitor() {
    stopPowerMonitor();
    powerMonitorRunning = false;
}
