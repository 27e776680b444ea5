#pragma once

#include <chrono>
#include <memory>
#include <sys/types.h>
#include <thread>

/// Asks RealtimeKit (org.freedesktop.RealtimeKit1 on the system bus) for real-time scheduling of a thread of
/// this process: desktops grant it so to accounts that may not ask the kernel.
///
/// The question is asked on a thread of its own, "RealtimeKit", and given up after kAnswerLimit; a bus or
/// service that is absent or silent holds nobody up.
///
/// The service wants the process to be ended by the kernel when one of its real-time threads takes the
/// processor for longer than RTTimeUSecMax without a pause. Half of that is the soft limit here: its signal
/// (SIGXCPU) makes all threads that were granted ordinary ones again, and the process lives on.
class RealtimeKitRequest {
public:
    /// Any thread. `threadId` as gettid() gives it; the granted priority is the service's MaxRealtimePriority
    /// at most.
    RealtimeKitRequest(pid_t threadId, int priority);
    /// Gives up a question that has no answer yet. What was granted stays; the thread ends, or is made an
    /// ordinary one, soon after. Waits for the asking thread, unless the bus has not even taken its
    /// connection within kConnectLimit: then that thread is left to itself, and asks nothing any more.
    ~RealtimeKitRequest();
    RealtimeKitRequest(const RealtimeKitRequest&) = delete;
    RealtimeKitRequest& operator=(const RealtimeKitRequest&) = delete;

    static constexpr std::chrono::milliseconds kConnectLimit{100};

private:
    struct Question;

    const pid_t thread;
    const std::shared_ptr<Question> question; // the asking thread holds it, too
    std::thread asker;
};
