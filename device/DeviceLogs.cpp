#include "device/DeviceLogs.h"

#include "device/LogFile.h"

#include <QByteArray>
#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QStandardPaths>

namespace {

QString logPath(const QString& fileName) {
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    const QDir dir(folder);
    if (!dir.exists()) {
        // A failure shows when the file is opened.
        dir.mkpath(QStringLiteral("."));
    }
    return dir.filePath(fileName);
}

/// "[timestamp] [", where each line begins.
QByteArray lineStart() {
    return '[' + QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz")).toUtf8() +
           "] [";
}

QByteArray upperHex(QByteArrayView bytes) {
    return QByteArray::fromRawData(bytes.data(), bytes.size()).toHex().toUpper();
}

void appendLine(const QString& fileName, const QByteArray& line, const char* openFailed,
                const char* writeFailed) {
    const QString path = logPath(fileName);
    const LogAppend append = appendToLog(path, line);
    if (append.result == LogAppend::Result::OpenFailed) {
        qWarning() << openFailed << path << "错误:" << append.error;
    } else if (append.result == LogAppend::Result::WriteFailed) {
        qWarning() << writeFailed << append.error;
    }
}

} // namespace

void appendDataLog(const char* direction, QByteArrayView bytes) {
    appendLine(QStringLiteral("hid_data.log"), lineStart() + direction + "] " + upperHex(bytes) + '\n',
               "无法打开日志文件:", "写入日志文件失败:");
}

void appendAttributeLog(const char* direction, std::uint32_t attID, QByteArrayView bytes) {
    const QByteArray id = QByteArray::number(attID, 16).toUpper().rightJustified(4, '0');
    appendLine(QStringLiteral("hid_attribute.log"),
               lineStart() + "属性" + direction + "] attID:0x" + id + " 数据:" + upperHex(bytes) + '\n',
               "无法打开属性日志文件:", "写入属性日志文件失败:");
}
