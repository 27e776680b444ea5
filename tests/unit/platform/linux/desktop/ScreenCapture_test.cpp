#include "platform/ScreenCapture.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/platform/linux/desktop/ScriptedService.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <string>

namespace {

constexpr const char* kRequestPath = "/org/freedesktop/portal/desktop/request/1_1/t";
constexpr const char* kRequestInterface = "org.freedesktop.portal.Request";

class LinuxScreenCapture : public testing::Test {
protected:
    void SetUp() override {
        qputenv("PATH", folder.path().toLocal8Bit());
        qunsetenv("XDG_CURRENT_DESKTOP");
        qunsetenv("XDG_SESSION_TYPE");
    }
    void TearDown() override {
        qputenv("PATH", path);
        qputenv("DBUS_SESSION_BUS_ADDRESS", sessionAddress);
    }

    // A program of the desktop that notes its words.
    void install(const QString& name) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\necho \"$0 $*\" > '" + note.toLocal8Bit() + "'\n");
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }

    QString noted() {
        QFile file(note);
        QString text;
        EXPECT_TRUE(await([&] {
            text = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
            file.close();
            return text.endsWith('\n');
        }));
        return text.trimmed().section('/', -1);
    }

    [[nodiscard]] bool press(const QString& hotkey) {
        pressedKeys = hotkey;
        return true;
    }
    bool takeScreenshot() {
        return takeDesktopScreenshot([this](const QString& hotkey) { return press(hotkey); });
    }
    bool startRecording() {
        return startDesktopRecording([this](const QString& hotkey) { return press(hotkey); });
    }

    const QByteArray path = qgetenv("PATH");
    const QByteArray sessionAddress = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    const QTemporaryDir folder;
    const QString note = folder.filePath("note");
    QString pressedKeys;
};

template <typename Condition>
bool awaitServed(ScriptedService& service, const Condition& condition) {
    return awaitStepping(condition, [&service] {
        service.serve();
        QCoreApplication::processEvents();
    });
}

void emitResponse(ScriptedService& portal, dbus_uint32_t response) {
    portal.emitSignal(kRequestPath, kRequestInterface, "Response", [response](DBusMessage& signal) {
        dbus_message_append_args(&signal, DBUS_TYPE_UINT32, &response, DBUS_TYPE_INVALID);
    });
}

} // namespace

TEST_F(LinuxScreenCapture, PortalIsAskedForAnInteractiveScreenshot) {
    const LogCapture log;
    ScriptedService portal(sessionAddress.toStdString(), "org.freedesktop.portal.Desktop");
    std::string signature;
    portal.answer("Screenshot", [&signature](DBusMessage& call, DBusMessage& answer) {
        signature = dbus_message_get_signature(&call);
        return dbus_message_append_args(&answer, DBUS_TYPE_OBJECT_PATH, &kRequestPath, DBUS_TYPE_INVALID) !=
               0;
    });
    EXPECT_TRUE(takeScreenshot());
    EXPECT_TRUE(awaitServed(portal, [&signature] { return !signature.empty(); }));
    EXPECT_EQ(signature, "sa{sv}");
    emitResponse(portal, 0);
    EXPECT_TRUE(awaitServed(portal, [&log] { return log.count("The desktop has taken a screenshot") == 1; }));
    emitResponse(portal, 1);
    EXPECT_TRUE(
        awaitServed(portal, [&log] { return log.count("The user has cancelled the screenshot") == 1; }));
    emitResponse(portal, 2);
    EXPECT_TRUE(
        awaitServed(portal, [&log] { return log.count("The desktop could not take the screenshot") == 1; }));
    EXPECT_TRUE(pressedKeys.isEmpty());
}

TEST_F(LinuxScreenCapture, PortalWithoutScreenshotsLeavesItToTheDesktopsProgram) {
    install("gnome-screenshot");
    ScriptedService portal(sessionAddress.toStdString(), "org.freedesktop.portal.Desktop");
    EXPECT_TRUE(takeScreenshot());
    EXPECT_TRUE(awaitServed(portal, [this] { return QFile::exists(note); }));
    EXPECT_EQ(noted(), "gnome-screenshot --interactive");
}

TEST_F(LinuxScreenCapture, WithoutAPortalTheDesktopsProgramTakesTheScreenshot) {
    install("spectacle");
    EXPECT_TRUE(takeScreenshot());
    EXPECT_EQ(noted(), "spectacle --region");
}

TEST_F(LinuxScreenCapture, WithoutAPortalOrAProgramALineSaysSo) {
    const LogCapture log;
    EXPECT_TRUE(takeScreenshot()) << "asked over the bus";
    const QString line = "The desktop takes no screenshots";
    EXPECT_TRUE(await([&] { return log.count(line) == 1; }));
}

TEST_F(LinuxScreenCapture, RecordingIsStartedByTheDesktopsProgramOrItsKey) {
    const LogCapture log;
    EXPECT_FALSE(startRecording());
    EXPECT_EQ(log.count("The desktop records no screen: no program for it is installed"), 1);
    install("spectacle");
    EXPECT_TRUE(startRecording());
    EXPECT_EQ(noted(), "spectacle --record region");
    EXPECT_TRUE(pressedKeys.isEmpty());
    qputenv("XDG_CURRENT_DESKTOP", "ubuntu:GNOME");
    qputenv("XDG_SESSION_TYPE", "x11");
    EXPECT_TRUE(startRecording());
    EXPECT_EQ(pressedKeys, "Ctrl+Alt+Shift+R");
}
