#include "platform/IconFiles.h"

#include "platform/windows/applications/IconExtraction.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

QString temporaryFolder() {
    return temporaryFolder(windowsInventorySystemCalls());
}

bool prepareIconFolder(const QString& folder) {
    return QDir().mkpath(folder);
}

bool isIconFile(const QString& path) {
    return QFileInfo(path).isFile();
}

bool writeIconFile(const QString& path, const QByteArray& content) {
    QSaveFile file(path);
    return prepareIconFolder(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size() && file.commit();
}
