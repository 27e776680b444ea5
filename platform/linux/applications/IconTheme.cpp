#include "platform/linux/applications/IconTheme.h"

#include "inventory/ProgramFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>
#include <QSet>
#include <QSettings>
#include <QStandardPaths>

namespace {

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

// The theme that the user has chosen, then those that desktops ship.
QStringList userThemes() {
    const QString settings =
        QStandardPaths::locate(QStandardPaths::GenericConfigLocation, QStringLiteral("gtk-3.0/settings.ini"));
    QStringList themes;
    if (!settings.isEmpty()) {
        themes.append(QSettings(settings, QSettings::IniFormat)
                          .value(QStringLiteral("Settings/gtk-icon-theme-name"))
                          .toString());
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

struct ThemeFolder {
    QString name;
    int size = 0;
    bool scalable = false;
};

struct Theme {
    QList<ThemeFolder> folders;
    QStringList parents;
};

Theme readTheme(const QString& name, const QStringList& baseFolders) {
    Theme theme;
    for (const QString& base : baseFolders) {
        const QString index = base + QLatin1Char('/') + name + QStringLiteral("/index.theme");
        if (!QFileInfo(index).isFile()) {
            continue;
        }
        QSettings file(index, QSettings::IniFormat);
        theme.parents = file.value(QStringLiteral("Icon Theme/Inherits")).toStringList();
        for (const QString& folder : file.value(QStringLiteral("Icon Theme/Directories")).toStringList()) {
            file.beginGroup(folder);
            if (file.value(QStringLiteral("Scale"), 1).toInt() == 1) {
                theme.folders.append(
                    {folder, file.value(QStringLiteral("Size")).toInt(),
                     file.value(QStringLiteral("Type")).toString() == QLatin1String("Scalable")});
            }
            file.endGroup();
        }
        break;
    }
    return theme;
}

QString fileInTheme(const QString& icon, const QString& theme, const QStringList& baseFolders,
                    const QList<ThemeFolder>& folders) {
    const auto search = [&](const auto& wanted) -> QString {
        for (const ThemeFolder& folder : folders) {
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
            search([size](const ThemeFolder& folder) { return !folder.scalable && folder.size == size; });
        if (!path.isEmpty()) {
            return path;
        }
    }
    const QString drawn = search([](const ThemeFolder& folder) { return folder.scalable; });
    return drawn.isEmpty() ? search([](const ThemeFolder&) { return true; }) : drawn;
}

} // namespace

QString findIconFile(const QString& name, const QStringList& baseFolders, const QStringList& themes) {
    if (name.isEmpty() || name.contains(QLatin1Char('/'))) {
        return {};
    }
    QStringList waiting = themes;
    waiting.append(kLastTheme);
    QSet<QString> seen;
    while (!waiting.isEmpty()) {
        const QString theme = waiting.takeFirst();
        if (theme.isEmpty() || seen.contains(theme)) {
            continue;
        }
        seen.insert(theme);
        const Theme found = readTheme(theme, baseFolders);
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

QImage loadIcon(const QString& nameOrPath, int drawnSize) {
    const QString path = QFileInfo(nameOrPath).isAbsolute()
                             ? nameOrPath
                             : findIconFile(nameOrPath, iconFolders(), userThemes());
    // The name comes from outside: a device or a pipe could keep its reader for ever.
    if (!QFileInfo(path).isFile()) {
        return {};
    }
    QImageReader reader(path);
    if (path.endsWith(QLatin1String(".svg")) || path.endsWith(QLatin1String(".svgz"))) {
        reader.setScaledSize(reader.size().scaled(drawnSize, drawnSize, Qt::KeepAspectRatio));
    }
    return reader.read();
}
