#pragma once

#include <QByteArray>
#include <QString>

/// The store's file, where the store is one: what a write of QSettings would lose. No state; any thread.

/// Whether the text of such a file has a line that is neither blank, nor "[section]", nor "key=value", or
/// does not end where it ends, or holds anything but UTF-8 text, a name that begins with a slash, or a value
/// that must not be read (see StoredValues.h). A write drops or changes such lines, comments among them.
[[nodiscard]] bool hasForeignLines(const QByteArray& text);

/// Where keepForeignLines() puts what it keeps.
[[nodiscard]] QString foreignLinesFile(const QString& settingsFile);

/// Copies a file with foreign lines, as a whole, to foreignLinesFile(), which it replaces, and says so in the
/// log. False where that is to be done and fails. A file that is not there, or has no such line, needs
/// nothing.
[[nodiscard]] bool keepForeignLines(const QString& settingsFile);

enum class FileState {
    Readable,
    Mended,     ///< Was not readable, and is now.
    Unreadable, ///< QSettings must not read it.
};

/// To be called before QSettings reads a file that may have changed: one with values that QSettings must not
/// decode is kept as keepForeignLines() does, and replaced by one without them. Where that fails, it is left
/// as it is and told in the log. A file that is not there is readable.
[[nodiscard]] FileState makeReadable(const QString& settingsFile);

/// Keeps the file as it was, under a second name, while the store writes: on a full disk QSettings puts the
/// first part of a file in the place of the whole one and takes that for a success. Takes no room. A file
/// system without such names, and a store that is no file, go without.
class FormerFile {
public:
    explicit FormerFile(const QString& settingsFile);
    /// Gives the second name up.
    ~FormerFile();
    FormerFile(const FormerFile&) = delete;
    FormerFile& operator=(const FormerFile&) = delete;

    /// Whether what has been written is whole, if the store holds so many keys.
    [[nodiscard]] bool isReplacedWhole(qsizetype keyCount) const;
    /// Puts the file back; where there was none, none is left.
    void putBack() const;

    /// Puts back what a killed process has not: to be called before the first write.
    static void finish(const QString& settingsFile);

private:
    const QString file;
};

/// Removes a lock file of the store that a killed process has left without its id. QSettings would wait for
/// half a minute before it takes that for left behind. Call it before the first write.
void removeEmptyLock(const QString& settingsFile);
