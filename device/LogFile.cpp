#include "device/LogFile.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QLockFile>

#include <filesystem>
#include <system_error>

namespace {

/// Leaves the last lines of a file, at most the limit.
void keepLastLines(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) || !file.seek(file.size() - kLogLimitBytes)) {
        return;
    }
    // The line in which the limit lies is not whole.
    file.readLine();
    const QByteArray lines = file.readAll();
    file.resize(0);
    file.seek(0);
    file.write(lines);
}

bool becomeOldFile(const QString& path) {
    const QString oldPath = path + QStringLiteral(".1");
    const bool isTooLong = QFileInfo(path).size() > kLogLimitBytes;
    // Unlike Qt's own, it replaces a file, and a link without following it.
    std::error_code error;
    std::filesystem::rename(QFileInfo(path).filesystemFilePath(), QFileInfo(oldPath).filesystemFilePath(),
                            error);
    if (!error && isTooLong) {
        keepLastLines(oldPath);
    }
    return !error;
}

void makeRoom(const QString& path, qint64 byteCount) {
    const auto wouldPass = [&](qint64 length) {
        const qint64 size = QFileInfo(path).size();
        return size > 0 && size + byteCount > length;
    };
    if (!wouldPass(kLogFullBytes)) {
        return;
    }
    QLockFile lock(path + QStringLiteral(".lock"));
    if (!lock.tryLock() && lock.error() == QLockFile::LockFailedError && !wouldPass(kLogLimitBytes)) {
        // Its holder makes room.
        return;
    }
    // Another program may have been faster.
    if (!wouldPass(kLogFullBytes) || becomeOldFile(path)) {
        return;
    }
    qWarning() << "无法轮转日志文件，已清空:" << path;
    QFile::resize(path, 0);
}

/// Takes back what was written of a line that did not fit.
LogAppend writeLine(QFile& file, const QByteArray& line) {
    const qint64 before = file.size();
    qint64 written = 0;
    while (written < line.size()) {
        const qint64 count = file.write(line.constData() + written, line.size() - written);
        if (count <= 0) {
            const QString error = file.errorString();
            if (written > 0 && file.size() == before + written) {
                file.resize(before);
            }
            return {LogAppend::Result::WriteFailed, error};
        }
        written += count;
    }
    return {};
}

} // namespace

LogAppend appendToLog(const QString& path, const QByteArray& line) {
    makeRoom(path, line.size());
    QFile file(path);
    // Without a buffer a line is one write, which no other program's divides.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text | QIODevice::Unbuffered)) {
        return {LogAppend::Result::OpenFailed, file.errorString()};
    }
    return writeLine(file, line);
}
