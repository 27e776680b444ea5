// Draws states of the windows that no service of the program brings about yet, with fake services, and the
// gallery of all controls, and saves pictures of them:
//     vexo_document_pictures upgrade|mixer|settings|gallery FOLDER
// Wants a display (an Xvfb will do). tools/pictures/make runs it.

#include "tests/support/qml/FakeProgram.h"
#include "tools/pictures/Pictures.h"

#include <QGuiApplication>
#include <QImage>
#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QSettings>

#include <cstdio>

namespace {

// Longer than any transition of a page.
constexpr int kSettleMs = 900;

bool takePartOfProgram(QQmlApplicationEngine& engine, const QString& part, const QDir& folder) {
    engine.loadFromModule("VexoDeck", "Main");
    if (engine.rootObjects().isEmpty())
        return false;
    auto& window = *qobject_cast<QQuickWindow*>(engine.rootObjects().first());
    if (part == "mixer")
        return takeMixerPictures(engine, window, folder);
    return part == "settings" ? takeWindowPictures(engine, window, folder)
                              : takeUpgradePictures(engine, window, folder);
}

} // namespace

void settle(const std::function<void()>& everyPeriod) {
    runEventLoop(kSettleMs, everyPeriod);
}

bool savePicture(QQuickWindow& window, const QDir& folder, const QString& state,
                 const std::function<void()>& everyPeriod) {
    settle(everyPeriod);
    return writePicture(window.grabWindow(), folder, state);
}

bool writePicture(const QImage& picture, const QDir& folder, const QString& state) {
    const QString path = folder.filePath(state + ".png");
    const bool saved = picture.save(path);
    if (!saved)
        std::fprintf(stderr, "could not save %s\n", qPrintable(path));
    return saved;
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("Vexo Deck"));
    QGuiApplication::setApplicationVersion(QStringLiteral("1.0.0"));
    const QStringList arguments = QGuiApplication::arguments();
    const QString part = arguments.value(1);
    if (arguments.size() != 3 || !QStringList{"upgrade", "mixer", "settings", "gallery"}.contains(part)) {
        std::fprintf(stderr, "usage: vexo_document_pictures upgrade|mixer|settings|gallery FOLDER\n");
        return 2;
    }
    const QDir folder(QDir(arguments[2]).absolutePath());
    folder.mkpath(".");
    setUpFakeProgram();
    // Asked and answered: otherwise the window begins with that question.
    QSettings(QStringLiteral("Vexo Deck"), QStringLiteral("Settings")).setValue("share_data", false);
    QQmlApplicationEngine engine;
    const bool good =
        part == "gallery" ? takeGalleryPicture(engine, folder) : takePartOfProgram(engine, part, folder);
    return good ? 0 : 1;
}
