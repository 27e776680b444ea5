#pragma once

#include <functional>
#include <memory>

/// Calls `end` from the event loop of the calling thread, once, when the operating system asks the process to
/// end. Linux: SIGTERM, SIGINT or SIGHUP, unless the process was started with that signal ignored (nohup, a
/// shell's background). A signal that comes before the loop runs is heard when it runs. A second signal ends
/// the process at once, as it does to a program without this, so that one that hangs can be ended. Windows:
/// never, since a program with windows gets messages instead, which Qt hears. The watch lasts as long as the
/// process; what is returned only keeps `end` from being called later. One at a time, on the main thread.
[[nodiscard]] std::shared_ptr<void> watchEndSignals(std::function<void()> end);
