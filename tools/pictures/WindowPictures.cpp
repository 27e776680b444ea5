#include "tools/pictures/Pictures.h"

#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQuickItem>
#include <QQuickWindow>

namespace {

QQuickItem* findIn(QQuickItem* item, const QString& objectName) {
    if (item->objectName() == objectName)
        return item;
    for (QQuickItem* const part : item->childItems()) {
        if (QQuickItem* const found = findIn(part, objectName))
            return found;
    }
    return nullptr;
}

QQuickItem* part(const QQuickWindow& window, const QString& objectName) {
    QQuickItem* const found = findIn(window.contentItem(), objectName);
    if (found == nullptr)
        qFatal("no %s", qPrintable(objectName));
    return found;
}

QQuickWindow& windowNamed(const QString& objectName) {
    for (QWindow* const candidate : QGuiApplication::allWindows()) {
        if (candidate->objectName() == objectName)
            return *qobject_cast<QQuickWindow*>(candidate);
    }
    qFatal("no %s", qPrintable(objectName));
}

void createWindow(QQmlApplicationEngine& engine, const char* document, QObject* parent) {
    QMetaObject::invokeMethod(engine.singletonInstance<QObject*>("VexoDeck", "VxConfig"), "createWindow",
                              Q_ARG(QString, document), Q_ARG(QVariant, QVariant::fromValue(parent)));
}

} // namespace

bool takeWindowPictures(QQmlApplicationEngine& engine, QQuickWindow& window, const QDir& folder) {
    settle();
    bool saved = true;
    const auto take = [&saved, &folder](QQuickWindow& shown, const QString& name) {
        saved = savePicture(shown, folder, name) && saved;
    };
    QQuickWindow& settings = windowNamed("settingsWindow");
    settings.show();
    part(settings, "statBox")->setProperty("stat", 0);
    take(settings, "settings");
    settings.close();
    QQuickWindow& support = windowNamed("customerWindow");
    support.show();
    take(support, "support-china");
    QObject* const translations =
        engine.singletonInstance<QObject*>("VexoDeckTranslation", "TranslationManager");
    QMetaObject::invokeMethod(translations, "setLanguage", QString("zh_TW"));
    take(support, "support-others");
    QMetaObject::invokeMethod(translations, "setLanguage", QString("zh_CN"));
    support.close();
    settle();
    createWindow(engine, "ResetWindow.qml", &window);
    QQuickWindow& reset = windowNamed("resetWindow");
    take(reset, "reset");
    QMetaObject::invokeMethod(part(reset, "okButton"), "click");
    settle();
    take(reset, "reset-done");
    reset.close();
    settle();
    createWindow(engine, "UpgradeWindow.qml", &window);
    take(windowNamed("upgradeWindow"), "installer-failed");
    return saved;
}
