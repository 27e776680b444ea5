#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickStyle>

/// An empty Material window: what the program is compared with.
int main(int argc, char* argv[]) {
    const QGuiApplication application(argc, argv);
    QQuickStyle::setStyle(QStringLiteral("Material"));
    QQmlApplicationEngine engine;
    engine.loadFromModule("EmptyWindow", "Main");
    return QGuiApplication::exec();
}
