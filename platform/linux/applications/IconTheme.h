#pragma once

// Finds the files of icons, after the Icon Theme Specification, and reads them. Unlike Qt's icon engine, it
// may be used on any thread.
//
// The files come from outside. None is opened unless it is a regular file, indexes of at most 1 MB and
// pictures of at most 8 MB are read. What a picture takes of time is its own choice, though: the program
// decodes pictures in a process that it can end, see IconHelper.h.

#include <QByteArray>
#include <QByteArrayView>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

/// A folder of a theme.
struct IconThemeFolder {
    QString name; ///< relative to the theme
    int size = 0; ///< edge length of its icons in pixels
    int scale = 1;
    bool scalable = false; ///< its icons have no fixed size
};

/// What is used of an index of a theme.
struct IconThemeIndex {
    QList<IconThemeFolder> folders; ///< in order, those of scale 1
    QStringList parents;            ///< themes to be searched next
};

/// Parses the index of a theme. Any text has one, be it empty.
[[nodiscard]] IconThemeIndex parseIconTheme(QByteArrayView text);

/// Whether a text is the name of an icon and nothing else: up to 128 letters, digits, ".", "_", "+", "@" and
/// "-", with a letter or digit first.
[[nodiscard]] bool isIconName(const QString& text);

/// The file of a named icon. The themes are searched in order, each with its parents: first the sizes of
/// kIconSizes, then icons without a fixed size. At last come the base folders themselves. Empty when there is
/// none.
[[nodiscard]] QString findIconFile(const QString& name, const QStringList& baseFolders,
                                   const QStringList& themes);

/// Loads an icon by its name in the theme, or by its path. The largest picture of up to 256 pixels is taken;
/// one without a fixed size is drawn at `drawnSize`. Null when there is none.
[[nodiscard]] QImage loadIcon(const QString& nameOrPath, int drawnSize);

/// Decodes a picture of any format that Qt reads, as loadIcon() does; null for none, and for one that takes
/// more than 64 MB.
[[nodiscard]] QImage decodePicture(const QByteArray& bytes, int drawnSize);
