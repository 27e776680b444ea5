#include "tests/support/qml/ControlGallery.h"

#include <QQmlApplicationEngine>
#include <QQuickWindow>
#include <QUrl>
#include <QVariant>

QQuickWindow* openControlGallery(QQmlApplicationEngine& engine) {
    QVariantList applications;
    for (const char* name : {"music", "game", "browser", "talk"})
        applications.append(
            QVariantMap{{"name", name}, {"bundleIdentifier", name}, {"processIdentifier", "1"}});
    engine.singletonInstance<QObject*>("VexoDeckSystemBridge", "SystemBridge")
        ->setProperty("applications", applications);
    engine.load(QUrl::fromLocalFile(VEXO_GALLERY_DIR "/Gallery.qml"));
    return engine.rootObjects().isEmpty() ? nullptr
                                          : qobject_cast<QQuickWindow*>(engine.rootObjects().first());
}
