#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <cstdint>

class QGuiApplication;
class QQmlEngine;
class QTranslator;

/// Chooses the language of the screens, loads its texts and changes it while the program runs; a process-wide
/// singleton. QML has it as singleton type `TranslationManager` of module `VexoDeckTranslation`. Main thread
/// only.
///
/// The key "language" of SettingsManager holds the user's choice; without one the system's language counts
/// (see SystemLanguage.h), which is not stored. Source texts are Chinese, and are shown where a translation
/// is missing. No file is looked for under a code that is none of getAvailableLanguages().
class TranslationManager : public QObject {
    Q_OBJECT

public:
    /// Where the files "VexoDeck_<code>.qm" and Qt's "qt_<code>.qm" are.
    struct Folders {
        QString own;    // asked first
        QString bundle; // asked where the first has no such file, or a damaged one
        QString qt;
    };

    /// The process-wide object, made at the first call, after the application object, and alive to the end of
    /// the process. Unguarded: the first call is on the main thread.
    static TranslationManager* instance();

    /// The resources of the program, a folder beside it, and the folder of Qt.
    [[nodiscard]] static Folders usualFolders();

    /// `systemCode` is what counts where the settings hold no language. Loads nothing yet.
    TranslationManager(const QString& systemCode, Folders places, QObject* parent = nullptr);
    ~TranslationManager() override;

    /// Loads the translations of the current language. The engine gets the texts anew at each change of the
    /// language. Before it loads a document; it need not outlive this object.
    void setEngine(QQmlEngine* qmlEngine);

    /// Stores the code and changes to its language, unless it is the current one. Where its translation
    /// cannot be loaded the screens show the source texts until the next start or the next language that is
    /// chosen, the current one included: the code stays stored, the current language what it was, and
    /// languageChanged() is not emitted.
    Q_INVOKABLE void setLanguage(const QString& languageCode);
    /// setLanguage() with the code at an index of getAvailableLanguages(). Another index changes nothing.
    Q_INVOKABLE void setLanguageIndex(int8_t index);
    /// The code of the current language; as it is stored, where the settings hold another one.
    [[nodiscard]] Q_INVOKABLE QString getCurrentLanguage() const;
    /// Its position in getAvailableLanguages(), -1 where it is none of them; case counts.
    [[nodiscard]] Q_INVOKABLE int getCurrentLanguageIndex() const;
    [[nodiscard]] Q_INVOKABLE QStringList getAvailableLanguages() const;

signals:
    /// The translations are loaded; the documents are translated anew after it.
    void languageChanged(const QString& languageCode);

private:
    [[nodiscard]] bool loadTranslations(const QString& languageCode);
    [[nodiscard]] bool loadAppTranslation(const QString& languageCode);
    void loadQtTranslation(const QString& languageCode);
    void removeTranslators();

    QTranslator* appTranslator = nullptr; // child
    QTranslator* qtTranslator = nullptr;  // child
    QGuiApplication* application = nullptr;
    QPointer<QQmlEngine> engine;
    QString currentLanguage = QStringLiteral("zh_CN");
    bool sourceTextsShow = false; // a language has failed since the current one was loaded
    Folders folders;
};
