#include "platform/FolderSync.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

void syncFolderOf(const QString& file) {
    // A link stands for the file behind it.
    const QString path = QFileInfo(file).canonicalPath();
    if (path.isEmpty()) {
        return;
    }
    const int folder = open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        fsync(folder);
        close(folder);
    }
}
