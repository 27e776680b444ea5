#include "platform/linux/sound/PipeWireConnection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <spa/utils/dict.h>
#include <sys/timerfd.h>
#include <sys/types.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr itimerspec afterMs(long milliseconds) {
    return {.it_interval = {}, .it_value = {.tv_sec = 0, .tv_nsec = milliseconds * 1000000}};
}

// From the first packet of the server's cycle to the hand-over of all of them.
constexpr itimerspec kGatherTime = afterMs(2);
// From samples that are no packet, which nothing may follow, to their hand-over.
constexpr itimerspec kRestTime = afterMs(20);

pw_properties* applicationProperties(const PipeWireLibrary& library) {
    const std::array<spa_dict_item, 3> items{{
        {.key = PW_KEY_APP_NAME, .value = "Vexo Deck"},
        // The library would ask for real time over D-Bus, wait for each answer where it stands, up to 25 s,
        // and set limits of its own. RealTimeThread asks instead. The second is for versions that do not know
        // the first.
        {.key = "module.rt", .value = "false"},
        {.key = "support.dbus", .value = "false"},
    }};
    const spa_dict properties{
        .flags = 0, .n_items = static_cast<std::uint32_t>(items.size()), .items = items.data()};
    return library.propertiesNewDict(&properties);
}

} // namespace

std::shared_ptr<PipeWireConnection> PipeWireConnection::open(pa_mainloop_api& mainloopApi,
                                                             std::uint32_t serverCookie,
                                                             std::function<void()> onDecided) {
    const PipeWireLibrary* const library = PipeWireLibrary::get();
    if (library == nullptr) {
        return nullptr;
    }
    std::shared_ptr<PipeWireConnection> connection(
        new PipeWireConnection(*library, mainloopApi, serverCookie, std::move(onDecided)));
    return connection->connect() ? connection : nullptr;
}

PipeWireConnection::PipeWireConnection(const PipeWireLibrary& pipeWire, pa_mainloop_api& mainloopApi,
                                       std::uint32_t serverCookie, std::function<void()> onDecided)
    : library(pipeWire), api(mainloopApi), cookie(serverCookie), notifyDecided(std::move(onDecided)),
      answerLimit(mainloopApi, [this] { decide(State::Lost); }),
      threadLoop(nullptr, Release{.library = &pipeWire}), context(nullptr, Release{.library = &pipeWire}) {}

bool PipeWireConnection::connect() {
    wakeDescriptor = timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK);
    threadLoop.reset(library.threadLoopNew("PipeWire", nullptr));
    if (wakeDescriptor < 0 || !threadLoop) {
        return false;
    }
    context.reset(
        library.contextNew(library.threadLoopGetLoop(threadLoop.get()), applicationProperties(library), 0));
    if (!context) {
        return false;
    }
    connectedCore = library.contextConnect(context.get(), applicationProperties(library), 0);
    if (connectedCore == nullptr) {
        return false;
    }
    static constexpr pw_core_events kEvents = [] {
        pw_core_events events{};
        events.version = PW_VERSION_CORE_EVENTS;
        events.info = onInfo;
        events.error = onError;
        return events;
    }();
    pw_core_add_listener(connectedCore, &coreListener, &kEvents, this);
    wakeEvent = api.io_new(&api, wakeDescriptor, PA_IO_EVENT_INPUT, onSignal, this);
    answerLimit.start(kAnswerLimit);
    return library.threadLoopStart(threadLoop.get()) == 0;
}

PipeWireConnection::~PipeWireConnection() {
    if (threadLoop) {
        library.threadLoopStop(threadLoop.get());
    }
    // From here on this is the only thread that uses the library's loop.
    if (connectedCore != nullptr) {
        spa_hook_remove(&coreListener);
        library.coreDisconnect(connectedCore);
    }
    context.reset();
    threadLoop.reset();
    realTime.reset(); // its thread has ended
    if (wakeEvent != nullptr) {
        api.io_free(wakeEvent);
    }
    if (wakeDescriptor >= 0) {
        close(wakeDescriptor);
    }
}

void PipeWireConnection::signalData(bool hasPacket) {
    if (dataThread.load(std::memory_order_relaxed) == 0) {
        dataThread = gettid();
    }
    if (hasPacket) {
        signal();
    } else {
        signal(Signalled::Samples, kRestTime);
    }
}

void PipeWireConnection::signal() {
    signal(Signalled::News, kGatherTime);
}

void PipeWireConnection::signal(Signalled what, const itimerspec& delay) {
    Signalled before = signalled.load(std::memory_order_relaxed);
    // Pairs with the exchange in attend(): what is left here before a signal that is saved is seen there.
    while (!signalled.compare_exchange_weak(before, std::max(before, what))) {
    }
    if (before >= what) {
        return;
    }
    timerfd_settime(wakeDescriptor, 0, &delay, nullptr);
    // Another thread's news may have come between the two steps above; its shorter wait must not be lost.
    if (what < Signalled::News && signalled == Signalled::News) {
        timerfd_settime(wakeDescriptor, 0, &kGatherTime, nullptr);
    }
}

void PipeWireConnection::onSignal(pa_mainloop_api*, pa_io_event*, int descriptor, pa_io_event_flags_t,
                                  void* self) {
    std::uint64_t count = 0;
    if (read(descriptor, &count, sizeof(count)) == sizeof(count)) {
        static_cast<PipeWireConnection*>(self)->attend();
    }
}

void PipeWireConnection::attend() {
    signalled.exchange(Signalled::Nothing);
    if (const pid_t thread = dataThread; thread != 0 && !realTime) {
        realTime.emplace(thread);
    }
    for (Recording* const recording : recordings) {
        recording->attend();
    }
    decide(reported.load());
}

void PipeWireConnection::decide(State state) {
    if (state == State::Connecting || decidedState == State::Lost || state == decidedState) {
        return;
    }
    decidedState = state;
    answerLimit.cancel();
    for (Recording* const recording : recordings) {
        recording->attend();
    }
    notifyDecided();
}

// The program may find another PipeWire than the one behind the Pulse server, whose streams are others.
void PipeWireConnection::onInfo(void* self, const pw_core_info* info) {
    auto* const connection = static_cast<PipeWireConnection*>(self);
    State connecting = State::Connecting;
    connection->reported.compare_exchange_strong(
        connecting, info->cookie == connection->cookie ? State::Ready : State::Lost);
    connection->signal();
}

// Other errors are those of single objects, which tell of them.
void PipeWireConnection::onError(void* self, std::uint32_t id, int, int result, const char*) {
    if (id == PW_ID_CORE && result == -EPIPE) {
        auto* const connection = static_cast<PipeWireConnection*>(self);
        connection->reported = State::Lost;
        connection->signal();
    }
}
