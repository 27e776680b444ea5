#include "tests/support/LogCapture.h"

#include <algorithm>
#include <mutex>

namespace {

std::mutex captureMutex;
// Never destroyed: a thread of Qt's pools may log until the process ends.
QList<LogCapture::Line>& captured = *new QList<LogCapture::Line>;
QtMessageHandler previousHandler = nullptr;

void capture(QtMsgType type, const QMessageLogContext&, const QString& text) {
    const std::lock_guard lock(captureMutex);
    captured.append({type, text});
}

} // namespace

LogCapture::LogCapture() {
    clear();
    previousHandler = qInstallMessageHandler(capture);
}

LogCapture::~LogCapture() {
    qInstallMessageHandler(previousHandler);
}

QList<LogCapture::Line> LogCapture::lines() const {
    const std::lock_guard lock(captureMutex);
    return captured;
}

QStringList LogCapture::texts(QtMsgType type) const {
    QStringList result;
    for (const Line& line : lines()) {
        if (line.type == type) {
            result.append(line.text);
        }
    }
    return result;
}

qsizetype LogCapture::count(const QString& text) const {
    const QList<Line> all = lines();
    return std::count_if(all.begin(), all.end(),
                         [&text](const Line& line) { return line.text.contains(text); });
}

void LogCapture::clear() {
    const std::lock_guard lock(captureMutex);
    captured.clear();
}
