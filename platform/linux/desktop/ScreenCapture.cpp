#include "platform/ScreenCapture.h"

#include "platform/linux/desktop/Launch.h"
#include "platform/linux/system/MessageBus.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QMetaObject>
#include <QObject>
#include <QPointer>
#include <QRandomGenerator>
#include <QStringList>

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kPortalPath = "/org/freedesktop/portal/desktop";
constexpr const char* kScreenshot = "org.freedesktop.portal.Screenshot";
constexpr const char* kRequest = "org.freedesktop.portal.Request";
// A portal that runs answers at once, one that has to be started first within a few seconds. After that
// nobody expects anything to happen any more.
constexpr std::chrono::seconds kPortalLimit{5};
// A portal may lose a request: after this time the next call counts again.
constexpr std::chrono::minutes kUserLimit{2};
constexpr std::uint32_t kDone = 0;
constexpr std::uint32_t kCancelled = 1;

bool startProgram(const QStringList& command, const char* missing) {
    if (command.isEmpty()) {
        qWarning() << missing;
        return false;
    }
    return launchDetached(command, QDir::homePath(), LaunchWatch::Failure).isOpened();
}

bool startScreenshotProgram() {
    return startProgram(
        installedOf({{QStringLiteral("spectacle"), QStringLiteral("--region")},
                     {QStringLiteral("gnome-screenshot"), QStringLiteral("--interactive")},
                     {QStringLiteral("xfce4-screenshooter")},
                     {QStringLiteral("mate-screenshot"), QStringLiteral("--interactive")},
                     {QStringLiteral("flameshot"), QStringLiteral("gui")},
                     {QStringLiteral("ksnip"), QStringLiteral("--rectarea")}}),
        "The desktop takes no screenshots: it has no portal for them, and no program for them "
        "is installed");
}

// An option of the portal: an entry of a{sv}.
void appendOption(DBusMessageIter& options, const char* key, int kind, const char* signature,
                  const void* value) {
    DBusMessageIter entry;
    DBusMessageIter variant;
    dbus_message_iter_open_container(&options, DBUS_TYPE_DICT_ENTRY, nullptr, &entry);
    dbus_message_iter_append_basic(&entry, DBUS_TYPE_STRING, static_cast<const void*>(&key));
    dbus_message_iter_open_container(&entry, DBUS_TYPE_VARIANT, signature, &variant);
    dbus_message_iter_append_basic(&variant, kind, value);
    dbus_message_iter_close_container(&entry, &variant);
    dbus_message_iter_close_container(&options, &entry);
}

// Screenshot(parent window s, options a{sv}): interactive, so that the user chooses.
BusMessage screenshotRequest() {
    BusMessage request(dbus_message_new_method_call(kPortal, kPortalPath, kScreenshot, "Screenshot"));
    const char* const parentWindow = "";
    // The path of the request ends in it; it must not be guessed by others.
    const std::string token = "vexodeck" + std::to_string(QRandomGenerator::system()->generate64());
    const char* const tokenText = token.c_str();
    const dbus_bool_t isInteractive = 1;
    DBusMessageIter arguments;
    DBusMessageIter options;
    dbus_message_iter_init_append(request.get(), &arguments);
    dbus_message_iter_append_basic(&arguments, DBUS_TYPE_STRING, static_cast<const void*>(&parentWindow));
    dbus_message_iter_open_container(&arguments, DBUS_TYPE_ARRAY, "{sv}", &options);
    appendOption(options, "handle_token", DBUS_TYPE_STRING, DBUS_TYPE_STRING_AS_STRING,
                 static_cast<const void*>(&tokenText));
    appendOption(options, "interactive", DBUS_TYPE_BOOLEAN, DBUS_TYPE_BOOLEAN_AS_STRING, &isInteractive);
    dbus_message_iter_close_container(&arguments, &options);
    return request;
}

// The conversation with the portal. It lasts as long as the program, since a portal drops the requests of who
// leaves the bus.
class ScreenshotPortal : public QObject {
public:
    using QObject::QObject;

    // Null where the session bus cannot be reached.
    static ScreenshotPortal* instance() {
        static QPointer<ScreenshotPortal> portal;
        if (portal != nullptr && !portal->conversation->isOpen()) {
            if (portal->conversation->isConnecting()) {
                return nullptr;
            }
            delete portal;
        }
        if (portal == nullptr) {
            auto opened = std::make_unique<ScreenshotPortal>(QCoreApplication::instance());
            if (opened->open()) {
                opened->setObjectName(QStringLiteral("ScreenshotPortal"));
                portal = opened.release();
            }
        }
        return portal;
    }

    // Has no effect while the user is still to answer an earlier request.
    void takeScreenshot() {
        {
            const std::lock_guard lock(mutex);
            if (isUnderWay()) {
                return;
            }
            request = Request{.path = "", .owner = "", .end = Clock::now() + kUserLimit};
        }
        const auto onAnswer = [this](DBusMessage* answer) {
            noteAnswer(answer);
            if (answer == nullptr) {
                QMetaObject::invokeMethod(
                    this, [] { static_cast<void>(startScreenshotProgram()); }, Qt::QueuedConnection);
            }
        };
        conversation->ask(screenshotRequest(), onAnswer, kPortalLimit);
    }

private:
    using Clock = std::chrono::steady_clock;
    struct Request {
        std::string path;  // empty until the portal has answered
        std::string owner; // of the portal's name, when it has answered
        Clock::time_point end;
    };

    bool open() {
        conversation = BusConversation::open(
            sessionBusAddress(), "Screenshot", [this](DBusMessage& signal) { report(signal); }, [] {});
        if (conversation) {
            conversation->listen({.sender = kPortal,
                                  .path = "",
                                  .interface = kRequest,
                                  .member = "Response",
                                  .firstArgument = ""});
        }
        return conversation != nullptr;
    }

    // A portal that has gone takes its requests with it. With the lock.
    [[nodiscard]] bool isUnderWay() const {
        return request && Clock::now() < request->end &&
               (request->path.empty() || request->owner == conversation->ownerOf(kPortal));
    }

    // The portal calls a request by its path.
    void noteAnswer(DBusMessage* answer) {
        const char* path = nullptr;
        const bool isAccepted =
            answer != nullptr &&
            dbus_message_get_args(answer, nullptr, DBUS_TYPE_OBJECT_PATH, &path, DBUS_TYPE_INVALID) != 0;
        const std::lock_guard lock(mutex);
        if (isAccepted && request) {
            request->path = path;
            request->owner = conversation->ownerOf(kPortal);
        } else {
            request.reset();
        }
    }

    // Whether the portal speaks of the request that is under way, which ends by that.
    [[nodiscard]] bool endRequest(const char* path) {
        const std::lock_guard lock(mutex);
        if (path == nullptr || !request || request->path != path) {
            return false;
        }
        request.reset();
        return true;
    }

    // On the conversation's thread.
    void report(DBusMessage& signal) {
        dbus_uint32_t response = kDone;
        if (!endRequest(dbus_message_get_path(&signal)) ||
            dbus_message_get_args(&signal, nullptr, DBUS_TYPE_UINT32, &response, DBUS_TYPE_INVALID) == 0) {
            return;
        }
        if (response == kDone) {
            qDebug() << "The desktop has taken a screenshot";
        } else if (response == kCancelled) {
            qDebug() << "The user has cancelled the screenshot";
        } else {
            qWarning() << "The desktop could not take the screenshot";
        }
    }

    std::mutex mutex;
    std::optional<Request> request;                // that the user is to answer
    std::unique_ptr<BusConversation> conversation; // last: its thread uses what stands above
};

// A desktop without a program for it, but with a key. Keys reach a desktop on X11 only.
bool hasRecordingKey() {
    const QStringList desktops = qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'));
    return desktops.contains(QLatin1String("GNOME")) &&
           qEnvironmentVariable("XDG_SESSION_TYPE") == QLatin1String("x11");
}

} // namespace

bool takeDesktopScreenshot(const HotkeyPress&) {
    ScreenshotPortal* const portal = ScreenshotPortal::instance();
    if (portal == nullptr) {
        return startScreenshotProgram();
    }
    portal->takeScreenshot();
    return true;
}

bool startDesktopRecording(const HotkeyPress& press) {
    if (hasRecordingKey()) {
        return press(QStringLiteral("Ctrl+Alt+Shift+R"));
    }
    return startProgram(
        installedOf({{QStringLiteral("spectacle"), QStringLiteral("--record"), QStringLiteral("region")},
                     {QStringLiteral("kooha")},
                     {QStringLiteral("vokoscreenNG")},
                     {QStringLiteral("simplescreenrecorder")},
                     {QStringLiteral("peek")}}),
        "The desktop records no screen: no program for it is installed");
}
