#include "platform/linux/applications/IconTheme.h"

#include "inventory/ProgramFiles.h"
#include "platform/linux/applications/KeyFile.h"
#include "platform/linux/system/ForeignFile.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>
#include <QRegularExpression>
#include <QSet>
#include <QStandardPaths>

#include <cstddef>
#include <optional>
#include <string>

namespace {

constexpr std::size_t kLargestIndexBytes = 1 << 20;
constexpr std::size_t kLargestPictureBytes = 8 << 20;
// Of a picture while it is decoded.
constexpr int kMostMemoryMb = 64;
// No theme has that many ancestors.
constexpr qsizetype kMostThemes = 64;

const QString kLastTheme = QStringLiteral("hicolor");
const QStringList kSuffixes = {QStringLiteral(".png"), QStringLiteral(".svg"), QStringLiteral(".xpm")};

QStringList iconFolders() {
    QStringList folders{QDir::homePath() + QStringLiteral("/.icons")};
    for (const QString& data : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation)) {
        folders.append(data + QStringLiteral("/icons"));
    }
    folders.append(QStringLiteral("/usr/share/pixmaps"));
    return folders;
}

std::optional<std::string> contentOf(const QString& path, std::size_t limitBytes) {
    return readForeignFile(QFile::encodeName(path).toStdString(), limitBytes);
}

// The theme that the user has chosen, then those that desktops ship.
QStringList userThemes() {
    const QString settings =
        QStandardPaths::locate(QStandardPaths::GenericConfigLocation, QStringLiteral("gtk-3.0/settings.ini"));
    QStringList themes;
    if (const std::optional<std::string> text = contentOf(settings, kLargestIndexBytes)) {
        readKeyFile(*text, [&themes](QByteArrayView group, QByteArrayView key, QByteArrayView value) {
            if (group == "Settings" && key == "gtk-icon-theme-name") {
                themes = {QString::fromUtf8(value)};
            }
        });
    }
    themes += {QStringLiteral("breeze"), QStringLiteral("Adwaita")};
    return themes;
}

QString fileIn(const QString& folder, const QString& name) {
    for (const QString& suffix : kSuffixes) {
        const QString path = folder + QLatin1Char('/') + name + suffix;
        if (QFileInfo(path).isFile()) {
            return path;
        }
    }
    return {};
}

QStringList listOf(QByteArrayView value) {
    QStringList parts;
    for (const QString& part : QString::fromUtf8(value).split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        parts.append(part.trimmed());
    }
    return parts;
}

// Whether a name stays below the folder that it is taken from.
bool staysBelow(const QString& name) {
    return !name.startsWith(QLatin1Char('/')) && !name.split(QLatin1Char('/')).contains(QStringLiteral(".."));
}

IconThemeIndex readTheme(const QString& name, const QStringList& baseFolders) {
    for (const QString& base : baseFolders) {
        const QString index = base + QLatin1Char('/') + name + QStringLiteral("/index.theme");
        if (const std::optional<std::string> text = contentOf(index, kLargestIndexBytes)) {
            return parseIconTheme(*text);
        }
    }
    return {};
}

QString fileInTheme(const QString& icon, const QString& theme, const QStringList& baseFolders,
                    const QList<IconThemeFolder>& folders) {
    const auto search = [&](const auto& wanted) -> QString {
        for (const IconThemeFolder& folder : folders) {
            if (!wanted(folder)) {
                continue;
            }
            for (const QString& base : baseFolders) {
                const QString path =
                    fileIn(base + QLatin1Char('/') + theme + QLatin1Char('/') + folder.name, icon);
                if (!path.isEmpty()) {
                    return path;
                }
            }
        }
        return {};
    };
    for (const int size : kIconSizes) {
        const QString path =
            search([size](const IconThemeFolder& folder) { return !folder.scalable && folder.size == size; });
        if (!path.isEmpty()) {
            return path;
        }
    }
    const QString drawn = search([](const IconThemeFolder& folder) { return folder.scalable; });
    return drawn.isEmpty() ? search([](const IconThemeFolder&) { return true; }) : drawn;
}

} // namespace

bool isIconName(const QString& text) {
    static const QRegularExpression form(QStringLiteral("\\A[A-Za-z0-9][A-Za-z0-9._+@-]{0,127}\\z"));
    return form.match(text).hasMatch();
}

IconThemeIndex parseIconTheme(QByteArrayView text) {
    IconThemeIndex index;
    QStringList names;
    QHash<QString, IconThemeFolder> folders;
    readKeyFile(text, [&](QByteArrayView group, QByteArrayView key, QByteArrayView value) {
        if (group == "Icon Theme") {
            if (key == "Inherits") {
                index.parents = listOf(value);
            } else if (key == "Directories") {
                names = listOf(value);
            }
            return;
        }
        IconThemeFolder& folder = folders[QString::fromUtf8(group)];
        if (key == "Size") {
            folder.size = value.toInt();
        } else if (key == "Scale") {
            folder.scale = value.toInt();
        } else if (key == "Type") {
            folder.scalable = value == "Scalable";
        }
    });
    for (const QString& name : names) {
        IconThemeFolder folder = folders.value(name);
        folder.name = name;
        if (folder.scale == 1 && staysBelow(name)) {
            index.folders.append(folder);
        }
    }
    return index;
}

QString findIconFile(const QString& name, const QStringList& baseFolders, const QStringList& themes) {
    if (name.isEmpty() || name.contains(QLatin1Char('/'))) {
        return {};
    }
    QStringList waiting = themes;
    waiting.append(kLastTheme);
    QSet<QString> seen;
    while (!waiting.isEmpty() && seen.size() < kMostThemes) {
        const QString theme = waiting.takeFirst();
        if (theme.isEmpty() || theme.contains(QLatin1Char('/')) || !staysBelow(theme) ||
            seen.contains(theme)) {
            continue;
        }
        seen.insert(theme);
        const IconThemeIndex found = readTheme(theme, baseFolders);
        const QString path = fileInTheme(name, theme, baseFolders, found.folders);
        if (!path.isEmpty()) {
            return path;
        }
        waiting = found.parents + waiting;
    }
    for (const QString& base : baseFolders) {
        const QString path = fileIn(base, name);
        if (!path.isEmpty()) {
            return path;
        }
    }
    return {};
}

QImage decodePicture(const QByteArray& bytes, int drawnSize) {
    QImageReader::setAllocationLimit(kMostMemoryMb);
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    if (reader.format().startsWith("svg")) {
        const QSize drawn(drawnSize, drawnSize);
        const QSize size = reader.size();
        reader.setScaledSize(size.isEmpty() ? drawn
                                            : size.scaled(drawn, Qt::KeepAspectRatio).expandedTo({1, 1}));
    }
    return reader.read();
}

QImage loadIcon(const QString& nameOrPath, int drawnSize) {
    const QString path = QFileInfo(nameOrPath).isAbsolute()
                             ? nameOrPath
                             : findIconFile(nameOrPath, iconFolders(), userThemes());
    const std::optional<std::string> bytes = contentOf(path, kLargestPictureBytes);
    return bytes ? decodePicture(QByteArray::fromStdString(*bytes), drawnSize) : QImage();
}
