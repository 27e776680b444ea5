#pragma once

#include <QObject>
#include <QTranslator>

class QQmlEngine;

// Stands for a language whose texts are long: every translatable text becomes pseudo words of the length of
// its English translation and 40 % more. Main thread; one for each engine.
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
