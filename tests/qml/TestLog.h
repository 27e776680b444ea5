#pragma once

#include <QObject>
#include <QStringList>

class QQmlEngine;

// The lines that the documents log during a test: the singleton TestLog of the module VexoDeckTest. A warning
// or an error that no test expects fails the run. Lives on the main thread, to the end of the process.
class TestLog : public QObject {
    Q_OBJECT
    // Every line since the last begin(), in order.
    Q_PROPERTY(QStringList lines READ lines)

public:
    static TestLog& instance();

    // Installs the message handler, in place of the test framework's own. Lines still go to standard error.
    static void install();

    [[nodiscard]] QStringList lines() const;

    // The next warning or error that contains the text is part of the test.
    Q_INVOKABLE void expect(const QString& text);
    // Returns and forgets the faults: unexpected warnings and errors, and expected ones that are missing.
    Q_INVOKABLE QStringList takeFaults();
    // Installs the handler again and forgets the lines, not the faults.
    Q_INVOKABLE void begin();

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text);
    void record(QtMsgType type, const QString& text);

    QStringList recordedLines;
    QStringList expectedTexts;
    QStringList unexpectedLines;
};
