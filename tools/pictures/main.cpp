// Draws states of the windows that no service of the program brings about yet, with fake services, and saves
// pictures of them:
//     vexo_document_pictures upgrade|mixer FOLDER
// Wants a display (an Xvfb will do). tools/pictures/make runs it.

#include "tests/support/qml/FakeProgram.h"
#include "tools/pictures/Pictures.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <cstdio>

namespace {

// Longer than any transition of a page.
constexpr int kSettleMs = 900;

} // namespace

void settle(const std::function<void()>& everyPeriod) {
    runEventLoop(kSettleMs, everyPeriod);
}

bool savePicture(QQuickWindow& window, const QDir& folder, const QString& state,
                 const std::function<void()>& everyPeriod) {
    settle(everyPeriod);
    const QString path = folder.filePath(state + ".png");
    const bool saved = window.grabWindow().save(path);
    if (!saved)
        std::fprintf(stderr, "could not save %s\n", qPrintable(path));
    return saved;
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    const bool wantsMixer = arguments.value(1) == "mixer";
    if (arguments.size() != 3 || (!wantsMixer && arguments[1] != "upgrade")) {
        std::fprintf(stderr, "usage: vexo_document_pictures upgrade|mixer FOLDER\n");
        return 2;
    }
    const QDir folder(QDir(arguments[2]).absolutePath());
    folder.mkpath(".");
    setUpFakeProgram();
    QQmlApplicationEngine engine;
    engine.loadFromModule("VexoDeck", "Main");
    if (engine.rootObjects().isEmpty())
        return 1;
    auto& window = *qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    const bool good =
        wantsMixer ? takeMixerPictures(engine, window, folder) : takeUpgradePictures(engine, window, folder);
    return good ? 0 : 1;
}
