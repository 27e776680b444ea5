#include "bridge/PageOpener.h"
#include "tests/unit/bridge/ScriptedDesktop.h"
#include "tests/unit/bridge/SystemBridgeFixture.h"

#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <vector>

namespace {

class BridgeDesktop : public SystemBridgeTest {
protected:
    void SetUp() override {
        SystemBridgeTest::SetUp();
        desktop = {};
        log.clear();
    }

    QString newFile(const QString& name) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return file.fileName();
    }

    const QTemporaryDir folder;
    ScriptedDesktop& desktop = scriptedDesktop();
};

} // namespace

// ---- addresses

TEST_F(BridgeDesktop, AddressIsOpenedAndTold) {
    bridge->openUrl("https://vexo.example/a b");
    EXPECT_EQ(desktop.asked, QStringList("url https://vexo.example/a b"));
    EXPECT_EQ(
        log.texts(QtDebugMsg),
        (QStringList{"SystemBridge::openUrl() called with URL: \"https://vexo.example/a b\" on platform: "
                     "\"linux\"",
                     "Opening URL in Windows browser: \"https://vexo.example/a b\"",
                     "Successfully opened URL in browser"}));
}

TEST_F(BridgeDesktop, EmptyAddressIsThatOfThisMachine) {
    bridge->openUrl("");
    EXPECT_EQ(desktop.asked, QStringList("url http://127.0.0.1"));
    EXPECT_EQ(log.count("Opening URL in Windows browser: \"\""), 1);
}

TEST_F(BridgeDesktop, AddressThatDoesNotOpenIsAWarningWithTheNumber) {
    desktop.openResult = {32, 2};
    bridge->openUrl("x:y");
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList("Failed to open URL, ShellExecute returned: 32"));
    EXPECT_EQ(log.count("Successfully opened"), 0);
}

TEST_F(BridgeDesktop, ExceptionAtAnAddressIsALine) {
    desktop.isThrowing = true;
    bridge->openUrl("http://vexo.example");
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList("Failed to open URL in Windows browser"));
}

TEST_F(BridgeDesktop, PagesThatDocumentsOpenGoThroughTheBridge) {
    const std::shared_ptr<void> opener = openPagesWith(bridge.get());
    EXPECT_TRUE(QDesktopServices::openUrl(QUrl("https://vexo.example/a b?c=热&keyword=")));
    EXPECT_TRUE(QDesktopServices::openUrl(QUrl("http://vexo.example:8081/x")));
    EXPECT_EQ(desktop.asked, (QStringList{"url https://vexo.example/a%20b?c=%E7%83%AD&keyword=",
                                          "url http://vexo.example:8081/x"}));
    EXPECT_EQ(log.count("Successfully opened URL in browser"), 2);
}

TEST_F(BridgeDesktop, PageAfterTheBridgesEndIsDropped) {
    const std::shared_ptr<void> opener = openPagesWith(bridge.get());
    bridge.reset();
    desktop.asked.clear();
    QDesktopServices::openUrl(QUrl("https://vexo.example"));
    EXPECT_TRUE(desktop.asked.isEmpty());
}

// ---- applications

TEST_F(BridgeDesktop, ApplicationStartsInItsOwnFolder) {
    const QString path = newFile("run me");
    EXPECT_TRUE(bridge->openApplication(path));
    EXPECT_EQ(desktop.asked, QStringList(QStringLiteral("file %1 in %2").arg(path, folder.path())));
    EXPECT_EQ(log.count("SystemBridge::openApplication() called with path: \"" + path +
                        "\" on platform: \"linux\""),
              1);
    EXPECT_EQ(log.count("openWindowsApplication() called with path: \"" + path + '"'), 1);
    EXPECT_EQ(log.count("Successfully opened application: \"" + path + '"'), 1);
}

TEST_F(BridgeDesktop, ApplicationMayStandBehindAFileScheme) {
    const QString path = newFile("a%20b");
    EXPECT_TRUE(bridge->openApplication("file://" + path)) << "three slashes";
    EXPECT_EQ(desktop.asked.last(), QStringLiteral("file %1 in %2").arg(path, folder.path()));
    QDir::setCurrent(folder.path());
    EXPECT_TRUE(bridge->openApplication("file://a%20b")) << "two slashes";
    EXPECT_EQ(desktop.asked.last(), QStringLiteral("file a%20b in ") + folder.path());
    EXPECT_FALSE(bridge->openApplication("FILE://" + path)) << "the scheme is exact";
}

TEST_F(BridgeDesktop, ApplicationWithoutAPathOrFileIsRefused) {
    EXPECT_FALSE(bridge->openApplication(""));
    EXPECT_FALSE(bridge->openApplication("file://"));
    EXPECT_FALSE(bridge->openApplication("/nowhere/at all"));
    EXPECT_FALSE(bridge->openApplication(QString(10000, 'x')));
    EXPECT_TRUE(desktop.asked.isEmpty());
    EXPECT_EQ(log.texts(QtWarningMsg).first(3),
              (QStringList{"Invalid application path: \"\"", "Invalid application path: \"file://\"",
                           "Application path does not exist: \"/nowhere/at all\""}));
}

TEST_F(BridgeDesktop, ApplicationThatDoesNotStartIsAWarningWithBothNumbers) {
    desktop.openResult = {5, 13};
    EXPECT_FALSE(bridge->openApplication(newFile("x")));
    EXPECT_EQ(log.texts(QtWarningMsg),
              QStringList("Failed to open application, ShellExecute returned: 5 Error code: 13"));
}

TEST_F(BridgeDesktop, ExceptionAtAnApplicationIsALineWithItsText) {
    desktop.isThrowing = true;
    EXPECT_FALSE(bridge->openApplication(newFile("x")));
    EXPECT_EQ(log.texts(QtWarningMsg), QStringList("Failed to open application: unspeakable"));
}

// ---- keys

TEST_F(BridgeDesktop, HotkeyGoesToTheSystemInOneCall) {
    EXPECT_TRUE(bridge->simulateKeyPress("Ctrl+a"));
    EXPECT_EQ(desktop.keys,
              (std::vector<KeyEvent>{{0x11, false}, {0x41, false}, {0x41, true}, {0x11, true}}));
    EXPECT_EQ(
        log.texts(QtDebugMsg),
        (QStringList{"SystemBridge::simulateKeyPress() called with hotkey: \"Ctrl+a\" on platform: \"linux\"",
                     "simulateWindowsKeyPress() called with hotkey: \"Ctrl+a\"",
                     "Successfully simulated key press: \"Ctrl+a\""}));
}

TEST_F(BridgeDesktop, HotkeyThatIsNoneIsRefusedWithItsLine) {
    EXPECT_FALSE(bridge->simulateKeyPress("Ctrl+"));
    EXPECT_FALSE(bridge->simulateKeyPress("Ctrl+F13"));
    EXPECT_TRUE(desktop.keys.empty());
    EXPECT_EQ(log.texts(QtWarningMsg),
              (QStringList{"No main key found in hotkey: \"Ctrl+\"", "Unsupported key: \"F13\""}));
}

TEST_F(BridgeDesktop, SystemThatTakesFewerKeysIsAWarning) {
    desktop.keysTaken = 1;
    EXPECT_FALSE(bridge->simulateKeyPress("Ctrl+a"));
    EXPECT_EQ(log.texts(QtWarningMsg),
              QStringList("Failed to simulate key press, SendInput returned: 1 expected: 4"));
}

TEST_F(BridgeDesktop, ExceptionAtKeysIsLogged) {
    desktop.isThrowing = true;
    EXPECT_FALSE(bridge->simulateKeyPress("a"));
    EXPECT_EQ(log.texts(QtCriticalMsg),
              QStringList("SystemBridge::simulateKeyPress: Exception: unspeakable"));
}

TEST_F(BridgeDesktop, ScreenshotAndRecordingPressTheSystemsHotkeys) {
    EXPECT_TRUE(bridge->takeScreenshot());
    EXPECT_EQ(desktop.keys.at(2), (KeyEvent{'S', false}));
    EXPECT_TRUE(bridge->startScreenRecording());
    EXPECT_EQ(desktop.keys.at(1), (KeyEvent{'G', false}));
    EXPECT_EQ(log.count("SystemBridge::takeScreenshot() called on platform: \"linux\""), 1);
    EXPECT_EQ(log.count("SystemBridge::startScreenRecording() called on platform: \"linux\""), 1);
    EXPECT_EQ(log.count("Successfully simulated key press: \"Meta+Shift+S\""), 1);
    EXPECT_EQ(log.count("Successfully simulated key press: \"Meta+G\""), 1);
}

// ---- power monitor

TEST_F(BridgeDesktop, SecondStartOfThePowerMonitorDoesNothing) {
    bridge->startPowerEventMonitor();
    bridge->startPowerEventMonitor();
    EXPECT_EQ(desktop.asked, QStringList("monitor"));
    std::vector<bool> states;
    QObject::connect(bridge.get(), &SystemBridge::screenPowerStateChanged, bridge.get(),
                     [&states](bool screenOn) { states.push_back(screenOn); });
    desktop.screenState(false);
    desktop.screenState(false);
    desktop.screenState(true);
    EXPECT_EQ(states, (std::vector<bool>{false, false, true}));
}

TEST_F(BridgeDesktop, PowerMonitorThatDoesNotStartMayBeTriedAgain) {
    desktop.monitorStarts = false;
    bridge->startPowerEventMonitor();
    EXPECT_EQ(log.texts(QtWarningMsg),
              QStringList(QStringLiteral("SystemBridge::startPowerEventMonitor 无法启动 Windows 监控")));
    desktop.monitorStarts = true;
    bridge->startPowerEventMonitor();
    EXPECT_EQ(desktop.asked, (QStringList{"monitor", "monitor"}));
    EXPECT_EQ(log.texts(QtWarningMsg).size(), 1);
}

TEST_F(BridgeDesktop, PowerMonitorStartsAgainAfterItsStopAndEndsWithTheBridge) {
    bridge->startPowerEventMonitor();
    bridge->stopPowerEventMonitor();
    bridge->startPowerEventMonitor();
    EXPECT_EQ(desktop.asked, (QStringList{"monitor", "no monitor", "monitor"}));
    bridge.reset();
    EXPECT_EQ(desktop.asked.last(), "no monitor");
}

// ---- the program's end

TEST_F(BridgeDesktop, InstallerThatIsNoFileIsRefused) {
    EXPECT_FALSE(bridge->installFile(folder.path())) << "a folder";
    EXPECT_FALSE(bridge->installFile(folder.filePath("gone")));
    EXPECT_FALSE(bridge->installFile(""));
    EXPECT_TRUE(desktop.asked.isEmpty());
    const QString line = QStringLiteral("SystemBridge::installFile 文件不存在: \"%1\"");
    EXPECT_EQ(log.texts(QtWarningMsg),
              (QStringList{line.arg(folder.path()), line.arg(folder.filePath("gone")), line.arg(QString())}));
}

TEST_F(BridgeDesktop, InstallerThatDoesNotStartLeavesTheProgramRunning) {
    desktop.openResult = {5, 13};
    const QString path = newFile("setup");
    EXPECT_FALSE(bridge->installFile(path));
    EXPECT_EQ(log.texts(QtWarningMsg).last(),
              QStringLiteral("SystemBridge::installFile 打开安装文件失败: \"%1\"").arg(path));
}

TEST_F(BridgeDesktop, ProgramEndsAtLeast200MsAfterItsInstallerHasStarted) {
    const QString path = newFile("setup");
    QDir::setCurrent(folder.path());
    QElapsedTimer sinceStart;
    bool started = false;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [&] {
            sinceStart.start();
            started = bridge->installFile("setup");
        },
        Qt::QueuedConnection);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_TRUE(started);
    EXPECT_GE(sinceStart.elapsed(), 200);
    EXPECT_EQ(desktop.asked, QStringList(QStringLiteral("file %1 in %2").arg(path, folder.path())))
        << "the absolute path";
    EXPECT_EQ(
        log.count(QStringLiteral("SystemBridge::installFile 准备启动安装程序并退出当前程序: \"setup\"")), 1);
    EXPECT_EQ(log.count(QStringLiteral("SystemBridge::installFile 安装程序已启动，正在退出当前程序")), 1);
}

TEST_F(BridgeDesktop, SecondInstallationWhileTheProgramEndsStartsNothing) {
    const QString path = newFile("setup");
    std::vector<bool> results;
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [&] {
            for (int call = 0; call < 2; ++call) {
                results.push_back(bridge->installFile(path));
            }
        },
        Qt::QueuedConnection);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(results, (std::vector<bool>{true, true}));
    EXPECT_EQ(desktop.asked.size(), 1);
    EXPECT_EQ(log.count(QStringLiteral("SystemBridge::installFile 安装程序已启动，正在退出当前程序")), 1);
}

TEST_F(BridgeDesktop, InstallationMayBeTriedAgainAfterOneThatDidNotStart) {
    const QString path = newFile("setup");
    desktop.openResult = {5, 13};
    EXPECT_FALSE(bridge->installFile(path));
    EXPECT_FALSE(bridge->installFile(path));
    EXPECT_EQ(desktop.asked.size(), 2);
}

TEST_F(BridgeDesktop, QuitStopsTheAudioThenThePowerMonitorAndEndsTheLoop) {
    bridge->startPowerEventMonitor();
    bringAudioUp();
    QMetaObject::invokeMethod(
        QCoreApplication::instance(), [this] { bridge->quitApplication(); }, Qt::QueuedConnection);
    EXPECT_EQ(QCoreApplication::exec(), 0);
    EXPECT_EQ(desktop.asked, (QStringList{"monitor", "no monitor"}));
    EXPECT_FALSE(bridge->IsRunning());
    EXPECT_EQ(log.count(QStringLiteral("SystemBridge::quitApplication 正在退出应用程序")), 1);
}
