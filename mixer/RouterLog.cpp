#include "mixer/RouterLog.h"

#include <iostream>
#include <mutex>
#include <utility>

namespace {

struct Output {
    std::mutex mutex;
    RouterLogSink sink;
};

// Alive to the process's end: captures may still log then.
Output& output() {
    static auto* const instance = new Output;
    return *instance;
}

} // namespace

void routerLog(const std::wstring& line) {
    const std::lock_guard lock(output().mutex);
    if (output().sink) {
        output().sink(line);
        return;
    }
    std::wcout << line + L"\n" << std::flush;
    if (!std::wcout) {
        // A name that the output's encoding cannot express cuts its line off there, and must neither swallow
        // the line break nor silence the lines after it.
        std::wcout.clear();
        std::wcout << L"\n" << std::flush;
        std::wcout.clear();
    }
}

void setRouterLogSink(RouterLogSink sink) {
    const std::lock_guard lock(output().mutex);
    output().sink = std::move(sink);
}
