// Shows every control of the library, in every state:
//     vexo_control_gallery              a window to try them in
//     vexo_control_gallery --check      draws it once and ends
// Wants a display (an Xvfb will do); QT_SCALE_FACTOR gives other densities. tools/pictures/make takes its
// picture.

#include "tests/support/qml/ControlGallery.h"
#include "tests/support/qml/FakeProgram.h"

#include <QGuiApplication>
#include <QImage>
#include <QQmlApplicationEngine>
#include <QQuickWindow>

#include <cstdio>

namespace {

// Longer than any transition of a control.
constexpr int kSettleMs = 350;

} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    const bool checking = arguments.size() == 2 && arguments[1] == "--check";
    if (arguments.size() > 1 && !checking) {
        std::fprintf(stderr, "usage: vexo_control_gallery [--check]\n");
        return 2;
    }
    setUpFakeProgram();
    QQmlApplicationEngine engine;
    QQuickWindow* const window = openControlGallery(engine);
    if (window == nullptr)
        return 1;
    if (!checking)
        return QGuiApplication::exec();
    runEventLoop(kSettleMs);
    return window->grabWindow().isNull() ? 1 : 0;
}
