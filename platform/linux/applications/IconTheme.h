#pragma once

// Finds the files of icons, after the Icon Theme Specification. Usable on any thread, which Qt's own icon
// engine is not.

#include <QImage>
#include <QString>
#include <QStringList>

/// The picture of an icon by its name in the theme or its path, as large as there is one of up to 256 pixels,
/// or drawn at `drawnSize` where it has no fixed size; null when there is none.
[[nodiscard]] QImage loadIcon(const QString& nameOrPath, int drawnSize);

/// The file of a named icon: in the themes by order, each with its parents, in the sizes of kIconSizes and
/// then without a fixed size; at last beside the themes. Empty when there is none.
[[nodiscard]] QString findIconFile(const QString& name, const QStringList& baseFolders,
                                   const QStringList& themes);
