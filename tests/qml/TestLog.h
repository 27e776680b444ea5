#pragma once

#include <QObject>
#include <QStringList>

class QQmlEngine;

// What the documents log while tests run, for the tests to look at: the singleton TestLog of the module
// VexoDeckTest. A warning or an error that no test expects makes the run fail. Lives on the main thread, to
// the end of the process.
class TestLog : public QObject {
    Q_OBJECT
    // Every line since the last begin(), in order.
    Q_PROPERTY(QStringList lines READ lines)

public:
    static TestLog& instance();

    // Takes over the message handler, also from the test framework, which installs its own when it starts;
    // lines are still shown on standard error.
    static void install();

    [[nodiscard]] QStringList lines() const;

    // The next warning or error that contains the text is part of the test.
    Q_INVOKABLE void expect(const QString& text);
    // Warnings and errors that nobody expected, and those that were expected and did not come; forgets them.
    Q_INVOKABLE QStringList takeFaults();
    // Takes over where needed and forgets the lines, not the faults.
    Q_INVOKABLE void begin();

private:
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text);
    void record(QtMsgType type, const QString& text);

    QStringList recordedLines;
    QStringList expectedTexts;
    QStringList unexpectedLines;
};
