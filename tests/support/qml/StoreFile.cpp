#include "tests/support/qml/StoreFile.h"

#include "app/SettingsManager.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QQmlEngine>
#include <QSettings>
#include <QTemporaryDir>

namespace {

// All QSettings objects of one store in a process share the values read and pending.
class Store : public QSettings {
public:
    Store() : QSettings(QCoreApplication::applicationName(), "Settings") {}

    // Changes the file directly. Its new size makes the store read it again.
    void put(const QByteArray& content, QIODevice::OpenMode mode) {
        QDir().mkpath(QFileInfo(fileName()).path());
        QFile file(fileName());
        if (!file.open(mode) || file.write(content) != content.size() || !file.flush())
            qFatal("cannot write %s", qPrintable(file.fileName()));
        file.close();
        sync();
    }
};

} // namespace

void StoreFile::restart() {
    Store store;
    store.sync();
    store.put("\n", QIODevice::Append);
}

void StoreFile::replace(const QStringList& lines) {
    replaceFile(QByteArray("[General]\n") + lines.join('\n').toUtf8() + '\n');
}

void StoreFile::replaceFile(const QByteArray& content) {
    Store store;
    store.clear();
    store.sync();
    store.put(content, QIODevice::WriteOnly);
}

void registerTemporarySettings() {
    static const QTemporaryDir folder;
    qputenv("XDG_CONFIG_HOME", folder.path().toLocal8Bit());
    qmlRegisterSingletonType<SettingsManager>(
        "VexoDeckSettings", 1, 0, "SettingsManager",
        [](QQmlEngine*, QJSEngine*) -> QObject* { return new SettingsManager; });
    qmlRegisterSingletonType<StoreFile>("VexoDeckTest", 1, 0, "StoreFile",
                                        [](QQmlEngine*, QJSEngine*) -> QObject* { return new StoreFile; });
}
