#pragma once

// D-Bus: how the program reaches the buses of the machine and of the session. A bus may be absent, or take
// connections and never answer; so nothing here waits for one.

#include <atomic>
#include <chrono>
#include <cstdint>
#include <dbus/dbus.h>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct BusRelease {
    void operator()(DBusConnection* connection) const {
        dbus_connection_close(connection);
        dbus_connection_unref(connection);
    }
    void operator()(DBusMessage* message) const { dbus_message_unref(message); }
};
using BusConnection = std::unique_ptr<DBusConnection, BusRelease>;
using BusMessage = std::unique_ptr<DBusMessage, BusRelease>;

/// $DBUS_SYSTEM_BUS_ADDRESS, else the place where the system's bus is.
[[nodiscard]] std::string systemBusAddress();
/// $DBUS_SESSION_BUS_ADDRESS, else the bus in $XDG_RUNTIME_DIR; empty without either.
[[nodiscard]] std::string sessionBusAddress();

/// A connection to the bus of this address, not yet introduced to it; null where there is none. Any thread
/// but one that must not wait: a bus that takes no more connections lets this one wait, without a limit.
[[nodiscard]] BusConnection openBus(const std::string& address);

/// Which signals are wanted. An empty text stands for any, but for that of the sender.
struct BusSignal {
    std::string sender; ///< the name of a service, as "org.freedesktop.login1"
    std::string path;
    std::string interface;
    std::string member;
    std::string firstArgument;
};

/// A conversation with a bus on a thread of its own: questions, their answers, and signals.
///
/// ask() and listen() belong to any thread; they only put messages into a queue, also before the bus
/// is reached. The handlers run on the conversation's thread, never after the destructor has returned.
class BusConversation {
public:
    /// The answer to a question: null where it is an error, and where none has come within its limit.
    using AnswerHandler = std::function<void(DBusMessage* answer)>;
    using SignalHandler = std::function<void(DBusMessage& signal)>;

    static constexpr std::chrono::seconds kAnswerLimit{25};

    /// Waits for nothing. `onSignal` gets what listen() asks for; `onLost` is called once: when no bus is
    /// there, it does not greet back within 5 s, or it has gone. The thread has this name. Null where the
    /// address is empty, or the system has no thread or descriptor for it.
    [[nodiscard]] static std::unique_ptr<BusConversation> open(const std::string& address,
                                                               const char* threadName, SignalHandler onSignal,
                                                               std::function<void()> onLost);
    /// Ends the thread; waits for a handler that runs.
    ~BusConversation();
    BusConversation(const BusConversation&) = delete;
    BusConversation& operator=(const BusConversation&) = delete;

    /// From now on hears these signals, and of them only what comes from the connection that owns the
    /// sender's name at that time: everybody on a bus can send any signal to one connection alone.
    void listen(const BusSignal& wanted);
    /// Sends a call; `onAnswer` is called once, unless the conversation ends before: at once and on this
    /// thread where the bus is lost.
    void ask(BusMessage question, AnswerHandler onAnswer,
             std::chrono::steady_clock::duration limit = kAnswerLimit);
    /// The connection that owns the name of a sender that is listened to; empty where there is none. Any
    /// thread.
    [[nodiscard]] std::string ownerOf(const std::string& sender) const;
    /// Whether `onLost` has not been called yet. Any thread.
    [[nodiscard]] bool isOpen() const { return !isOver; }
    /// Whether the bus has greeted back. Any thread.
    [[nodiscard]] bool isGreeted() const { return hasGreeted; }
    /// Whether the bus still lets the connection wait, maybe after `onLost`. Another one would wait beside
    /// it. Any thread.
    [[nodiscard]] bool isConnecting() const;

private:
    using Clock = std::chrono::steady_clock;
    struct Question {
        BusMessage call; // until it is sent
        AnswerHandler onAnswer;
        Clock::time_point end;
    };
    struct Connecting;

    BusConversation(std::shared_ptr<Connecting> connection, SignalHandler onSignal,
                    std::function<void()> onLost);
    void greet();
    void addMatch(const std::string& rule);
    void watchOwner(const std::string& name);
    void run(const char* threadName);
    [[nodiscard]] bool takeConnection();
    [[nodiscard]] bool exchange();
    void sendQuestions();
    void take(DBusMessage& message);
    void takeAnswer(DBusMessage& message);
    [[nodiscard]] bool noteOwner(DBusMessage& signal);
    [[nodiscard]] bool isWanted(DBusMessage& signal) const;
    void giveUpQuestions(Clock::time_point until);
    [[nodiscard]] int waitMs() const;

    const std::shared_ptr<Connecting> connecting; // shared with the thread that connects
    const SignalHandler signalHandler;
    const std::function<void()> lostHandler;
    // Of the conversation's thread.
    BusConnection bus; // null until it is reached
    int socket = -1;   // of the bus
    bool isLost = false;
    std::map<std::uint32_t, Question> questions; // that were sent, by the serial of the call
    mutable std::mutex mutex;                    // of the next three
    std::vector<Question> unsent;
    std::vector<BusSignal> wantedSignals;
    std::map<std::string, std::string, std::less<>> owners; // connections by the names that they own
    std::atomic<bool> hasGreeted{false};
    std::atomic<bool> isOver{false};
    std::atomic<bool> isEnding{false};
    std::thread thread;
};
