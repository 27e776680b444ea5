#pragma once

// Finds the files of icons, after the Icon Theme Specification. Unlike Qt's icon engine, it may be used on
// any thread.

#include <QImage>
#include <QString>
#include <QStringList>

/// Loads an icon by its name in the theme, or by its path. The largest picture of up to 256 pixels is taken;
/// one without a fixed size is drawn at `drawnSize`. Null when there is none.
[[nodiscard]] QImage loadIcon(const QString& nameOrPath, int drawnSize);

/// The file of a named icon. The themes are searched in order, each with its parents: first the sizes of
/// kIconSizes, then icons without a fixed size. At last come the base folders themselves. Empty when there is
/// none.
[[nodiscard]] QString findIconFile(const QString& name, const QStringList& baseFolders,
                                   const QStringList& themes);
