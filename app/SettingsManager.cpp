#include "app/SettingsManager.h"

#include <QCoreApplication>
#include <QDebug>
#include <QEvent>
#include <QJSValue>

namespace {

// The engine hands arrays and objects over as values of its own, which no store can write.
QVariant plainValue(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<QJSValue>() ? value.value<QJSValue>().toVariant() : value;
}

} // namespace

SettingsManager* SettingsManager::instance() {
    static auto* const manager = new SettingsManager;
    return manager;
}

SettingsManager::SettingsManager(std::chrono::milliseconds writeDelay, QObject* parent) : QObject(parent) {
    // The store is named after the product, not after the organisation that the application object carries.
    const QString product = QCoreApplication::applicationName();
    settings = new QSettings(product.isEmpty() ? QStringLiteral("Vexo Deck") : product,
                             QStringLiteral("Settings"), this);
    // Kept without effect: the store above already has the platform's native format, which holds the users'
    // settings.
    QSettings::setDefaultFormat(QSettings::IniFormat);
    qDebug() << "QSettings file path: " << settings->fileName();

    settings->installEventFilter(this);
    writeTimer.setSingleShot(true);
    writeTimer.setInterval(writeDelay);
    connect(&writeTimer, &QTimer::timeout, this, &SettingsManager::sync);
    if (QCoreApplication::instance() != nullptr) {
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &SettingsManager::sync);
    }
}

SettingsManager::~SettingsManager() {
    if (settings != nullptr) {
        settings->sync();
    }
}

bool SettingsManager::eventFilter(QObject* watched, QEvent* event) {
    if (watched != settings || event->type() != QEvent::UpdateRequest) {
        return QObject::eventFilter(watched, event);
    }
    if (!writeTimer.isActive()) {
        writeTimer.start();
    }
    return true;
}

void SettingsManager::setValue(const QString& key, const QVariant& value) {
    if (settings == nullptr) {
        return;
    }
    const QVariant plain = plainValue(value);
    const QVariant oldValue = settings->value(key);
    settings->setValue(key, plain);
    if (oldValue != plain) {
        emit valueChanged(key, plain);
    }
}

QVariant SettingsManager::getValue(const QString& key, const QVariant& defaultValue) const {
    return settings == nullptr ? defaultValue : settings->value(key, defaultValue);
}

void SettingsManager::removeValue(const QString& key) {
    if (settings == nullptr) {
        return;
    }
    settings->remove(key);
    emit valueChanged(key, QVariant());
}

bool SettingsManager::contains(const QString& key) const {
    return settings != nullptr && settings->contains(key);
}

void SettingsManager::setColor(const QString& key, const QColor& color) {
    setValue(key, color.name());
}

QColor SettingsManager::getColor(const QString& key, const QColor& defaultColor) const {
    if (settings == nullptr) {
        return defaultColor;
    }
    return QColor(settings->value(key, defaultColor.name()).toString());
}

void SettingsManager::setStringList(const QString& key, const QStringList& list) {
    setValue(key, list);
}

QStringList SettingsManager::getStringList(const QString& key, const QStringList& defaultList) const {
    return settings == nullptr ? defaultList : settings->value(key, defaultList).toStringList();
}

void SettingsManager::sync() {
    if (settings != nullptr) {
        settings->sync();
    }
}

void SettingsManager::clear() {
    if (settings == nullptr) {
        return;
    }
    settings->clear();
    emit valueChanged(QString(), QVariant());
}

QStringList SettingsManager::getAllKeys() const {
    return settings == nullptr ? QStringList() : settings->allKeys();
}
