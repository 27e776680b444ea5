#include "device/DeviceLogs.h"

#include <QDateTime>
#include <QDebug>
#include <QDir>
#include <QFile>
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

QString timestamp() {
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz"));
}

void appendLine(const QString& fileName, const QString& line, const char* openFailed,
                const char* writeFailed) {
    QFile file(logPath(fileName));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text)) {
        qWarning() << openFailed << file.fileName() << "错误:" << file.errorString();
        return;
    }
    const QByteArray text = line.toUtf8();
    if (file.write(text) != text.size() || !file.flush()) {
        qWarning() << writeFailed << file.errorString();
    }
}

QString upperHex(const QByteArray& bytes) {
    return QString::fromLatin1(bytes.toHex().toUpper());
}

} // namespace

void appendDataLog(const QString& direction, const QByteArray& bytes) {
    appendLine(QStringLiteral("hid_data.log"),
               QStringLiteral("[%1] [%2] %3\n").arg(timestamp(), direction, upperHex(bytes)),
               "无法打开日志文件:", "写入日志文件失败:");
}

void appendAttributeLog(const QString& direction, std::uint32_t attID, const QByteArray& bytes) {
    const QString id = QString::number(attID, 16).toUpper().rightJustified(4, QLatin1Char('0'));
    appendLine(
        QStringLiteral("hid_attribute.log"),
        QStringLiteral("[%1] [属性%2] attID:0x%3 数据:%4\n").arg(timestamp(), direction, id, upperHex(bytes)),
        "无法打开属性日志文件:", "写入属性日志文件失败:");
}
