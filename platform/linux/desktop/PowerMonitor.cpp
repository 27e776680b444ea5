#include "platform/PowerMonitor.h"

#include "platform/linux/system/MessageBus.h"

#include <QDebug>
#include <QMetaObject>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kLogindPath = "/org/freedesktop/login1";
constexpr const char* kManager = "org.freedesktop.login1.Manager";
constexpr const char* kSession = "org.freedesktop.login1.Session";
constexpr const char* kUser = "org.freedesktop.login1.User";

// Each desktop has the one or the other: the names of services and of their interfaces.
constexpr std::array<const char*, 5> kScreenSavers = {"org.freedesktop.ScreenSaver", "org.gnome.ScreenSaver",
                                                      "org.cinnamon.ScreenSaver", "org.mate.ScreenSaver",
                                                      "org.xfce.ScreenSaver"};

// The first argument of a message, of this kind.
template <typename Value>
std::optional<Value> firstArgument(DBusMessage* message, int kind) {
    DBusMessageIter arguments;
    if (message == nullptr || dbus_message_iter_init(message, &arguments) == 0 ||
        dbus_message_iter_get_arg_type(&arguments) != kind) {
        return std::nullopt;
    }
    Value value{};
    dbus_message_iter_get_basic(&arguments, static_cast<void*>(&value));
    return value;
}

std::optional<bool> firstBoolean(DBusMessage& message) {
    const auto value = firstArgument<dbus_bool_t>(&message, DBUS_TYPE_BOOLEAN);
    return value ? std::optional(*value != 0) : std::nullopt;
}

// "LockedHint" among the changed properties (a{sv}), the second argument. Desktops that lock the session by
// themselves say so by this.
std::optional<bool> changedLock(DBusMessage& message) {
    DBusMessageIter arguments;
    if (dbus_message_iter_init(&message, &arguments) == 0 || dbus_message_iter_next(&arguments) == 0 ||
        dbus_message_iter_get_arg_type(&arguments) != DBUS_TYPE_ARRAY ||
        dbus_message_iter_get_element_type(&arguments) != DBUS_TYPE_DICT_ENTRY) {
        return std::nullopt;
    }
    DBusMessageIter entries;
    dbus_message_iter_recurse(&arguments, &entries);
    for (; dbus_message_iter_get_arg_type(&entries) == DBUS_TYPE_DICT_ENTRY;
         dbus_message_iter_next(&entries)) {
        DBusMessageIter entry;
        DBusMessageIter value;
        const char* key = "";
        dbus_message_iter_recurse(&entries, &entry);
        if (dbus_message_iter_get_arg_type(&entry) != DBUS_TYPE_STRING) {
            return std::nullopt;
        }
        dbus_message_iter_get_basic(&entry, static_cast<void*>(&key));
        if (std::string_view(key) != "LockedHint" || dbus_message_iter_next(&entry) == 0 ||
            dbus_message_iter_get_arg_type(&entry) != DBUS_TYPE_VARIANT) {
            continue;
        }
        dbus_message_iter_recurse(&entry, &value);
        if (dbus_message_iter_get_arg_type(&value) == DBUS_TYPE_BOOLEAN) {
            dbus_bool_t isLocked = 0;
            dbus_message_iter_get_basic(&value, &isLocked);
            return isLocked != 0;
        }
    }
    return std::nullopt;
}

// What a signal of logind or of a screen saver says.
std::optional<DisplayEvent> eventOf(DBusMessage& signal) {
    if (dbus_message_is_signal(&signal, kManager, "PrepareForSleep") != 0) {
        const std::optional<bool> begins = firstBoolean(signal);
        return begins ? std::optional(*begins ? DisplayEvent::Suspend : DisplayEvent::Resume) : std::nullopt;
    }
    if (dbus_message_is_signal(&signal, kSession, "Lock") != 0) {
        return DisplayEvent::Lock;
    }
    if (dbus_message_is_signal(&signal, kSession, "Unlock") != 0) {
        return DisplayEvent::Unlock;
    }
    if (dbus_message_is_signal(&signal, DBUS_INTERFACE_PROPERTIES, "PropertiesChanged") != 0) {
        const std::optional<bool> locked = changedLock(signal);
        return locked ? std::optional(*locked ? DisplayEvent::Lock : DisplayEvent::Unlock) : std::nullopt;
    }
    for (const char* screenSaver : kScreenSavers) {
        if (dbus_message_is_signal(&signal, screenSaver, "ActiveChanged") != 0) {
            const std::optional<bool> active = firstBoolean(signal);
            return active
                       ? std::optional(*active ? DisplayEvent::ScreenSaverOn : DisplayEvent::ScreenSaverOff)
                       : std::nullopt;
        }
    }
    return std::nullopt;
}

BusMessage callOf(const char* path, const char* interface, const char* method) {
    return BusMessage(dbus_message_new_method_call(kLogind, path, interface, method));
}

// A conversation with logind. It looks for the session that the program belongs to, then listens to it. A
// desktop may start its programs outside of the session that they are shown in; so, where the process is in
// none, the session that it names, and then the user's graphical one are taken.
class SessionSearch {
public:
    explicit SessionSearch(BusConversation& conversation) : bus(conversation) {}

    void begin() {
        BusMessage question = callOf(kLogindPath, kManager, "GetSessionByPID");
        const auto process = static_cast<dbus_uint32_t>(getpid());
        dbus_message_append_args(question.get(), DBUS_TYPE_UINT32, &process, DBUS_TYPE_INVALID);
        askFor(std::move(question), [this] { askForNamed(); });
    }

private:
    template <typename Otherwise>
    void askFor(BusMessage question, Otherwise otherwise) {
        bus.ask(std::move(question), [this, otherwise](DBusMessage* answer) {
            if (const auto path = firstArgument<const char*>(answer, DBUS_TYPE_OBJECT_PATH)) {
                listenTo(*path);
            } else {
                otherwise();
            }
        });
    }

    void askForNamed() {
        const char* const id = std::getenv("XDG_SESSION_ID");
        if (id == nullptr || dbus_validate_utf8(id, nullptr) == 0) {
            askForUser();
            return;
        }
        BusMessage question = callOf(kLogindPath, kManager, "GetSession");
        dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &id, DBUS_TYPE_INVALID);
        askFor(std::move(question), [this] { askForUser(); });
    }

    void askForUser() {
        BusMessage question = callOf(kLogindPath, kManager, "GetUser");
        const auto user = static_cast<dbus_uint32_t>(getuid());
        dbus_message_append_args(question.get(), DBUS_TYPE_UINT32, &user, DBUS_TYPE_INVALID);
        bus.ask(std::move(question), [this](DBusMessage* answer) {
            if (const auto path = firstArgument<const char*>(answer, DBUS_TYPE_OBJECT_PATH)) {
                askForDisplay(*path);
            } else {
                warn();
            }
        });
    }

    void askForDisplay(const char* userPath) {
        BusMessage question = callOf(userPath, DBUS_INTERFACE_PROPERTIES, "Get");
        const char* const property = "Display";
        dbus_message_append_args(question.get(), DBUS_TYPE_STRING, &kUser, DBUS_TYPE_STRING, &property,
                                 DBUS_TYPE_INVALID);
        bus.ask(std::move(question), [this](DBusMessage* answer) { listenToDisplay(answer); });
    }

    // The answer is the variant of a structure: the session's id and its path, which is "/" for none.
    void listenToDisplay(DBusMessage* answer) {
        DBusMessageIter arguments;
        DBusMessageIter variant;
        DBusMessageIter fields;
        if (answer == nullptr || std::string_view(dbus_message_get_signature(answer)) != "v" ||
            dbus_message_iter_init(answer, &arguments) == 0) {
            warn();
            return;
        }
        dbus_message_iter_recurse(&arguments, &variant);
        if (dbus_message_iter_get_arg_type(&variant) != DBUS_TYPE_STRUCT) {
            warn();
            return;
        }
        dbus_message_iter_recurse(&variant, &fields);
        const char* path = "/";
        if (dbus_message_iter_next(&fields) != 0 &&
            dbus_message_iter_get_arg_type(&fields) == DBUS_TYPE_OBJECT_PATH) {
            dbus_message_iter_get_basic(&fields, static_cast<void*>(&path));
        }
        if (std::string_view(path) == "/") {
            warn();
            return;
        }
        listenTo(path);
    }

    void listenTo(std::string_view path) {
        for (const char* member : {"Lock", "Unlock"}) {
            bus.listen({.sender = kLogind,
                        .path = std::string(path),
                        .interface = kSession,
                        .member = member,
                        .firstArgument = ""});
        }
        bus.listen({.sender = kLogind,
                    .path = std::string(path),
                    .interface = DBUS_INTERFACE_PROPERTIES,
                    .member = "PropertiesChanged",
                    .firstArgument = kSession});
    }

    static void warn() { qWarning() << "logind knows no session of this program: its lock is not heard"; }

    BusConversation& bus;
};

// Opening an address of another kind may start a program.
bool isSocketOfThisMachine(const std::string& address) {
    const QStringList places = QString::fromStdString(address).split(QLatin1Char(';'), Qt::SkipEmptyParts);
    return !places.isEmpty() && std::ranges::all_of(places, [](const QString& place) {
        return place.startsWith(QLatin1String("unix:"));
    });
}

// A bus that is opened again, after a growing pause, when it is lost. The main thread.
class LastingBus : public QObject {
public:
    using Begin = std::function<void(BusConversation&)>;

    // `onSignal` runs on the conversation's thread, `begin` at each opening. The address is that of now.
    LastingBus(std::string busAddress, const char* nameOfThread, const char* warning,
               BusConversation::SignalHandler onSignal, Begin onOpened)
        : address(std::move(busAddress)), threadName(nameOfThread), lostWarning(warning),
          signalHandler(std::move(onSignal)), begin(std::move(onOpened)) {
        reopening.setSingleShot(true);
        connect(&reopening, &QTimer::timeout, this, &LastingBus::open);
    }

    // What is not there is looked for later.
    void open() {
        if (!tryToOpen()) {
            openLater();
        }
    }

private:
    using Clock = std::chrono::steady_clock;

    bool tryToOpen() {
        // A bus that lets a connection wait would let the next one wait beside it.
        if (conversation && conversation->isConnecting()) {
            return false;
        }
        conversation.reset(); // its thread ends before the next one begins
        openedAt = Clock::now();
        const auto onLost = [this] {
            QMetaObject::invokeMethod(this, &LastingBus::noteLoss, Qt::QueuedConnection);
        };
        conversation = BusConversation::open(address, threadName, signalHandler, onLost);
        if (conversation) {
            begin(*conversation);
        }
        return conversation != nullptr;
    }

    void noteLoss() {
        // A bus that comes and goes at once is the same outage.
        if (conversation->isGreeted() && Clock::now() - openedAt >= kLongestPause) {
            pause = kFirstPause;
            isTold = false;
        }
        openLater();
    }

    void openLater() {
        if (!std::exchange(isTold, true)) {
            qWarning() << lostWarning;
        }
        if (isSocketOfThisMachine(address)) {
            reopening.start(pause);
            pause = std::min(2 * pause, kLongestPause);
        }
    }

    static constexpr std::chrono::milliseconds kFirstPause{1000};
    static constexpr std::chrono::milliseconds kLongestPause{60000};

    const std::string address;
    const char* const threadName;
    const char* const lostWarning;
    const BusConversation::SignalHandler signalHandler;
    const Begin begin;
    QTimer reopening;
    std::chrono::milliseconds pause = kFirstPause;
    Clock::time_point openedAt;
    bool isTold = false;                           // of this outage
    std::unique_ptr<BusConversation> conversation; // last: its thread uses what stands above
};

class PowerMonitor {
public:
    explicit PowerMonitor(ScreenStateCallback receiver) : callback(std::move(receiver)) {}

    void start() {
        systemBus.open();
        sessionBus.open();
    }

private:
    void listenToLogind(BusConversation& bus) {
        bus.listen({.sender = kLogind,
                    .path = kLogindPath,
                    .interface = kManager,
                    .member = "PrepareForSleep",
                    .firstArgument = ""});
        sessionSearch = std::make_unique<SessionSearch>(bus);
        sessionSearch->begin();
    }

    static void listenToScreenSavers(BusConversation& bus) {
        for (const char* name : kScreenSavers) {
            bus.listen({.sender = name,
                        .path = "",
                        .interface = name,
                        .member = "ActiveChanged",
                        .firstArgument = ""});
        }
    }

    // On a conversation's thread.
    void report(DBusMessage& signal) {
        const std::optional<DisplayEvent> event = eventOf(signal);
        const std::optional<bool> screenOn = event ? screenOnAfter(*event) : std::nullopt;
        if (screenOn) {
            QMetaObject::invokeMethod(
                // A copy, since the receiver may stop the monitor.
                &context, [receiver = callback, screenOn] { receiver(*screenOn); }, Qt::QueuedConnection);
        }
    }

    const ScreenStateCallback callback;
    QObject context; // what is on its way when the monitor ends goes with it
    std::unique_ptr<SessionSearch> sessionSearch;
    // Last: the threads of their conversations use what stands above.
    LastingBus systemBus{systemBusAddress(), "Power events",
                         "The system bus is not there: sleep and lock of the session are not heard",
                         [this](DBusMessage& signal) { report(signal); },
                         [this](BusConversation& bus) {
                             listenToLogind(bus);
                         }};
    LastingBus sessionBus{sessionBusAddress(), "Screen saver",
                          "The session bus is not there: the screen saver is not heard",
                          [this](DBusMessage& signal) { report(signal); }, listenToScreenSavers};
};

std::unique_ptr<PowerMonitor>& currentMonitor() {
    static std::unique_ptr<PowerMonitor> monitor;
    return monitor;
}

} // namespace

bool startPowerMonitor(ScreenStateCallback callback) {
    stopPowerMonitor();
    currentMonitor() = std::make_unique<PowerMonitor>(std::move(callback));
    currentMonitor()->start();
    return true;
}

void stopPowerMonitor() {
    // A receiver may stop the monitor: it is not the current one any more when it ends.
    const std::unique_ptr<PowerMonitor> ended = std::move(currentMonitor());
}
