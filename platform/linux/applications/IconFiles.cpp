#include "platform/IconFiles.h"

#include "platform/linux/system/PrivateFolder.h"

#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

#include <string>
#include <vector>

namespace {

// A folder of the program's own; not open for any other and where it is not the user's.
FileDescriptor openIconFolder(const QString& folder) {
    for (const auto location : {QStandardPaths::GenericCacheLocation, QStandardPaths::GenericDataLocation}) {
        const QString base = QStandardPaths::writableLocation(location);
        if (base.isEmpty() || !folder.startsWith(base + QLatin1Char('/'))) {
            continue;
        }
        std::vector<std::string> levels;
        for (const QString& level : folder.mid(base.size() + 1).split(QLatin1Char('/'))) {
            levels.push_back(QFile::encodeName(level).toStdString());
        }
        return openPrivateFolder(QFile::encodeName(base).toStdString(), levels);
    }
    return {};
}

std::string nameIn(const QString& path) {
    return QFile::encodeName(QFileInfo(path).fileName()).toStdString();
}

} // namespace

QString temporaryFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
}

bool prepareIconFolder(const QString& folder) {
    return openIconFolder(folder).isOpen();
}

bool isIconFile(const QString& path) {
    const FileDescriptor folder = openIconFolder(QFileInfo(path).path());
    return folder.isOpen() && hasFile(folder, nameIn(path));
}

bool writeIconFile(const QString& path, const QByteArray& content) {
    const FileDescriptor folder = openIconFolder(QFileInfo(path).path());
    return folder.isOpen() &&
           writeFile(folder, nameIn(path), {content.constData(), static_cast<std::size_t>(content.size())});
}
