// Runs the test documents of this folder with fakes in the place of the native singletons.

#include "tests/qml/Keyboard.h"
#include "tests/qml/Mouse.h"
#include "tests/qml/TestLog.h"
#include "tests/qml/WallClock.h"
#include "tests/support/qml/FakeProgram.h"
#include "tests/support/qml/LongTexts.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QtQuickTest>

#include <cstdio>

namespace {

class Setup : public QObject {
    Q_OBJECT

public slots:
    void applicationAvailable() {
        // Tests close main windows and go on.
        QGuiApplication::setQuitOnLastWindowClosed(false);
        setUpFakeProgram();
        registerLongTexts();
        qmlRegisterSingletonType<Keyboard>("VexoDeckTest", 1, 0, "Keyboard",
                                           [](QQmlEngine*, QJSEngine*) -> QObject* { return new Keyboard; });
        qmlRegisterSingletonType<Mouse>("VexoDeckTest", 1, 0, "Mouse",
                                        [](QQmlEngine*, QJSEngine*) -> QObject* { return new Mouse; });
        qmlRegisterSingletonType<WallClock>(
            "VexoDeckTest", 1, 0, "WallClock",
            [](QQmlEngine*, QJSEngine*) -> QObject* { return new WallClock; });
        qmlRegisterSingletonType<TestLog>(
            "VexoDeckTest", 1, 0, "TestLog", [](QQmlEngine*, QJSEngine*) -> QObject* {
                QJSEngine::setObjectOwnership(&TestLog::instance(), QJSEngine::CppOwnership);
                return &TestLog::instance();
            });
    }

    void qmlEngineAvailable(QQmlEngine*) { TestLog::install(); }
};

} // namespace

int main(int argc, char** argv) {
    Setup setup;
    const int result = quick_test_main_with_setup(argc, argv, "qml", VEXO_QML_TEST_DIR, &setup);
    // What was logged after the last test case, while the engine was destroyed.
    const QStringList faults = TestLog::instance().takeFaults();
    for (const QString& fault : faults)
        std::fprintf(stderr, "%s\n", qPrintable(fault));
    return result != 0 ? result : faults.isEmpty() ? 0 : 1;
}

#include "main.moc"
