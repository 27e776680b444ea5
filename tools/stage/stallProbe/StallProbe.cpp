// Measures from inside of a program, without a change of it, how long its main thread keeps an event waiting.
// Qt loads it as a generic plugin:
//     QT_PLUGIN_PATH=<folder of this plugin's folder "generic"> QT_QPA_GENERIC_PLUGINS=stallprobe
//     VEXO_STALL_LOG=<file>
// A thread of its own posts an event to the main thread, waits until it is handled, and begins anew 2 ms
// later. Each event is one line of the file:
//     <when it was posted, s of CLOCK_BOOTTIME> <ms until it was handled> <ms of these in which the main
//     thread was ready to run and the system ran others>

#include <QCoreApplication>
#include <QEvent>
#include <QGenericPlugin>
#include <QObject>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <semaphore>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <time.h>
#include <unistd.h>

namespace {

constexpr auto kPause = std::chrono::milliseconds(2);
constexpr double kNanosecondsPerMs = 1e6;

double bootSeconds() {
    timespec now{};
    clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Reads how long a thread of this process has waited for a processor: the second number of its schedstat.
class RunQueueClock {
public:
    explicit RunQueueClock(long threadId)
        : path("/proc/self/task/" + std::to_string(threadId) + "/schedstat") {}

    [[nodiscard]] double waitedMs() const {
        double ran = 0;
        double waited = 0;
        if (std::FILE* const file = std::fopen(path.c_str(), "r")) {
            if (std::fscanf(file, "%lf %lf", &ran, &waited) != 2) {
                waited = 0;
            }
            std::fclose(file);
        }
        return waited / kNanosecondsPerMs;
    }

private:
    std::string path;
};

/// Lives on the main thread; its events come from the thread that it owns and joins.
class StallProbe : public QObject {
public:
    explicit StallProbe(const char* logPath) : log(std::fopen(logPath, "w")), clock(syscall(SYS_gettid)) {
        if (log == nullptr) {
            qFatal("stall probe: cannot write %s", logPath);
        }
        // Before the application object goes, and with it the queue of its events.
        connect(qApp, &QCoreApplication::aboutToQuit, this, &StallProbe::stop);
        thread = std::thread([this] { watch(); });
    }

    ~StallProbe() override {
        stop();
        std::fclose(log);
    }

    bool event(QEvent* event) override {
        if (event->type() != QEvent::User) {
            return QObject::event(event);
        }
        handled.release();
        return true;
    }

private:
    void stop() {
        running = false;
        handled.release();
        if (thread.joinable()) {
            thread.join();
        }
    }

    void watch() {
        while (running) {
            const double postedAt = bootSeconds();
            const double waitedBeforeMs = clock.waitedMs();
            QCoreApplication::postEvent(this, new QEvent(QEvent::User));
            handled.acquire();
            const double latencyMs = (bootSeconds() - postedAt) * 1e3;
            std::fprintf(log, "%.6f %.3f %.3f\n", postedAt, latencyMs, clock.waitedMs() - waitedBeforeMs);
            std::fflush(log);
            std::this_thread::sleep_for(kPause);
        }
    }

    std::FILE* log;
    RunQueueClock clock;
    std::atomic<bool> running = true;
    std::counting_semaphore<> handled{0};
    std::thread thread;
};

class StallProbePlugin : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "stall_probe.json")

public:
    QObject* create(const QString& key, const QString&) override {
        const char* const logPath = std::getenv("VEXO_STALL_LOG");
        return key == QLatin1StringView("stallprobe") && logPath != nullptr ? new StallProbe(logPath)
                                                                            : nullptr;
    }
};

} // namespace

#include "StallProbe.moc"
