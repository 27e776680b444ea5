#include "platform/linux/system/MessageBus.h"

#include "platform/ThreadName.h"
#include "platform/linux/system/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr const char* kSystemBus = "unix:path=/run/dbus/system_bus_socket";
constexpr std::chrono::seconds kGreetingLimit{5};
constexpr int kSendStepMs = 20; // between two looks whether the bus takes what is to be sent

BusMessage busCall(const char* method) {
    return BusMessage(
        dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS, DBUS_INTERFACE_DBUS, method));
}

bool appendText(const BusMessage& message, const std::string& text) {
    const char* const begin = text.c_str();
    return message &&
           dbus_message_append_args(message.get(), DBUS_TYPE_STRING, &begin, DBUS_TYPE_INVALID) != 0;
}

std::string ruleFor(const BusSignal& wanted) {
    std::string rule = "type='signal'";
    for (const auto& [key, value] :
         {std::pair("sender", &wanted.sender), std::pair("path", &wanted.path),
          std::pair("interface", &wanted.interface), std::pair("member", &wanted.member),
          std::pair("arg0", &wanted.firstArgument)}) {
        if (!value->empty()) {
            rule.append(",").append(key).append("='").append(*value).append("'");
        }
    }
    return rule;
}

std::string_view viewOf(const char* text) {
    return text != nullptr ? text : "";
}

std::string_view firstText(DBusMessage& message) {
    const char* text = nullptr;
    dbus_message_get_args(&message, nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
    return viewOf(text);
}

// But for its sender.
bool isOf(const BusSignal& wanted, DBusMessage& signal) {
    const auto fits = [](const std::string& text, const char* found) {
        return text.empty() || text == viewOf(found);
    };
    return fits(wanted.path, dbus_message_get_path(&signal)) &&
           fits(wanted.interface, dbus_message_get_interface(&signal)) &&
           fits(wanted.member, dbus_message_get_member(&signal)) &&
           (wanted.firstArgument.empty() || firstText(signal) == wanted.firstArgument);
}

std::string fromEnvironment(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr ? value : "";
}

} // namespace

std::string systemBusAddress() {
    const std::string named = fromEnvironment("DBUS_SYSTEM_BUS_ADDRESS");
    return named.empty() ? kSystemBus : named;
}

std::string sessionBusAddress() {
    const std::string named = fromEnvironment("DBUS_SESSION_BUS_ADDRESS");
    const std::string folder = fromEnvironment("XDG_RUNTIME_DIR");
    return named.empty() && !folder.empty() ? "unix:path=" + folder + "/bus" : named;
}

BusConnection openBus(const std::string& address) {
    dbus_threads_init_default();
    dbus_connection_set_change_sigpipe(0); // the signal is the program's own affair
    return BusConnection(address.empty() ? nullptr : dbus_connection_open_private(address.c_str(), nullptr));
}

namespace {

// A handler that runs on the calling thread would end its wait for the bus. Faults of its own are still
// heard.
void leaveSignalsToOtherThreads() {
    sigset_t all;
    sigfillset(&all);
    for (const int fault : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV, SIGSYS, SIGTRAP}) {
        sigdelset(&all, fault);
    }
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

} // namespace

// What the conversation shares with the thread that connects, which may outlast it.
struct BusConversation::Connecting {
    void wake() const {
        const std::uint64_t one = 1;
        static_cast<void>(!write(wakeUp.get(), &one, sizeof(one)));
    }

    const FileDescriptor wakeUp{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)};
    std::mutex mutex; // of the rest
    bool isDone = false;
    BusConnection connection; // when it is done; null without a bus
};

// The library connects by a call that waits for as long as the bus likes, so that nobody can join its thread.
std::unique_ptr<BusConversation> BusConversation::open(const std::string& address, const char* threadName,
                                                       SignalHandler onSignal, std::function<void()> onLost) {
    const auto connecting = std::make_shared<Connecting>();
    if (address.empty() || !connecting->wakeUp.isOpen()) {
        return nullptr;
    }
    std::unique_ptr<BusConversation> conversation(
        new BusConversation(connecting, std::move(onSignal), std::move(onLost)));
    conversation->greet();
    try {
        std::thread([connecting, address] {
            leaveSignalsToOtherThreads();
            nameThisThread("Bus connection");
            BusConnection connection = openBus(address);
            {
                const std::lock_guard lock(connecting->mutex);
                connecting->connection = std::move(connection);
                connecting->isDone = true;
            }
            connecting->wake();
        }).detach();
        conversation->thread =
            std::thread([self = conversation.get(), threadName] { self->run(threadName); });
    } catch (const std::system_error&) {
        return nullptr; // too many threads for one more
    }
    return conversation;
}

BusConversation::BusConversation(std::shared_ptr<Connecting> connection, SignalHandler onSignal,
                                 std::function<void()> onLost)
    : connecting(std::move(connection)), signalHandler(std::move(onSignal)), lostHandler(std::move(onLost)) {}

BusConversation::~BusConversation() {
    isEnding = true;
    connecting->wake();
    if (thread.joinable()) {
        thread.join();
    }
}

bool BusConversation::isConnecting() const {
    const std::lock_guard lock(connecting->mutex);
    return !connecting->isDone;
}

void BusConversation::greet() {
    const auto onAnswer = [this](DBusMessage* answer) {
        hasGreeted = answer != nullptr;
        isLost = answer == nullptr;
    };
    ask(busCall("Hello"), onAnswer, kGreetingLimit);
}

void BusConversation::listen(const BusSignal& wanted) {
    bool isNewSender = false;
    {
        const std::lock_guard lock(mutex);
        isNewSender = owners.try_emplace(wanted.sender).second;
        wantedSignals.push_back(wanted);
    }
    // The bus keeps the order: who owns the name is known when the first signal comes.
    if (isNewSender) {
        watchOwner(wanted.sender);
    }
    addMatch(ruleFor(wanted));
}

void BusConversation::addMatch(const std::string& rule) {
    BusMessage request = busCall("AddMatch");
    if (appendText(request, rule)) {
        ask(std::move(request), [](DBusMessage*) {});
    }
}

void BusConversation::watchOwner(const std::string& name) {
    addMatch(ruleFor({.sender = DBUS_SERVICE_DBUS,
                      .path = DBUS_PATH_DBUS,
                      .interface = DBUS_INTERFACE_DBUS,
                      .member = "NameOwnerChanged",
                      .firstArgument = name}));
    BusMessage question = busCall("GetNameOwner");
    if (appendText(question, name)) {
        ask(std::move(question), [this, name](DBusMessage* answer) {
            if (answer != nullptr) {
                const std::lock_guard lock(mutex);
                owners[name] = firstText(*answer);
            }
        });
    }
}

std::string BusConversation::ownerOf(const std::string& sender) const {
    const std::lock_guard lock(mutex);
    const auto found = owners.find(sender);
    return found != owners.end() ? found->second : std::string();
}

void BusConversation::ask(BusMessage question, AnswerHandler onAnswer, Clock::duration limit) {
    std::unique_lock lock(mutex);
    if (isOver || !question) {
        lock.unlock();
        onAnswer(nullptr);
        return;
    }
    unsent.push_back({std::move(question), std::move(onAnswer), Clock::now() + limit});
    lock.unlock();
    connecting->wake();
}

void BusConversation::run(const char* threadName) {
    nameThisThread(threadName);
    while (!isEnding && !isLost && exchange()) {
        giveUpQuestions(Clock::now());
        // Without a socket yet, its entry is passed over.
        std::array<pollfd, 2> watched{{{socket, POLLIN, 0}, {connecting->wakeUp.get(), POLLIN, 0}}};
        poll(watched.data(), watched.size(), waitMs());
        std::uint64_t wakes = 0;
        static_cast<void>(!read(connecting->wakeUp.get(), &wakes, sizeof(wakes)));
    }
    if (!isEnding) {
        {
            const std::lock_guard lock(mutex);
            isOver = true;
        }
        giveUpQuestions(Clock::time_point::max());
        lostHandler();
    }
}

// False where there is no bus.
bool BusConversation::takeConnection() {
    const std::lock_guard lock(connecting->mutex);
    if (!connecting->isDone) {
        return true;
    }
    bus = std::move(connecting->connection);
    return bus && dbus_connection_get_unix_fd(bus.get(), &socket) != 0;
}

// Sends and receives what there is, without waiting; false when the bus is gone.
bool BusConversation::exchange() {
    if (!bus && !takeConnection()) {
        return false;
    }
    if (!bus) {
        return true;
    }
    sendQuestions();
    const bool isConnected = dbus_connection_read_write(bus.get(), 0) != 0;
    while (dbus_connection_get_dispatch_status(bus.get()) == DBUS_DISPATCH_DATA_REMAINS) {
        const BusMessage message(dbus_connection_pop_message(bus.get()));
        if (!message) {
            break;
        }
        take(*message);
    }
    return isConnected && !isLost;
}

void BusConversation::sendQuestions() {
    std::vector<Question> ready;
    {
        const std::lock_guard lock(mutex);
        ready.swap(unsent);
    }
    for (Question& question : ready) {
        const BusMessage call = std::move(question.call);
        dbus_uint32_t serial = 0;
        if (dbus_connection_send(bus.get(), call.get(), &serial) != 0) {
            questions.insert_or_assign(serial, std::move(question));
        } else {
            question.onAnswer(nullptr);
        }
    }
}

void BusConversation::take(DBusMessage& message) {
    const int kind = dbus_message_get_type(&message);
    if (kind == DBUS_MESSAGE_TYPE_SIGNAL) {
        if (!noteOwner(message) && isWanted(message)) {
            signalHandler(message);
        }
    } else if (kind == DBUS_MESSAGE_TYPE_METHOD_RETURN || kind == DBUS_MESSAGE_TYPE_ERROR) {
        takeAnswer(message);
    }
    // This program offers nothing on the bus that could be called.
}

// Whether the signal is the bus's own word on who owns a name. Nobody else can send in the bus's name.
bool BusConversation::noteOwner(DBusMessage& signal) {
    if (viewOf(dbus_message_get_sender(&signal)) != DBUS_SERVICE_DBUS ||
        dbus_message_is_signal(&signal, DBUS_INTERFACE_DBUS, "NameOwnerChanged") == 0) {
        return false;
    }
    const char* name = nullptr;
    const char* former = nullptr;
    const char* owner = nullptr;
    if (dbus_message_get_args(&signal, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &former,
                              DBUS_TYPE_STRING, &owner, DBUS_TYPE_INVALID) != 0) {
        const std::lock_guard lock(mutex);
        if (const auto found = owners.find(name); found != owners.end()) {
            found->second = owner;
        }
    }
    return true;
}

bool BusConversation::isWanted(DBusMessage& signal) const {
    const std::string_view sender = viewOf(dbus_message_get_sender(&signal));
    const std::lock_guard lock(mutex);
    return std::ranges::any_of(wantedSignals, [this, sender, &signal](const BusSignal& wanted) {
        const auto owner = owners.find(wanted.sender);
        return owner != owners.end() && !sender.empty() && owner->second == sender && isOf(wanted, signal);
    });
}

void BusConversation::takeAnswer(DBusMessage& message) {
    const auto found = questions.find(dbus_message_get_reply_serial(&message));
    if (found == questions.end()) {
        return;
    }
    const AnswerHandler onAnswer = std::move(found->second.onAnswer);
    questions.erase(found);
    onAnswer(dbus_message_get_type(&message) == DBUS_MESSAGE_TYPE_METHOD_RETURN ? &message : nullptr);
}

// Those whose time has ended by then.
void BusConversation::giveUpQuestions(Clock::time_point until) {
    std::vector<AnswerHandler> late;
    const auto takeLate = [&late, until](Question& question) {
        const bool isLate = question.end <= until;
        if (isLate) {
            late.push_back(std::move(question.onAnswer));
        }
        return isLate;
    };
    std::erase_if(questions, [&takeLate](auto& entry) { return takeLate(entry.second); });
    {
        const std::lock_guard lock(mutex);
        std::erase_if(unsent, takeLate);
    }
    for (const AnswerHandler& onAnswer : late) {
        onAnswer(nullptr);
    }
}

int BusConversation::waitMs() const {
    if (isLost) {
        return 0;
    }
    if (bus && dbus_connection_has_messages_to_send(bus.get()) != 0) {
        return kSendStepMs;
    }
    auto end = Clock::time_point::max();
    for (const auto& [serial, question] : questions) {
        end = std::min(end, question.end);
    }
    {
        const std::lock_guard lock(mutex);
        for (const Question& question : unsent) {
            end = std::min(end, question.end);
        }
    }
    if (end == Clock::time_point::max()) {
        return -1;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    return static_cast<int>(std::max(left, std::chrono::milliseconds(0)).count());
}
