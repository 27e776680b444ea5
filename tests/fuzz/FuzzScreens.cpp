#include "tests/fuzz/FuzzScreens.h"

#include <QGuiApplication>
#include <QString>
#include <QTemporaryDir>

#include <cstdlib>

// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming): the sanitizer's own name
extern "C" const char* __asan_default_options() {
    // Whatever only a document's own heap points to, which the sanitizer cannot read, would be a leak. With
    // the usual quarantine of freed memory the process would grow by 3 GB in an hour.
    return "detect_leaks=0:quarantine_size_mb=8";
}

void fuzz::startScreens(int& argc, char** argv, QtMessageHandler onMessage) {
    static const QTemporaryDir home;
    qputenv("HOME", home.path().toLocal8Bit());
    qputenv("XDG_DATA_HOME", home.filePath("data").toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    // Never destroyed, as the objects that need it.
    static const QGuiApplication& application = *new QGuiApplication(argc, argv);
    static_cast<void>(application);
    qInstallMessageHandler(onMessage);
    // The end of the process with these objects in it is none of a program's.
    (void)std::atexit(
        [] { qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {}); });
}
