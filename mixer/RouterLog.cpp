#include "mixer/RouterLog.h"

#include "mixer/LineQueue.h"
#include "mixer/Utf8.h"
#include "platform/LogTail.h"
#include "platform/ThreadName.h"
#include "platform/WideOutput.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;

// How long the end of the process waits for an output that takes nothing.
constexpr std::chrono::milliseconds kEndPatience = 1s;

void printWide(std::string_view text) {
    while (!text.empty()) {
        const Utf8Character character = firstCharacter(text);
        writeWide(character.value == Utf8Character::kInvalid ? U'?' : character.value);
        text.remove_prefix(character.byteCount);
    }
    std::wcout << L'\n' << std::flush;
    if (!std::wcout) {
        // A name that the output's encoding cannot express cuts its line off there, and must neither swallow
        // the line break nor silence the lines after it.
        std::wcout.clear();
        std::wcout << L'\n' << std::flush;
        std::wcout.clear();
    }
}

class RouterLog {
public:
    RouterLog() : writer(&RouterLog::write, this) {}
    RouterLog(const RouterLog&) = delete;
    RouterLog& operator=(const RouterLog&) = delete;
    ~RouterLog() = delete; // alive to the process's end: captures may still log then

    void append(std::string_view line) {
        queue.append(line);
        wakeWriter();
        if (writerEnded) {
            print();
        }
    }

    // Prints what is queued, on the calling thread.
    void print() {
        const std::lock_guard lock(outputMutex);
        while (queue.take([this](std::string_view line, std::uint64_t lostBefore) {
            putLost(lostBefore);
            put(line);
        })) {
            ++printedLines;
        }
        putLost(queue.takeLost());
    }

    void setSink(RouterLogSink next) {
        print();
        const std::lock_guard lock(outputMutex);
        sink = std::move(next);
    }

    // Lets the writer print the rest and end. One that hangs in its output is left there.
    void end() {
        ending = true;
        wakeWriter();
        std::unique_lock lock(endMutex);
        std::uint64_t before = printedLines;
        while (!endChanged.wait_for(lock, kEndPatience, [this] { return writerEnded.load(); })) {
            if (printedLines == before) {
                writer.detach();
                return;
            }
            before = printedLines;
        }
        writer.join();
    }

private:
    void wakeWriter() {
        wakeCount.fetch_add(1, std::memory_order_release); // pairs with write()
        wakeCount.notify_one();
    }

    // The body of the writer's thread.
    void write() {
        nameThisThread("Router log");
        for (bool last = false; !last;) {
            const std::uint32_t seen = wakeCount.load(std::memory_order_acquire); // pairs with wakeWriter()
            last = ending;
            print();
            if (!last) {
                wakeCount.wait(seen);
            }
        }
        const std::lock_guard lock(endMutex);
        writerEnded = true;
        endChanged.notify_all();
    }

    // Under the output's lock.
    void put(std::string_view line) const {
        if (sink) {
            sink(line);
        } else {
            printWide(line);
        }
    }
    void putLost(std::uint64_t count) const {
        if (count > 0) {
            put(std::format("[WARNING] {} lines of the router were lost, the output is too slow", count));
        }
    }

    LineQueue<kRouterLineBytes, kRouterLogLines> queue;
    std::atomic<std::uint32_t> wakeCount{0};
    std::atomic<bool> ending{false};
    std::mutex outputMutex; // of the queue's end, the sink and the standard output
    RouterLogSink sink;
    std::atomic<std::uint64_t> printedLines{0};
    std::mutex endMutex;
    std::condition_variable endChanged;
    std::atomic<bool> writerEnded{false};
    std::thread writer; // the last member: it uses all others
};

RouterLog& routerLogOfTheProcess() {
    static RouterLog* const log = [] {
        auto* const made = new RouterLog;
        static_cast<void>(std::atexit([] { routerLogOfTheProcess().end(); }));
        return made;
    }();
    return *log;
}

} // namespace

void printRouterLine(std::string_view line) {
    const std::string_view kept = firstBytes(line, kRouterLineBytes);
    // A crash loses what waits for the output, but not this.
    logTail().append(kept);
    routerLogOfTheProcess().append(kept);
}

void flushRouterLog() {
    routerLogOfTheProcess().print();
}

void setRouterLogSink(RouterLogSink sink) {
    routerLogOfTheProcess().setSink(std::move(sink));
}
