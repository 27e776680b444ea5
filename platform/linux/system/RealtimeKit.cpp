#include "platform/linux/system/RealtimeKit.h"

#include "platform/ThreadName.h"
#include "platform/linux/system/MessageBus.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdint>
#include <dbus/dbus.h>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <sched.h>
#include <sys/resource.h>
#include <system_error>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds kAnswerLimit{5};
constexpr int kStepMs = 20; // between two looks whether the question is given up

constexpr const char* kService = "org.freedesktop.RealtimeKit1";
constexpr const char* kPath = "/org/freedesktop/RealtimeKit1";
constexpr const char* kInterface = "org.freedesktop.RealtimeKit1";

struct Cancel {
    void operator()(DBusPendingCall* call) const {
        dbus_pending_call_cancel(call);
        dbus_pending_call_unref(call);
    }
};
using PendingCall = std::unique_ptr<DBusPendingCall, Cancel>;

// ---- what is granted is taken back before the kernel ends the process

// Read by the handler of a signal: numbers of threads, 0 for a free place.
std::array<std::atomic<pid_t>, 16> grantedThreads;

void noteGranted(pid_t thread) {
    for (std::atomic<pid_t>& place : grantedThreads) {
        pid_t free = 0;
        if (place.compare_exchange_strong(free, thread)) {
            return;
        }
    }
}

void forgetGranted(pid_t thread) {
    for (std::atomic<pid_t>& place : grantedThreads) {
        pid_t granted = thread;
        if (place.compare_exchange_strong(granted, 0)) {
            return;
        }
    }
}

// Without a thread that was granted, the signal comes of a limit that somebody else has set, and means what
// it usually does.
void onTimeIsUp(int signalNumber) {
    const int errorOfInterrupted = errno;
    bool any = false;
    for (std::atomic<pid_t>& place : grantedThreads) {
        const pid_t thread = place.exchange(0);
        if (thread != 0) {
            // An ordinary account may not take the flag away again.
            const sched_param ordinary{};
            any = sched_setscheduler(thread, SCHED_OTHER | SCHED_RESET_ON_FORK, &ordinary) == 0 || any;
        }
    }
    if (!any) {
        std::signal(signalNumber, SIG_DFL);
        std::raise(signalNumber);
    }
    errno = errorOfInterrupted;
}

// False where the limit cannot be set.
bool limitRealTime(std::int64_t longestUs) {
    static std::once_flag once;
    std::call_once(once, [] { std::signal(SIGXCPU, onTimeIsUp); });
    rlimit limit{};
    if (getrlimit(RLIMIT_RTTIME, &limit) != 0) {
        return false;
    }
    limit.rlim_max = std::min(limit.rlim_max, static_cast<rlim_t>(longestUs));
    limit.rlim_cur = std::min(limit.rlim_cur, limit.rlim_max / 2);
    return setrlimit(RLIMIT_RTTIME, &limit) == 0;
}

// ---- the conversation with the service

class Conversation {
public:
    explicit Conversation(const std::atomic<bool>& isGivenUp)
        : givenUp(isGivenUp), connection(openBus(systemBusAddress())) {}

    // Makes the thread a real-time one; whether that was granted.
    bool makeRealTime(pid_t thread, int priority) {
        if (!connection || !ask(call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, "Hello"))) {
            return false;
        }
        const std::optional<std::int64_t> longestUs = property("RTTimeUSecMax");
        const std::optional<std::int64_t> highest = property("MaxRealtimePriority");
        if (!longestUs || !highest || *longestUs <= 0 || *highest <= 0 || !limitRealTime(*longestUs)) {
            return false;
        }
        const BusMessage request = call(kService, kPath, kInterface, "MakeThreadRealtime");
        const auto threadNumber = static_cast<dbus_uint64_t>(thread);
        const auto level = static_cast<dbus_uint32_t>(std::min<std::int64_t>(priority, *highest));
        noteGranted(thread); // before it runs so
        const bool granted = request != nullptr &&
                             dbus_message_append_args(request.get(), DBUS_TYPE_UINT64, &threadNumber,
                                                      DBUS_TYPE_UINT32, &level, DBUS_TYPE_INVALID) != 0 &&
                             ask(request) != nullptr;
        if (!granted) {
            forgetGranted(thread);
        }
        return granted;
    }

private:
    static BusMessage call(const char* service, const char* path, const char* interface, const char* method) {
        return BusMessage(dbus_message_new_method_call(service, path, interface, method));
    }

    // The answer; null for an error and for none in time.
    BusMessage ask(const BusMessage& request) {
        DBusPendingCall* started = nullptr;
        if (!request ||
            dbus_connection_send_with_reply(connection.get(), request.get(), &started,
                                            DBUS_TIMEOUT_INFINITE) == 0 ||
            started == nullptr) {
            return nullptr;
        }
        const PendingCall pending(started);
        while (dbus_pending_call_get_completed(pending.get()) == 0) {
            if (givenUp || Clock::now() > end ||
                dbus_connection_read_write_dispatch(connection.get(), kStepMs) == 0) {
                return nullptr;
            }
        }
        BusMessage answer(dbus_pending_call_steal_reply(pending.get()));
        return answer && dbus_message_get_type(answer.get()) == DBUS_MESSAGE_TYPE_METHOD_RETURN
                   ? std::move(answer)
                   : nullptr;
    }

    std::optional<std::int64_t> property(const char* name) {
        const BusMessage request = call(kService, kPath, DBUS_INTERFACE_PROPERTIES, "Get");
        if (!request || dbus_message_append_args(request.get(), DBUS_TYPE_STRING, &kInterface,
                                                 DBUS_TYPE_STRING, &name, DBUS_TYPE_INVALID) == 0) {
            return std::nullopt;
        }
        const BusMessage answer = ask(request);
        return answer ? numberIn(*answer) : std::nullopt;
    }

    // The whole number in the variant of an answer.
    static std::optional<std::int64_t> numberIn(DBusMessage& answer) {
        DBusMessageIter arguments;
        if (dbus_message_iter_init(&answer, &arguments) == 0 ||
            dbus_message_iter_get_arg_type(&arguments) != DBUS_TYPE_VARIANT) {
            return std::nullopt;
        }
        DBusMessageIter variant;
        dbus_message_iter_recurse(&arguments, &variant);
        DBusBasicValue value{};
        switch (dbus_message_iter_get_arg_type(&variant)) {
        case DBUS_TYPE_INT32:
            dbus_message_iter_get_basic(&variant, &value);
            return value.i32;
        case DBUS_TYPE_INT64:
            dbus_message_iter_get_basic(&variant, &value);
            return value.i64;
        default:
            return std::nullopt;
        }
    }

    const std::atomic<bool>& givenUp;
    const Clock::time_point end = Clock::now() + kAnswerLimit;
    BusConnection connection;
};

} // namespace

/// What the asking thread shares with the request that may end before it.
struct RealtimeKitRequest::Question {
    std::atomic<bool> givenUp{false};
    std::mutex mutex; // of the rest
    std::condition_variable connects;
    bool isConnecting = true;
};

RealtimeKitRequest::RealtimeKitRequest(pid_t threadId, int priority)
    : thread(threadId), question(std::make_shared<Question>()) {
    try {
        asker = std::thread([shared = question, threadId, priority] {
            nameThisThread("RealtimeKit");
            Conversation conversation(shared->givenUp);
            {
                const std::lock_guard lock(shared->mutex);
                shared->isConnecting = false;
            }
            shared->connects.notify_all();
            if (!shared->givenUp) {
                static_cast<void>(conversation.makeRealTime(threadId, priority));
            }
        });
    } catch (const std::system_error&) {
        return; // too many threads for one more question
    }
}

// A bus that is stopped, and has as many connections waiting as it may, lets the next one wait for ever.
RealtimeKitRequest::~RealtimeKitRequest() {
    question->givenUp = true;
    if (asker.joinable()) {
        std::unique_lock lock(question->mutex);
        const bool connected =
            question->connects.wait_for(lock, kConnectLimit, [this] { return !question->isConnecting; });
        lock.unlock();
        if (connected) {
            asker.join();
        } else {
            asker.detach();
        }
    }
    forgetGranted(thread);
}
