#include "app/SettingsManager.h"

#include "app/SettingsFile.h"
#include "platform/FolderSync.h"

#include <QCoreApplication>
#include <QDebug>
#include <QEvent>
#include <QFileInfo>
#include <QJSValue>
#include <QLatin1StringView>
#include <QMetaType>
#include <QSet>

#include <algorithm>
#include <utility>

namespace {

constexpr QLatin1StringView kStore("Settings");

// The engine hands arrays and objects over as values of its own, which no store can write.
QVariant plainValue(const QVariant& value) {
    return value.metaType() == QMetaType::fromType<QJSValue>() ? value.value<QJSValue>().toVariant() : value;
}

// A value that is no list counts as one of one: the store returns those of one as such.
qsizetype lengthOf(const QVariant& value) {
    const int type = value.typeId();
    return type == QMetaType::QStringList || type == QMetaType::QVariantList ? value.toList().size() : 1;
}

/// The name of the store's file, where it is one. A QSettings of that name would read it, so another one of
/// the same folder, which is never written, says it.
QString fileOf(const QString& product) {
    const QString other = QStringLiteral("NoSettings");
    QString name = QSettings(product, other).fileName();
    return name.replace(name.lastIndexOf(other), other.size(), QString(kStore));
}

QEvent::Type writeEvent() {
    static const int type = QEvent::registerEventType();
    return static_cast<QEvent::Type>(type);
}

} // namespace

SettingsManager* SettingsManager::instance() {
    static auto* const manager = new SettingsManager;
    return manager;
}

SettingsManager::SettingsManager(std::chrono::milliseconds delay, QObject* parent)
    : QObject(parent), writeDelay(delay) {
    // The store is named after the product, not after the organisation that the application object carries.
    const QString name = QCoreApplication::applicationName();
    const QString product = name.isEmpty() ? QStringLiteral("Vexo Deck") : name;
    const QString file = fileOf(product);
    removeEmptyLock(file);
    FormerFile::finish(file);
    if (!isReadable(file)) {
        return;
    }
    openStore(product);
    // Kept without effect: the store above already has the platform's native format, which holds the users'
    // settings.
    QSettings::setDefaultFormat(QSettings::IniFormat);
    qDebug() << "QSettings file path: " << settings->fileName();

    writeTimer.setSingleShot(true);
    writeTimer.setTimerType(Qt::PreciseTimer);
    connect(&writeTimer, &QTimer::timeout, this, &SettingsManager::sync);
    if (QCoreApplication::instance() != nullptr) {
        connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this, &SettingsManager::sync);
    }
}

SettingsManager::~SettingsManager() {
    sync();
    if (settings == nullptr || !changed) {
        return;
    }
    // The object writes what is pending once more at its end.
    const FormerFile former(settings->fileName());
    const qsizetype count = keyCount();
    delete settings;
    if (!former.isReplacedWhole(count)) {
        former.putBack();
    }
}

/// Takes the place of the former object, with which it shares what is pending.
void SettingsManager::openStore(const QString& product) {
    const QSettings* const former = settings;
    settings = new QSettings(product, kStore, this);
    settings->installEventFilter(this);
    delete former;
}

bool SettingsManager::event(QEvent* event) {
    if (event->type() != writeEvent()) {
        return QObject::event(event);
    }
    writePosted = false;
    sync();
    return true;
}

bool SettingsManager::eventFilter(QObject* watched, QEvent* event) {
    if (watched != settings || event->type() != QEvent::UpdateRequest) {
        return QObject::eventFilter(watched, event);
    }
    if (changed) {
        writeStepsLater();
    }
    return true;
}

bool SettingsManager::isStep(const QString& key, const QVariant& oldValue, const QVariant& newValue) {
    const auto now = Clock::now();
    const auto last = lastChanges.constFind(key);
    const bool follows = last != lastChanges.constEnd() && now - *last < writeDelay;
    lastChanges.insert(key, now);
    return follows && newValue.typeId() != QMetaType::Bool && lengthOf(oldValue) == lengthOf(newValue);
}

void SettingsManager::writeThisTurn() {
    const auto pause = std::chrono::ceil<std::chrono::milliseconds>(pauseEnd - Clock::now());
    if (pause > std::chrono::milliseconds::zero()) {
        writeWithin(std::min(pause, writeDelay));
    } else if (!std::exchange(writePosted, true)) {
        QCoreApplication::postEvent(this, new QEvent(writeEvent()), Qt::HighEventPriority);
    }
}

void SettingsManager::writeStepsLater() {
    writeWithin(std::chrono::floor<std::chrono::milliseconds>(writeDelay * kWaitingPart));
}

void SettingsManager::writeWithin(std::chrono::milliseconds limit) {
    if (!writeTimer.isActive() || writeTimer.remainingTimeAsDuration() > limit) {
        writeTimer.start(limit);
    }
}

/// False where the changes are not on the disk.
bool SettingsManager::writeStore() {
    if (!isReadable(settings->fileName())) {
        return false;
    }
    if (changed && !keepLinesOfOthers()) {
        return false;
    }
    if (!changed) {
        return writeFile();
    }
    {
        const FormerFile former(settings->fileName());
        if (!writeFile()) {
            return false;
        }
        if (!former.isReplacedWhole(keyCount())) {
            takeBack(former);
            return false;
        }
    }
    changed = false;
    syncFolderOf(settings->fileName());
    noteSeen(settings->fileName());
    return true;
}

bool SettingsManager::writeFile() {
    settings->sync();
    // The status of an object keeps the first error, be it of reading: a new one has the status of its own
    // write.
    if (settings->status() != QSettings::NoError) {
        openStore(settings->organizationName());
        settings->sync();
    }
    return settings->status() != QSettings::AccessError;
}

/// Of the file itself, without those that QSettings finds in others. A key of a section without a name, which
/// begins with the slash, is written as the one without the slash.
qsizetype SettingsManager::keyCount() {
    const bool others = settings->fallbacksEnabled();
    settings->setFallbacksEnabled(false);
    QSet<QString> written;
    for (const QString& key : settings->allKeys()) {
        written.insert(key.startsWith('/') ? key.sliced(1) : key);
    }
    settings->setFallbacksEnabled(others);
    return written.size();
}

/// The former file is there again, and the values are as they were before, and pending.
void SettingsManager::takeBack(const FormerFile& former) {
    const bool others = settings->fallbacksEnabled();
    settings->setFallbacksEnabled(false);
    QHash<QString, QVariant> values;
    for (const QString& key : settings->allKeys()) {
        values.insert(key, settings->value(key));
    }
    former.putBack();
    settings->sync();
    for (const QString& key : settings->allKeys()) {
        if (!values.contains(key)) {
            settings->remove(key);
        }
    }
    for (const auto& [key, value] : values.asKeyValueRange()) {
        settings->setValue(key, value);
    }
    settings->setFallbacksEnabled(others);
}

bool SettingsManager::isAsLeft(const QString& fileName) const {
    const QFileInfo file(fileName);
    return file.size() == seenSize && file.lastModified() == seenTime;
}

void SettingsManager::noteSeen(const QString& fileName) {
    const QFileInfo file(fileName);
    seenSize = file.size();
    seenTime = file.lastModified();
}

/// Before the file is read: whether it may be, by now.
bool SettingsManager::isReadable(const QString& fileName) {
    if (isAsLeft(fileName)) {
        return true;
    }
    const FileState state = makeReadable(fileName);
    if (state == FileState::Mended) {
        noteSeen(fileName);
    }
    return state != FileState::Unreadable;
}

/// Before a write, of a file that is not as it was left. False where they cannot be kept.
bool SettingsManager::keepLinesOfOthers() {
    if (isAsLeft(settings->fileName())) {
        return true;
    }
    if (!keepForeignLines(settings->fileName())) {
        return false;
    }
    noteSeen(settings->fileName());
    return true;
}

void SettingsManager::setValue(const QString& key, const QVariant& value) {
    if (settings == nullptr) {
        return;
    }
    const QVariant plain = plainValue(value);
    const QVariant oldValue = settings->value(key);
    settings->setValue(key, plain);
    changed = true;
    if (oldValue != plain) {
        if (!isStep(key, oldValue, plain)) {
            writeThisTurn();
        }
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
    changed = true;
    writeThisTurn();
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
    if (settings == nullptr) {
        return;
    }
    writeTimer.stop();
    const auto begin = Clock::now();
    const bool written = writeStore();
    const auto end = Clock::now();
    pauseEnd = end + kPauseLengths * (end - begin);
    const bool failedBefore = std::exchange(failing, !written);
    if (written && failedBefore) {
        qInfo() << "SettingsManager: the settings are written again";
    } else if (!written && !failedBefore) {
        qWarning() << "SettingsManager: the settings cannot be written, trying again:"
                   << settings->fileName();
    }
    if (!written) {
        writeWithin(kRetryDelay);
    }
}

void SettingsManager::rescue() {
    if (settings == nullptr || !changed) {
        return;
    }
    const FileState state = makeReadable(settings->fileName());
    if (state == FileState::Unreadable ||
        (state == FileState::Readable && !keepForeignLines(settings->fileName()))) {
        return;
    }
    const FormerFile former(settings->fileName());
    settings->sync();
    if (!former.isReplacedWhole(keyCount())) {
        former.putBack();
    }
}

void SettingsManager::clear() {
    if (settings == nullptr) {
        return;
    }
    settings->clear();
    changed = true;
    writeThisTurn();
    emit valueChanged(QString(), QVariant());
}

QStringList SettingsManager::getAllKeys() const {
    return settings == nullptr ? QStringList() : settings->allKeys();
}
