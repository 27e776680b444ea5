#pragma once

#include <QObject>
#include <QTranslator>

class QQmlEngine;

// A fake language with long texts: every translatable text becomes pseudo words, 40 % longer than its English
// translation. Main thread; one for each engine.
class LongTexts : public QObject {
    Q_OBJECT

public:
    explicit LongTexts(QQmlEngine& qmlEngine);

    // Changes the language of the documents that the engine shows.
    Q_INVOKABLE void install();
    Q_INVOKABLE void remove();

private:
    class Translator : public QTranslator {
    public:
        [[nodiscard]] QString translate(const char* context, const char* sourceText,
                                        const char* disambiguation, int n) const override;
        [[nodiscard]] bool isEmpty() const override { return false; }
    };

    QQmlEngine& engine;
    Translator translator;
};

// Registers the singleton LongTexts of the module VexoDeckTest, once in a process.
void registerLongTexts();
