// What the mixer costs with eight sources beside its fixed strips:
//     vexo_mixer_screen_benchmark [SECONDS]
// measures one level report dispatched to all strips, one step of a fader up to the call with its full list
// (a fake takes the list in place of the sound engine), and, over the given seconds (10), the UI thread and
// the frames while twenty reports come each second. Prints a line for each figure and fails when one misses
// its budget. Wants a display (an Xvfb will do); QT_QUICK_BACKEND=software measures without OpenGL.
//
// What is judged is CPU time, so that the machine's other work does not count: that of the UI thread (which
// draws, too, without OpenGL), and for a frame, from the beginning of its synchronisation to the swap of its
// buffers, that of all threads together (those of a software OpenGL as well). The same frames by the clock on
// the wall are printed beside it: they mean something on an idle machine.

#include "tests/support/qml/FakeHIDHotplugManager.h"
#include "tests/support/qml/FakeProgram.h"
#include "tests/support/qml/FakeSystemBridge.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <utility>
#include <vector>

namespace {

constexpr uint kLiveBus = 0xFFFFFFFE;
constexpr uint kMonitorBus = 0xFFFFFFFF;
constexpr uint kFirstProcess = 5000;
constexpr int kSourceCount = 8;
constexpr int kReportPeriodMs = 50;
constexpr double kDispatchBudgetMs = 0.5;
constexpr double kStepBudgetMs = 2;
constexpr double kCoreBudgetPercent = 25;
constexpr double kFrameBudgetMs = 33;

double clockMs(clockid_t clock) {
    timespec now{};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

// Of the calling thread.
double cpuMs() {
    return clockMs(CLOCK_THREAD_CPUTIME_ID);
}

// Or what has passed between two: of all threads together, and on the wall.
struct Moment {
    double cpuMs = 0;
    double wallMs = 0;

    static Moment now() { return {clockMs(CLOCK_PROCESS_CPUTIME_ID), clockMs(CLOCK_MONOTONIC)}; }

    Moment operator+(const Moment& other) const { return {cpuMs + other.cpuMs, wallMs + other.wallMs}; }
    Moment operator-(const Moment& other) const { return {cpuMs - other.cpuMs, wallMs - other.wallMs}; }
};

// What each frame of a window takes, from the beginning of its synchronisation to the swap of its buffers.
class Frames {
public:
    explicit Frames(QQuickWindow& window) {
        // On the thread that renders: the UI thread, or one of its own.
        QObject::connect(
            &window, &QQuickWindow::beforeSynchronizing, &context, [this] { begin = Moment::now(); },
            Qt::DirectConnection);
        QObject::connect(
            &window, &QQuickWindow::frameSwapped, &context,
            [this] {
                const std::lock_guard lock(mutex);
                taken.push_back(Moment::now() - begin);
            },
            Qt::DirectConnection);
    }

    // Those since the last call.
    std::vector<Moment> take() {
        const std::lock_guard lock(mutex);
        return std::exchange(taken, {});
    }

private:
    QObject context;
    std::mutex mutex;
    std::vector<Moment> taken;
    Moment begin;
};

bool printFigure(const char* what, double value, double budget, const char* unit) {
    const bool kept = value <= budget;
    std::printf("%-58s %8.3f %s (budget %g: %s)\n", what, value, unit, budget, kept ? "kept" : "MISSED");
    return kept;
}

QQuickItem* findItem(QQuickItem* root, const QString& objectName) {
    if (root->objectName() == objectName)
        return root;
    for (QQuickItem* const child : root->childItems()) {
        if (QQuickItem* const found = findItem(child, objectName))
            return found;
    }
    return nullptr;
}

class MixerScreen {
public:
    explicit MixerScreen(QQmlApplicationEngine& qmlEngine) : engine(qmlEngine) {
        manager = engine.singletonInstance<FakeHIDHotplugManager*>("VexoDeckHIDHotplug", "HIDHotplugManager");
        bridge = engine.singletonInstance<FakeSystemBridge*>("VexoDeckSystemBridge", "SystemBridge");
        window = qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    }

    bool open() {
        QStringList entries;
        QVariantList running;
        for (int index = 0; index < kSourceCount; ++index) {
            const uint process = kFirstProcess + static_cast<uint>(index);
            entries.append(QString(R"({"name":"App %1","bundleIdentifier":"app%1","processIdentifier":"%2"})")
                               .arg(index)
                               .arg(process));
            running.append(QVariantMap{{"name", QString("App %1").arg(index)},
                                       {"bundleIdentifier", QString("app%1").arg(index)},
                                       {"processIdentifier", QString::number(process)}});
        }
        bridge->setProperty("applications", running);
        QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("MediaControls", "ConfigMgr"),
                                  "setStringList", QString("appList"), QVariant(entries));
        const QVariantMap info = {{"dpid", 0x9829U},           {"pid", 1},          {"vid", 2},
                                  {"name", "VEXO Mixdesk R2"}, {"sn", "VX24A0117"}, {"version", "V1.04"}};
        emit manager->deviceConnected(info, true);
        runEventLoop(500);
        QMetaObject::invokeMethod(findItem(window->contentItem(), "startButton"), "click");
        runEventLoop(1000);
        return findItem(window->contentItem(), "strip7") != nullptr;
    }

    // Milliseconds, the best of several rounds.
    double dispatchMs() {
        constexpr int kRounds = 7;
        constexpr int kReports = 200;
        double best = INFINITY;
        for (int round = 0; round < kRounds; ++round) {
            double spent = 0;
            for (int report = 0; report < kReports; ++report) {
                const QVariantList levels = nextReport();
                const double begin = cpuMs();
                emit bridge->audioInputLevelChanged(levels);
                spent += cpuMs() - begin;
            }
            best = std::min(best, spent / kReports);
            runEventLoop(20);
        }
        return best;
    }

    double stepMs() {
        constexpr int kRounds = 7;
        constexpr int kSteps = 40;
        QQuickItem* const slider = findItem(findItem(window->contentItem(), "strip3"), "slider");
        double best = INFINITY;
        for (int round = 0; round < kRounds; ++round) {
            bridge->clearCalls();
            const double begin = cpuMs();
            for (int step = 0; step < kSteps; ++step)
                QMetaObject::invokeMethod(slider, "moveBySteps", round % 2 == 0 ? 1 : -1);
            best = std::min(best, (cpuMs() - begin) / kSteps);
            if (bridge->calls().size() != kSteps)
                qFatal("%d lists instead of %d", static_cast<int>(bridge->calls().size()), kSteps);
        }
        return best;
    }

    // Of five rounds the frames take the best: the others were disturbed.
    bool runMeters(int seconds) {
        constexpr int kRounds = 5;
        Frames frames(*window);
        QTimer reports;
        reports.setTimerType(Qt::PreciseTimer);
        QObject::connect(&reports, &QTimer::timeout, window,
                         [this] { emit bridge->audioInputLevelChanged(nextReport()); });
        reports.start(kReportPeriodMs);
        runEventLoop(500);
        double uiMs = 0;
        Moment spent;
        double frameMs = INFINITY;
        double frameWallMs = INFINITY;
        std::size_t frameCount = 0;
        for (int round = 0; round < kRounds; ++round) {
            frames.take();
            const Moment begin = Moment::now();
            const double beginMs = cpuMs();
            runEventLoop(seconds * 1000 / kRounds);
            uiMs += cpuMs() - beginMs;
            spent = spent + (Moment::now() - begin);
            const std::vector<Moment> taken = frames.take();
            frameCount += taken.size();
            frameMs = std::min(frameMs, percentile(taken, &Moment::cpuMs));
            frameWallMs = std::min(frameWallMs, percentile(taken, &Moment::wallMs));
        }
        std::printf("%-58s %8.1f a second\n", "frames", 1e3 * static_cast<double>(frameCount) / spent.wallMs);
        std::printf("%-58s %8.3f %% of a core\n", "all threads while metering",
                    100 * spent.cpuMs / spent.wallMs);
        std::printf("%-58s %8.3f ms\n", "frame by the clock on the wall, p95 of the best round", frameWallMs);
        const bool kept = printFigure("UI thread while metering at 20 reports a second",
                                      100 * uiMs / spent.wallMs, kCoreBudgetPercent, "% of a core");
        return printFigure("frame, CPU time of all threads, p95 of the best round", frameMs, kFrameBudgetMs,
                           "ms") &&
               kept;
    }

private:
    // Infinite without a frame.
    static double percentile(const std::vector<Moment>& frames, double Moment::* member) {
        std::vector<double> values;
        values.reserve(frames.size());
        for (const Moment& frame : frames)
            values.push_back(frame.*member);
        if (values.empty())
            return INFINITY;
        std::sort(values.begin(), values.end());
        return values[(values.size() - 1) * 95 / 100];
    }

    // Levels that move at every report.
    QVariantList nextReport() {
        phase += 0.37;
        QVariantList levels;
        const auto add = [&](uint processId, double offset) {
            levels.append(QVariantMap{{"processID", processId},
                                      {"levelLeft", 0.5 + 0.4 * std::sin(phase + offset)},
                                      {"levelRight", 0.5 + 0.4 * std::cos(phase + offset)}});
        };
        add(0, 0);
        add(kMonitorBus, 1);
        add(kLiveBus, 2);
        for (uint index = 0; index < kSourceCount; ++index)
            add(kFirstProcess + index, 3 + index);
        return levels;
    }

    QQmlApplicationEngine& engine;
    FakeHIDHotplugManager* manager = nullptr;
    FakeSystemBridge* bridge = nullptr;
    QQuickWindow* window = nullptr;
    double phase = 0;
};

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    const int seconds = arguments.size() > 1 ? arguments[1].toInt() : 10;
    if (seconds < 1) {
        std::fprintf(stderr, "usage: vexo_mixer_screen_benchmark [SECONDS]\n");
        return 2;
    }
    // The documents tell every setting that they write.
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
        if (type != QtDebugMsg)
            std::fprintf(stderr, "%s\n", qPrintable(text));
    });
    setUpFakeProgram();
    QQmlApplicationEngine engine;
    engine.loadFromModule("VexoDeck", "Main");
    if (engine.rootObjects().isEmpty())
        return 1;
    MixerScreen screen(engine);
    if (!screen.open()) {
        std::fprintf(stderr, "the mixer did not open\n");
        return 1;
    }
    bool kept = printFigure("one report to 11 strips", screen.dispatchMs(), kDispatchBudgetMs, "ms");
    kept = printFigure("one step of a fader, up to the call with its list", screen.stepMs(), kStepBudgetMs,
                       "ms") &&
           kept;
    kept = screen.runMeters(seconds) && kept;
    return kept ? 0 : 1;
}
