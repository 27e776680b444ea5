#include "tests/support/qml/LongTexts.h"

#include <QCoreApplication>
#include <QQmlEngine>

#include <algorithm>

namespace {

// English needs about four letters for a sign ("原声" is "Acoustic"), and one for a letter ("Hz"); 40 % more
// in tenths.
constexpr int kTenthLettersPerSign = 4 * 14;
constexpr int kTenthLettersPerLetter = 14;
constexpr int kLongestWord = 11;

} // namespace

LongTexts::LongTexts(QQmlEngine& qmlEngine) : engine(qmlEngine) {
    // The translations of the program come first: what is installed last is asked first.
    engine.singletonInstance<QObject*>("VexoDeckTranslation", "TranslationManager");
}

void LongTexts::install() {
    QCoreApplication::installTranslator(&translator);
    engine.retranslate();
}

void LongTexts::remove() {
    QCoreApplication::removeTranslator(&translator);
    engine.retranslate();
}

QString LongTexts::Translator::translate(const char*, const char* sourceText, const char*, int) const {
    const QString word = "wandernebel";
    QString text;
    qsizetype rest = 0;
    for (const QChar sign : QString::fromUtf8(sourceText))
        rest += sign.unicode() < 128 ? kTenthLettersPerLetter : kTenthLettersPerSign;
    rest /= 10;
    for (; rest > 0; rest -= kLongestWord)
        text += word.left(std::min<qsizetype>(rest, kLongestWord)) + ' ';
    text = text.trimmed();
    text[0] = text[0].toUpper();
    return text;
}

void registerLongTexts() {
    qmlRegisterSingletonType<LongTexts>(
        "VexoDeckTest", 1, 0, "LongTexts",
        [](QQmlEngine* engine, QJSEngine*) -> QObject* { return new LongTexts(*engine); });
}
