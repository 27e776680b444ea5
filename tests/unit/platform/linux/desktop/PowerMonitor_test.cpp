#include "platform/PowerMonitor.h"
#include "tests/support/Await.h"
#include "tests/support/LogCapture.h"
#include "tests/unit/platform/linux/desktop/ScriptedService.h"
#include "tests/unit/platform/linux/system/SilentBus.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <cstddef>
#include <gtest/gtest.h>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char* kManagerPath = "/org/freedesktop/login1";
constexpr const char* kLogindManager = "org.freedesktop.login1.Manager";
constexpr const char* kLogindSession = "org.freedesktop.login1.Session";
constexpr const char* kUserPath = "/org/freedesktop/login1/user/_0";
constexpr const char* kOwnSession = "/org/freedesktop/login1/session/_32";
constexpr const char* kOtherSession = "/org/freedesktop/login1/session/_33";
constexpr const char* kSaver = "org.gnome.ScreenSaver";
constexpr const char* kSaverPath = "/org/gnome/ScreenSaver";

// A bus of the test's own.
class PrivateBus {
public:
    explicit PrivateBus(const QString& path) : place("unix:path=" + path.toStdString()) {
        QFile::remove(path);
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start("dbus-daemon", {"--session", "--nofork", "--print-address=1",
                                      "--address=" + QString::fromStdString(place)});
        EXPECT_TRUE(process.waitForReadyRead());
    }
    ~PrivateBus() { end(); }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    [[nodiscard]] const std::string& address() const { return place; }
    void end() {
        process.kill();
        process.waitForFinished();
    }

private:
    const std::string place;
    QProcess process;
};

// Sends a signal to each connection of the bus, and to no other.
template <typename Fill>
void sendToAll(ScriptedService& sender, const char* path, const char* interface, const char* member,
               const Fill& fill) {
    constexpr int kMostConnections = 200; // of a bus that one test uses
    for (int number = 0; number < kMostConnections; ++number) {
        const std::string receiver = ":1." + std::to_string(number);
        sender.emitSignal(path, interface, member, [&](DBusMessage& signal) {
            dbus_message_set_destination(&signal, receiver.c_str());
            fill(signal);
        });
    }
}

void appendBoolean(DBusMessage& signal, bool value) {
    const dbus_bool_t argument = value ? 1 : 0;
    dbus_message_append_args(&signal, DBUS_TYPE_BOOLEAN, &argument, DBUS_TYPE_INVALID);
}

void appendTexts(DBusMessage& signal, std::initializer_list<const char*> texts) {
    for (const char* text : texts) {
        dbus_message_append_args(&signal, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    }
}

bool appendPath(DBusMessage& answer, const char* path) {
    return dbus_message_append_args(&answer, DBUS_TYPE_OBJECT_PATH, &path, DBUS_TYPE_INVALID) != 0;
}

// The user's property Display: a structure of the session's id and path.
bool appendDisplay(DBusMessage& answer, const char* path) {
    DBusMessageIter arguments;
    DBusMessageIter variant;
    DBusMessageIter fields;
    const char* const id = "2";
    dbus_message_iter_init_append(&answer, &arguments);
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_VARIANT, "(so)", &variant);
    dbus_message_iter_open_container(&variant, DBUS_TYPE_STRUCT, nullptr, &fields);
    dbus_message_iter_append_basic(&fields, DBUS_TYPE_STRING, static_cast<const void*>(&id));
    dbus_message_iter_append_basic(&fields, DBUS_TYPE_OBJECT_PATH, static_cast<const void*>(&path));
    dbus_message_iter_close_container(&variant, &fields);
    return dbus_message_iter_close_container(&arguments, &variant) != 0;
}

// PropertiesChanged of a session, with one property.
void appendChange(DBusMessage& signal, const char* property, bool value) {
    DBusMessageIter arguments;
    DBusMessageIter entries;
    DBusMessageIter entry;
    DBusMessageIter variant;
    const dbus_bool_t argument = value ? 1 : 0;
    dbus_message_iter_init_append(&signal, &arguments);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, static_cast<const void*>(&kLogindSession));
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &entries);
    dbus_message_iter_open_container(&entries, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
    dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, static_cast<const void*>(&property));
    dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, "b", &variant);
    dbus_message_iter_append_basic(&variant, DBUS_TYPE_BOOLEAN, &argument);
    dbus_message_iter_close_container(&entry, &variant);
    dbus_message_iter_close_container(&entries, &entry);
    dbus_message_iter_close_container(&arguments, &entries);
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "s", &entries);
    dbus_message_iter_close_container(&arguments, &entries);
}

class LinuxPowerMonitor : public testing::Test {
protected:
    void SetUp() override { qunsetenv("XDG_SESSION_ID"); }
    void TearDown() override {
        stopPowerMonitor();
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", systemAddress);
        qputenv("DBUS_SESSION_BUS_ADDRESS", sessionAddress);
    }

    [[nodiscard]] bool start() {
        return startPowerMonitor([this](bool screenOn) { states.push_back(screenOn); });
    }

    void knowOwnSession() {
        logind.answer("GetSessionByPID", [](DBusMessage& call, DBusMessage& answer) {
            dbus_uint32_t process = 0;
            dbus_message_get_args(&call, nullptr, DBUS_TYPE_UINT32, &process, DBUS_TYPE_INVALID);
            return process == static_cast<dbus_uint32_t>(getpid()) && appendPath(answer, kOwnSession);
        });
    }

    // Serves both buses, and does `step` each time, until the condition holds.
    template <typename Condition, typename Step>
    [[nodiscard]] bool awaitServed(const Condition& condition, const Step& step) {
        return awaitStepping(condition, [this, &step] {
            step();
            logind.serve();
            screenSaver.serve();
            QCoreApplication::processEvents();
        });
    }
    template <typename Condition>
    [[nodiscard]] bool awaitServed(const Condition& condition) {
        return awaitServed(condition, [] {});
    }

    void sendSaver(bool active) { screenSaver.emitBoolean(kSaverPath, kSaver, "ActiveChanged", active); }

    // Whether the monitor hears the session. It listens some time after it has learnt which one it is.
    [[nodiscard]] bool hearsLock() {
        const bool heard = awaitServed([this] { return !states.empty(); },
                                       [this] { logind.emitSignal(kOwnSession, kLogindSession, "Lock"); });
        // Signals keep their order: after this one no lock is on its way.
        logind.emitSignal(kOwnSession, kLogindSession, "Unlock");
        const bool ended = awaitServed([this] { return !states.empty() && states.back(); });
        states.clear();
        return heard && ended;
    }

    const QByteArray systemAddress = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    const QByteArray sessionAddress = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    ScriptedService logind{systemAddress.toStdString(), "org.freedesktop.login1"};
    ScriptedService screenSaver{sessionAddress.toStdString(), "org.gnome.ScreenSaver"};
    std::vector<bool> states;
};

} // namespace

TEST(DisplayEvents, DimmedConsoleIsOffAndDimmedSessionSaysNothing) {
    EXPECT_EQ(screenOnAfter(DisplayEvent::ConsoleDisplay, 0), false);
    EXPECT_EQ(screenOnAfter(DisplayEvent::ConsoleDisplay, 1), true);
    EXPECT_EQ(screenOnAfter(DisplayEvent::ConsoleDisplay, 2), false);
    EXPECT_EQ(screenOnAfter(DisplayEvent::ConsoleDisplay, 3), std::nullopt);
    EXPECT_EQ(screenOnAfter(DisplayEvent::SessionDisplay, 0), false);
    EXPECT_EQ(screenOnAfter(DisplayEvent::SessionDisplay, 1), true);
    EXPECT_EQ(screenOnAfter(DisplayEvent::SessionDisplay, 2), std::nullopt);
}

TEST(DisplayEvents, SleepLockAndScreenSaverAreOffAndTheirEndsAreOn) {
    EXPECT_EQ(screenOnAfter(DisplayEvent::Suspend), false);
    EXPECT_EQ(screenOnAfter(DisplayEvent::Lock), false);
    EXPECT_EQ(screenOnAfter(DisplayEvent::ScreenSaverOn), false);
    EXPECT_EQ(screenOnAfter(DisplayEvent::Resume), true);
    EXPECT_EQ(screenOnAfter(DisplayEvent::Unlock), true);
    EXPECT_EQ(screenOnAfter(DisplayEvent::ScreenSaverOff), true);
}

TEST_F(LinuxPowerMonitor, HearsLockUnlockAndSleepOfItsOwnSession) {
    knowOwnSession();
    ASSERT_TRUE(start());
    ASSERT_TRUE(hearsLock());
    logind.emitSignal(kOtherSession, kLogindSession, "Lock");
    logind.emitSignal(kOwnSession, kLogindSession, "Lock");
    logind.emitSignal(kOwnSession, kLogindSession, "Unlock");
    logind.emitBoolean(kManagerPath, kLogindManager, "PrepareForSleep", true);
    logind.emitBoolean(kManagerPath, kLogindManager, "PrepareForSleep", false);
    EXPECT_TRUE(awaitServed([this] { return states.size() >= 4; }));
    EXPECT_EQ(states, (std::vector<bool>{false, true, false, true})) << "without the other session's";
}

TEST_F(LinuxPowerMonitor, HearsTheLockThatADesktopOnlyHintsAt) {
    knowOwnSession();
    ASSERT_TRUE(start());
    ASSERT_TRUE(hearsLock());
    const auto change = [this](const char* property, bool value) {
        logind.emitSignal(kOwnSession, DBUS_INTERFACE_PROPERTIES, "PropertiesChanged",
                          [&](DBusMessage& signal) { appendChange(signal, property, value); });
    };
    change("IdleHint", true);
    change("LockedHint", true);
    change("LockedHint", false);
    EXPECT_TRUE(awaitServed([this] { return states.size() >= 2; }));
    EXPECT_EQ(states, (std::vector<bool>{false, true}));
}

TEST_F(LinuxPowerMonitor, TakesTheUsersGraphicalSessionWhereTheProcessIsInNone) {
    logind.answer("GetUser", [](DBusMessage&, DBusMessage& answer) { return appendPath(answer, kUserPath); });
    logind.answer("Get",
                  [](DBusMessage&, DBusMessage& answer) { return appendDisplay(answer, kOwnSession); });
    ASSERT_TRUE(start());
    EXPECT_TRUE(hearsLock());
    EXPECT_EQ(logind.calls(), (std::vector<std::string>{"GetSessionByPID", "GetUser", "Get"}));
}

TEST_F(LinuxPowerMonitor, TakesTheNamedSessionWhereTheProcessIsInNone) {
    qputenv("XDG_SESSION_ID", "2");
    logind.answer("GetSession", [](DBusMessage& call, DBusMessage& answer) {
        const char* id = "";
        dbus_message_get_args(&call, nullptr, DBUS_TYPE_STRING, &id, DBUS_TYPE_INVALID);
        return std::string_view(id) == "2" && appendPath(answer, kOwnSession);
    });
    ASSERT_TRUE(start());
    EXPECT_TRUE(hearsLock());
}

TEST_F(LinuxPowerMonitor, WithoutASessionSleepIsHeardAndALineSaysSo) {
    const LogCapture log;
    logind.answer("GetUser", [](DBusMessage&, DBusMessage& answer) { return appendPath(answer, kUserPath); });
    logind.answer("Get", [](DBusMessage&, DBusMessage& answer) { return appendDisplay(answer, "/"); });
    ASSERT_TRUE(start());
    EXPECT_TRUE(awaitServed([&log] { return log.count("logind knows no session of this program") == 1; }));
    logind.emitBoolean(kManagerPath, kLogindManager, "PrepareForSleep", true);
    EXPECT_TRUE(awaitServed([this] { return states == std::vector<bool>{false}; }));
}

TEST_F(LinuxPowerMonitor, HearsTheScreenSaverAndNobodyWhoSpeaksInItsName) {
    ASSERT_TRUE(start());
    ASSERT_TRUE(awaitServed([this] { return !states.empty(); }, [this] { sendSaver(true); }));
    ScriptedService stranger(sessionAddress.toStdString(), "org.example.Stranger");
    stranger.emitBoolean("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", "ActiveChanged", false);
    stranger.serve();
    screenSaver.emitSignal("/org/gnome/ScreenSaver", "org.gnome.ScreenSaver", "ActiveChanged");
    sendSaver(true);
    sendSaver(false);
    EXPECT_TRUE(awaitServed([this] { return states.back(); }));
    EXPECT_EQ(std::ranges::count(states, true), 1) << "the stranger's is not heard";
}

// Match rules do not hold back what is sent to one connection alone.
TEST_F(LinuxPowerMonitor, SignalsThatAStrangerSendsToItAloneAreNotHeard) {
    knowOwnSession();
    ASSERT_TRUE(start());
    ASSERT_TRUE(hearsLock());
    ASSERT_TRUE(awaitServed([this] { return !states.empty(); }, [this] { sendSaver(true); }));
    sendSaver(true);
    ScriptedService onSystem(systemAddress.toStdString(), "org.example.Stranger");
    ScriptedService onSession(sessionAddress.toStdString(), "org.example.Stranger");
    sendToAll(onSystem, kOwnSession, kLogindSession, "Unlock", [](DBusMessage&) {});
    sendToAll(onSystem, kOwnSession, DBUS_INTERFACE_PROPERTIES, "PropertiesChanged",
              [](DBusMessage& signal) { appendChange(signal, "LockedHint", false); });
    sendToAll(onSystem, kManagerPath, kLogindManager, "PrepareForSleep",
              [](DBusMessage& signal) { appendBoolean(signal, false); });
    sendToAll(onSession, kSaverPath, kSaver, "ActiveChanged",
              [](DBusMessage& signal) { appendBoolean(signal, false); });
    // Nor can a stranger name himself the owner.
    for (ScriptedService* const stranger : {&onSystem, &onSession}) {
        sendToAll(*stranger, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "NameOwnerChanged",
                  [](DBusMessage& signal) { appendTexts(signal, {"org.freedesktop.login1", "", ":1.1"}); });
        stranger->serve();
    }
    // A signal of logind to this connection alone, of a session that is not the program's.
    sendToAll(logind, kOtherSession, kLogindSession, "Unlock", [](DBusMessage&) {});
    // What the owners send comes after all that.
    const std::size_t before = states.size();
    logind.emitSignal(kOwnSession, kLogindSession, "Lock");
    sendSaver(true);
    EXPECT_TRUE(awaitServed([this, before] { return states.size() >= before + 2; }));
    EXPECT_EQ(std::ranges::count(states, true), 0);
}

TEST_F(LinuxPowerMonitor, HearsAServiceThatStartsLaterOrAnew) {
    knowOwnSession();
    ASSERT_TRUE(start());
    ASSERT_TRUE(hearsLock());
    for (int round = 0; round < 2; ++round) {
        ScriptedService saver(sessionAddress.toStdString(), "org.mate.ScreenSaver");
        EXPECT_TRUE(
            awaitServed([this] { return !states.empty(); },
                        [&saver] { saver.emitBoolean("/", "org.mate.ScreenSaver", "ActiveChanged", true); }))
            << round;
        states.clear();
    }
}

TEST_F(LinuxPowerMonitor, BusThatComesBackIsHeardAgain) {
    const LogCapture log;
    const QTemporaryDir folder(QDir::tempPath() + "/vexo-bus-XXXXXX"); // without a blank
    const QString path = folder.filePath("bus");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path.toLocal8Bit());
    constexpr int kSecondPauseMs = 1800; // 2 s by a coarse timer
    QElapsedTimer sinceLoss;
    for (int round = 0; round < 3; ++round) {
        PrivateBus bus(path);
        ScriptedService service(bus.address(), "org.freedesktop.login1");
        service.answer("GetSessionByPID",
                       [](DBusMessage&, DBusMessage& answer) { return appendPath(answer, kOwnSession); });
        if (round == 0) {
            ASSERT_TRUE(start());
        }
        const auto serveAndSend = [&service](const char* member) {
            return [&service, member] {
                service.serve();
                service.emitSignal(kOwnSession, kLogindSession, member);
            };
        };
        EXPECT_TRUE(awaitServed([this] { return !states.empty(); }, serveAndSend("Lock"))) << round;
        EXPECT_TRUE(awaitServed([this] { return !states.empty() && states.back(); }, serveAndSend("Unlock")))
            << round;
        if (round == 2) {
            EXPECT_GE(sinceLoss.elapsed(), kSecondPauseMs) << "the pauses grow where the bus is lost at once";
        }
        states.clear();
        sinceLoss.start();
        bus.end();
        EXPECT_TRUE(await([&log] { return log.count("The system bus is not there") == 1; }));
    }
    EXPECT_EQ(log.count("The system bus is not there"), 1) << "one outage";
}

TEST_F(LinuxPowerMonitor, WithoutAnyBusALineNamesEach) {
    for (const char* address : {"unix:path=/nonexistent/bus", "nonsense"}) {
        const LogCapture log;
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", address);
        qputenv("DBUS_SESSION_BUS_ADDRESS", address);
        EXPECT_TRUE(start()) << address;
        EXPECT_TRUE(await([&log] {
            return log.count("The system bus is not there: sleep and lock of the session are not heard") ==
                       1 &&
                   log.count("The session bus is not there: the screen saver is not heard") == 1;
        })) << address;
    }
}

TEST_F(LinuxPowerMonitor, BusThatComesAfterTheStartIsHeard) {
    const LogCapture log;
    const QTemporaryDir folder(QDir::tempPath() + "/vexo-bus-XXXXXX"); // without a blank
    const QString path = folder.filePath("bus");
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + path.toLocal8Bit());
    ASSERT_TRUE(start());
    EXPECT_TRUE(await([&log] { return log.count("bus is not there") == 2; }));
    const PrivateBus bus(path);
    ScriptedService saver(bus.address(), kSaver);
    EXPECT_TRUE(awaitServed([this] { return !states.empty(); },
                            [&saver] { saver.emitBoolean(kSaverPath, kSaver, "ActiveChanged", true); }));
}

TEST_F(LinuxPowerMonitor, BusThatTakesNoMoreConnectionsHoldsNobodyUp) {
    const LogCapture log;
    SilentBus bus;
    bus.fill();
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", QByteArray::fromStdString(bus.place()));
    ASSERT_TRUE(start());
    EXPECT_TRUE(await([&log] { return log.count("The system bus is not there") == 1; }));
    // The other one is heard meanwhile, and the end does not wait.
    EXPECT_TRUE(awaitServed([this] { return !states.empty(); }, [this] { sendSaver(true); }));
    stopPowerMonitor();
}

TEST_F(LinuxPowerMonitor, WithOneBusItStarts) {
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    ASSERT_TRUE(start());
    EXPECT_TRUE(awaitServed([this] { return !states.empty(); }, [this] { sendSaver(true); }));
}

TEST_F(LinuxPowerMonitor, NothingIsHeardAfterTheStop) {
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(start());
        logind.emitBoolean(kManagerPath, kLogindManager, "PrepareForSleep", true);
        stopPowerMonitor();
        states.clear();
        QCoreApplication::processEvents();
        EXPECT_TRUE(states.empty());
    }
}

TEST_F(LinuxPowerMonitor, ReceiverMayStopTheMonitor) {
    int heard = 0;
    ASSERT_TRUE(startPowerMonitor([&heard](bool) {
        ++heard;
        stopPowerMonitor();
    }));
    EXPECT_TRUE(
        awaitServed([&heard] { return heard > 0; },
                    [this] { logind.emitBoolean(kManagerPath, kLogindManager, "PrepareForSleep", true); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(heard, 1);
}
