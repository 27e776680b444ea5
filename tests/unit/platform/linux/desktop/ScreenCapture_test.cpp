#include "platform/ScreenCapture.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/platform/linux/desktop/ScriptedService.h"
#include "tests/unit/platform/linux/system/SilentBus.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <atomic>
#include <csignal>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kRequestPath = "/org/freedesktop/portal/desktop/request/1_1/t";
constexpr const char* kRequestInterface = "org.freedesktop.portal.Request";

class LinuxScreenCapture : public testing::Test {
protected:
    void SetUp() override {
        // The conversation of the test before.
        delete QCoreApplication::instance()->findChild<QObject*>("ScreenshotPortal");
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
        file.write("#!/bin/sh\necho \"$0 $*\" >> '" + note.toLocal8Bit() + "'\n");
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

void emitResponse(ScriptedService& portal, dbus_uint32_t response, const char* path = kRequestPath) {
    portal.emitSignal(path, kRequestInterface, "Response", [response](DBusMessage& signal) {
        dbus_message_append_args(&signal, DBUS_TYPE_UINT32, &response, DBUS_TYPE_INVALID);
    });
}

// The threads of this process that connect to a bus.
QStringList connectingThreads() {
    QStringList found;
    for (const QString& thread : QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile name("/proc/self/task/" + thread + "/comm");
        if (name.open(QIODevice::ReadOnly) && name.readAll() == "Bus connection\n") {
            found += thread;
        }
    }
    return found;
}

std::atomic<int> handledSignals = 0;

// `signature` is that of the last call.
void answerScreenshots(ScriptedService& portal, std::string& signature) {
    portal.answer("Screenshot", [&signature](DBusMessage& call, DBusMessage& answer) {
        signature = dbus_message_get_signature(&call);
        return dbus_message_append_args(&answer, DBUS_TYPE_OBJECT_PATH, &kRequestPath, DBUS_TYPE_INVALID) !=
               0;
    });
}

} // namespace

TEST_F(LinuxScreenCapture, PortalIsAskedForAnInteractiveScreenshot) {
    const LogCapture log;
    ScriptedService portal(sessionAddress.toStdString(), "org.freedesktop.portal.Desktop");
    std::string signature;
    answerScreenshots(portal, signature);
    const QStringList lines{"The desktop has taken a screenshot", "The user has cancelled the screenshot",
                            "The desktop could not take the screenshot"};
    for (qsizetype response = 0; response < lines.size(); ++response) {
        signature.clear();
        EXPECT_TRUE(takeScreenshot());
        EXPECT_TRUE(awaitServed(portal, [&signature] { return !signature.empty(); }));
        EXPECT_EQ(signature, "sa{sv}");
        emitResponse(portal, static_cast<dbus_uint32_t>(response));
        EXPECT_TRUE(awaitServed(portal, [&] { return log.count(lines[response]) == 1; }));
    }
    EXPECT_TRUE(pressedKeys.isEmpty());
}

TEST_F(LinuxScreenCapture, OnlyThePortalSaysWhatBecameOfTheRequest) {
    const LogCapture log;
    ScriptedService portal(sessionAddress.toStdString(), "org.freedesktop.portal.Desktop");
    ScriptedService stranger(sessionAddress.toStdString(), "org.example.Stranger");
    std::string signature;
    answerScreenshots(portal, signature);
    EXPECT_TRUE(takeScreenshot());
    EXPECT_TRUE(awaitServed(portal, [&signature] { return !signature.empty(); }));
    emitResponse(stranger, 1);
    stranger.serve();
    emitResponse(portal, 1, "/org/freedesktop/portal/desktop/request/1_1/other");
    emitResponse(portal, 0);
    EXPECT_TRUE(awaitServed(portal, [&log] { return log.count("The desktop has taken a screenshot") == 1; }));
    EXPECT_EQ(log.count("The user has cancelled the screenshot"), 0);
}

TEST_F(LinuxScreenCapture, DialogueThatIsOpenIsNotOpenedAgain) {
    const LogCapture log;
    ScriptedService portal(sessionAddress.toStdString(), "org.freedesktop.portal.Desktop");
    std::string signature;
    answerScreenshots(portal, signature);
    constexpr int kPresses = 20;
    for (int press = 0; press < kPresses; ++press) {
        EXPECT_TRUE(takeScreenshot());
        portal.serve();
        QCoreApplication::processEvents();
    }
    emitResponse(portal, 1);
    EXPECT_TRUE(
        awaitServed(portal, [&log] { return log.count("The user has cancelled the screenshot") == 1; }));
    EXPECT_TRUE(takeScreenshot());
    EXPECT_TRUE(awaitServed(portal, [&portal] { return portal.calls().size() >= 2; }));
    emitResponse(portal, 0);
    EXPECT_TRUE(awaitServed(portal, [&log] { return log.count("The desktop has taken a screenshot") == 1; }));
    EXPECT_EQ(portal.calls().size(), 2U) << "none of the first presses comes late";
}

TEST_F(LinuxScreenCapture, DialogueOfAPortalThatHasGoneIsForgotten) {
    for (int round = 0; round < 2; ++round) {
        ScriptedService portal(sessionAddress.toStdString(), "org.freedesktop.portal.Desktop");
        std::string signature;
        answerScreenshots(portal, signature);
        // The program may hear later than this test that the former portal has gone.
        EXPECT_TRUE(awaitServed(portal, [&] { return takeScreenshot() && !signature.empty(); })) << round;
    }
}

TEST_F(LinuxScreenCapture, SilentPortalIsAskedOnceAndThenLeftToTheDesktopsProgram) {
    install("spectacle");
    ScriptedService portal(sessionAddress.toStdString(), "org.freedesktop.portal.Desktop");
    for (int press = 0; press < 3; ++press) {
        EXPECT_TRUE(takeScreenshot());
    }
    // Sooner than the answer to any other question is given up.
    constexpr int kLimitMs = 20000;
    EXPECT_TRUE(await([this] { return QFile::exists(note); }, kLimitMs));
    EXPECT_EQ(noted(), "spectacle --region");
    portal.serve();
    EXPECT_EQ(portal.calls(), std::vector<std::string>{"Screenshot"});
    QFile::remove(note);
    EXPECT_TRUE(takeScreenshot());
    EXPECT_TRUE(awaitServed(portal, [&] { return portal.calls().size() == 2 && QFile::exists(note); }));
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

TEST_F(LinuxScreenCapture, WithoutABusTheDesktopsProgramTakesTheScreenshot) {
    install("spectacle");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    EXPECT_TRUE(takeScreenshot());
    EXPECT_EQ(noted(), "spectacle --region");
}

TEST_F(LinuxScreenCapture, BusThatTakesNoMoreConnectionsLeavesItToTheDesktopsProgram) {
    install("spectacle");
    SilentBus bus;
    bus.fill();
    qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(bus.place()));
    for (int press = 0; press < 2; ++press) {
        EXPECT_TRUE(takeScreenshot());
        EXPECT_EQ(noted(), "spectacle --region");
        EXPECT_EQ(connectingThreads().size(), 1) << "one waits for the bus, and no second one beside it";
        QFile::remove(note);
    }
}

TEST_F(LinuxScreenCapture, SignalOfTheProcessDoesNotEndTheWaitForTheBus) {
    SilentBus bus;
    bus.fill();
    qputenv("DBUS_SESSION_BUS_ADDRESS", QByteArray::fromStdString(bus.place()));
    struct sigaction former{};
    struct sigaction handler{};
    handler.sa_handler = [](int) {
        ++handledSignals;
    };
    sigaction(SIGUSR2, &handler, &former);
    EXPECT_TRUE(takeScreenshot());
    EXPECT_TRUE(await([] { return connectingThreads().size() == 1; }));
    const QString thread = connectingThreads().value(0);
    EXPECT_EQ(tgkill(getpid(), thread.toInt(), SIGUSR2), 0);
    bus.end();
    EXPECT_TRUE(await([&thread] { return !connectingThreads().contains(thread); }));
    EXPECT_EQ(handledSignals, 0) << "it is another thread's";
    sigaction(SIGUSR2, &former, nullptr);
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
