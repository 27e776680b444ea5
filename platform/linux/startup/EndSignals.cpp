#include "platform/EndSignals.h"

#include <QSocketNotifier>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr std::array kEndSignals{SIGTERM, SIGINT, SIGHUP};

// Both ends of the pipe from the handler to the event loop; they stay open to the end of the process.
std::array<int, 2> signalPipe{-1, -1};

// Only what is allowed in a signal handler.
void handleEndSignal(int) {
    const int error = errno;
    // From here on the signals do what they do to every process: they end it.
    for (const int number : kEndSignals) {
        struct sigaction action{};
        action.sa_handler = SIG_DFL;
        struct sigaction former{};
        if (sigaction(number, nullptr, &former) == 0 && former.sa_handler == handleEndSignal) {
            sigaction(number, &action, nullptr);
        }
    }
    const char byte = 0;
    static_cast<void>(!write(signalPipe[1], &byte, 1));
    errno = error;
}

void installHandler(int number) {
    struct sigaction former{};
    if (sigaction(number, nullptr, &former) != 0 || former.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action{};
    action.sa_handler = handleEndSignal;
    action.sa_flags = SA_RESTART;
    // One at a time: the second finds the ways of the first undone.
    for (const int other : kEndSignals) {
        sigaddset(&action.sa_mask, other);
    }
    sigaction(number, &action, nullptr);
}

} // namespace

std::shared_ptr<void> watchEndSignals(std::function<void()> end) {
    if (signalPipe[0] < 0 && pipe2(signalPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return nullptr;
    }
    auto notifier = std::make_shared<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
    QObject::connect(notifier.get(), &QSocketNotifier::activated, notifier.get(), [end = std::move(end)] {
        char byte = 0;
        if (read(signalPipe[0], &byte, 1) == 1) {
            end();
        }
    });
    for (const int number : kEndSignals) {
        installHandler(number);
    }
    return notifier;
}
