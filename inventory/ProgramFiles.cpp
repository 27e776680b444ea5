#include "inventory/ProgramFiles.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>

namespace {

bool isMakersPath(const QString& path) {
    return path.contains(QLatin1String("VEXO")) || path.contains(QLatin1String("VexoDeck")) ||
           path.contains(QLatin1String("Vexo Deck"));
}

void collectPrograms(const QString& folder, const QString& suffix, int depth, QSet<QString>& seen,
                     QStringList& files) {
    if (depth < 1) {
        return;
    }
    const QFileInfoList entries =
        QDir(folder).entryInfoList(QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Unsorted);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            collectPrograms(entry.absoluteFilePath(), suffix, depth - 1, seen, files);
            continue;
        }
        const QString key = entry.completeBaseName();
        if (entry.suffix().toLower() != suffix || isMakersPath(entry.absoluteFilePath()) ||
            seen.contains(key)) {
            continue;
        }
        seen.insert(key);
        files.append(entry.absoluteFilePath());
    }
}

} // namespace

QString fileUrl(const QString& path) {
    QString slashed = path;
    slashed.replace(QLatin1Char('\\'), QLatin1Char('/'));
    return QStringLiteral("file:///") + (slashed.startsWith(QLatin1Char('/')) ? slashed.mid(1) : slashed);
}

QString fileStem(const QString& path) {
    const qsizetype slash = std::max(path.lastIndexOf(QLatin1Char('/')), path.lastIndexOf(QLatin1Char('\\')));
    const QString name = path.mid(slash + 1);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    return dot >= 0 ? name.left(dot) : name;
}

QString sessionIconFolder(const QString& temporaryFolder) {
    return temporaryFolder.isEmpty() ? QString() : temporaryFolder + kSessionIconFolder;
}

QString sessionIconPath(const QString& temporaryFolder, const QString& executablePath,
                        std::uint32_t processId) {
    if (temporaryFolder.isEmpty()) {
        return {};
    }
    QString stem = fileStem(executablePath);
    if (stem.isEmpty()) {
        stem = QStringLiteral("process_%1").arg(processId);
    }
    return sessionIconFolder(temporaryFolder) + QLatin1Char('/') + stem + QStringLiteral(".png");
}

QString programIconFileName(const QString& baseName) {
    static const QRegularExpression others(QStringLiteral("[^a-zA-Z0-9_\\-]"));
    QString name = baseName;
    return name.replace(others, QStringLiteral("_")) + QStringLiteral(".png");
}

QStringList programFiles(const QStringList& roots, const QString& suffix, int depth) {
    QSet<QString> seen;
    QStringList files;
    for (const QString& root : roots) {
        collectPrograms(root, suffix, depth, seen, files);
    }
    return files;
}

QByteArray iconFileOf(const QImage& picture) {
    QImage canvas(kIconFileSize, kIconFileSize, QImage::Format_ARGB32);
    canvas.fill(Qt::transparent);
    QImage fitted =
        picture.scaled(kIconFileSize, kIconFileSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    // The file counts in pixels, whatever display the picture was made for.
    fitted.setDevicePixelRatio(1.0);
    QPainter painter(&canvas);
    painter.drawImage((kIconFileSize - fitted.width()) / 2, (kIconFileSize - fitted.height()) / 2, fitted);
    painter.end();
    QByteArray png;
    QBuffer buffer(&png);
    return buffer.open(QIODevice::WriteOnly) && canvas.save(&buffer, "PNG") ? png : QByteArray();
}
