// Fetches a file with the program's HTTP client and prints what it took: time, memory beside the file's size,
// and the longest time that an event of the main thread waited. Run by download.py, which has the service.

#include "cloud/NetworkManager.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <cstdio>

namespace {

constexpr double kMegabyte = 1024.0 * 1024.0;

/// A line of the process's status, in megabytes.
double statusMb(const QByteArray& name) {
    QFile status("/proc/self/status");
    if (!status.open(QIODevice::ReadOnly)) {
        return 0.0;
    }
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(name + ":")) {
            return line.simplified().split(' ').value(1).toDouble() / 1024.0;
        }
    }
    return 0.0;
}

} // namespace

// download_benchmark URL FILE: ends with 0 when the file has arrived.
int main(int argc, char* argv[]) {
    QCoreApplication application(argc, argv);
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s URL FILE\n", argv[0]);
        return 2;
    }
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    NetworkManager manager;
    QElapsedTimer sinceTurn;
    qint64 longestNs = 0;
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, [&] {
        longestNs = std::max(longestNs, sinceTurn.nsecsElapsed());
        sinceTurn.restart();
    });
    QObject::connect(&manager, &NetworkManager::requestCompleted, &application,
                     [](int, bool success) { QCoreApplication::exit(success ? 0 : 1); });
    const double before = statusMb("VmRSS");
    QElapsedTimer time;
    time.start();
    sinceTurn.start();
    turns.start(0);
    manager.downloadFile(argv[1], argv[2]);
    const int result = QCoreApplication::exec();
    const double fileMb = static_cast<double>(QFileInfo(argv[2]).size()) / kMegabyte;
    std::printf("%.0f MB in %.2f s, memory %.1f MB more at most (%.2f of the file), longest wait %.1f ms\n",
                fileMb, static_cast<double>(time.elapsed()) / 1000.0, statusMb("VmHWM") - before,
                (statusMb("VmHWM") - before) / fileMb, static_cast<double>(longestNs) / 1e6);
    return result;
}
