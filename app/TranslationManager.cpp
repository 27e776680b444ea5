#include "app/TranslationManager.h"

#include "app/SettingsManager.h"
#include "app/SystemLanguage.h"

#include <QCoreApplication>
#include <QDebug>
#include <QGuiApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QQmlEngine>
#include <QTranslator>
#include <QVariant>

#include <utility>

namespace {

constexpr QLatin1StringView kLanguageKey("language");

QString systemCode() {
    const QLocale system = QLocale::system();
    return systemLanguage(system.uiLanguages(), system);
}

// A code that is none of the list could lead to any file.
bool loadFile(QTranslator& translator, QLatin1StringView name, const QString& languageCode,
              const QString& folder) {
    return programLanguages().contains(languageCode) && translator.load(name + languageCode, folder);
}

} // namespace

TranslationManager* TranslationManager::instance() {
    static auto* const manager = new TranslationManager(systemCode(), usualFolders());
    return manager;
}

TranslationManager::Folders TranslationManager::usualFolders() {
    return {QStringLiteral(":/translations"),
            QCoreApplication::applicationDirPath() + QStringLiteral("/../Resources/translations"),
            QLibraryInfo::path(QLibraryInfo::TranslationsPath)};
}

TranslationManager::TranslationManager(const QString& systemCode, Folders places, QObject* parent)
    : QObject(parent), appTranslator(new QTranslator(this)), qtTranslator(new QTranslator(this)),
      application(qobject_cast<QGuiApplication*>(QCoreApplication::instance())), folders(std::move(places)) {
    qDebug() << "Detected system language:" << systemCode;
    currentLanguage = SettingsManager::instance()->getValue(kLanguageKey, systemCode).toString();
}

TranslationManager::~TranslationManager() {
    removeTranslators();
}

void TranslationManager::setEngine(QQmlEngine* qmlEngine) {
    engine = qmlEngine;
    // A language that is missing has its lines in the log, and the source texts show.
    static_cast<void>(loadTranslations(currentLanguage));
    qDebug() << "QML Engine set for TranslationManager";
}

void TranslationManager::setLanguage(const QString& languageCode) {
    if (languageCode == currentLanguage && !sourceTextsShow) {
        return;
    }
    SettingsManager::instance()->setValue(kLanguageKey, languageCode);
    qDebug() << "Changing language from" << currentLanguage << "to" << languageCode;
    removeTranslators();
    sourceTextsShow = !loadTranslations(languageCode);
    if (sourceTextsShow) {
        // Qt's texts alone would be in another language than the program's.
        removeTranslators();
        qWarning() << "Failed to change language to:" << languageCode;
        return;
    }
    currentLanguage = languageCode;
    emit languageChanged(languageCode);
    if (engine != nullptr) {
        engine->retranslate();
        qDebug() << "Called QQmlApplicationEngine::retranslate()";
    } else {
        qDebug() << "QML Engine not available for retranslate";
    }
    qDebug() << "Language changed successfully to:" << languageCode;
}

void TranslationManager::setLanguageIndex(int8_t index) {
    const QString code = programLanguages().value(index);
    if (code.isEmpty()) {
        qWarning() << "No language has the index" << index;
        return;
    }
    setLanguage(code);
}

QString TranslationManager::getCurrentLanguage() const {
    return currentLanguage;
}

int TranslationManager::getCurrentLanguageIndex() const {
    return static_cast<int>(programLanguages().indexOf(currentLanguage));
}

QStringList TranslationManager::getAvailableLanguages() const {
    return programLanguages();
}

bool TranslationManager::loadTranslations(const QString& languageCode) {
    if (application == nullptr) {
        qWarning() << "QGuiApplication not available";
        return false;
    }
    const bool loaded = loadAppTranslation(languageCode);
    loadQtTranslation(languageCode);
    return loaded;
}

bool TranslationManager::loadAppTranslation(const QString& languageCode) {
    constexpr QLatin1StringView kName("VexoDeck_");
    if (loadFile(*appTranslator, kName, languageCode, folders.own)) {
        qDebug() << "Loaded app translation for:" << languageCode;
    } else {
        qWarning() << "Failed to load app translation for:" << languageCode;
        if (!loadFile(*appTranslator, kName, languageCode, folders.bundle)) {
            qWarning() << "Failed to load app translation from bundle for:" << languageCode;
            return false;
        }
        qDebug() << "Loaded app translation from bundle for:" << languageCode;
    }
    QCoreApplication::installTranslator(appTranslator);
    return true;
}

void TranslationManager::loadQtTranslation(const QString& languageCode) {
    if (loadFile(*qtTranslator, QLatin1StringView("qt_"), languageCode, folders.qt)) {
        QCoreApplication::installTranslator(qtTranslator);
        qDebug() << "Loaded Qt translation for:" << languageCode;
    } else {
        qDebug() << "Failed to load Qt translation for:" << languageCode;
    }
}

void TranslationManager::removeTranslators() {
    QCoreApplication::removeTranslator(appTranslator);
    QCoreApplication::removeTranslator(qtTranslator);
}
