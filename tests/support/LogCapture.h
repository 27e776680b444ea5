#pragma once

#include <QList>
#include <QString>
#include <QtLogging>

/// Collects what the program logs, from all threads, for as long as it lives; nothing is printed meanwhile.
/// One at a time.
class LogCapture {
public:
    struct Line {
        QtMsgType type;
        QString text;
    };

    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    [[nodiscard]] QList<Line> lines() const;
    /// The texts of one level, in order.
    [[nodiscard]] QStringList texts(QtMsgType type) const;
    /// How many lines of any level contain the text.
    [[nodiscard]] qsizetype count(const QString& text) const;
    void clear();
};
