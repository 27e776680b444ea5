#pragma once

// Desktop entries: the installed programs of a Linux desktop, after the Desktop Entry Specification 1.5.

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// What is used of one ".desktop" file.
struct DesktopEntry {
    QString path;      ///< of the file
    QString name;      ///< in the user's language: one line without direction marks, cut at 200 characters
    QString icon;      ///< a name in the icon theme, or an absolute path; may be empty
    QString program;   ///< what Exec starts, as it stands there
    bool shown = true; ///< offered to the user here
    QString exec;      ///< the whole line
    QString folder;    ///< in which it runs; may be empty
    bool inTerminal = false;
    bool startable = true; ///< no link or folder, and not marked as deleted (Hidden)
};

/// Parses one entry. `languages` are the user's, best first, as "zh_CN" or "zh"; `desktops` are the names of
/// the running desktop. Only an application with a name is shown.
[[nodiscard]] DesktopEntry parseDesktopEntry(const QByteArray& text, const QStringList& languages,
                                             const QStringList& desktops);

/// The text of the entry at this path; nothing unless it is a regular file of at most 1 MB. Any thread.
[[nodiscard]] std::optional<QByteArray> desktopEntryText(const QString& path);

/// The words that start the entry's program, without a file for it to open: the line Exec with its field
/// codes filled in. Empty where there is no such line.
[[nodiscard]] QStringList commandOf(const DesktopEntry& entry);

/// The program of an Exec line: its first word, unquoted; the one behind "env" and its assignments.
[[nodiscard]] QString programOfExec(const QString& exec);

/// All entries of the user and the system, in the order of the folders, without those that an earlier folder
/// hides. Reads the files at each call. Any thread.
[[nodiscard]] QList<DesktopEntry> readDesktopEntries();

/// The entry of this path, or else the one that starts this executable, by its path or by its file name; null
/// when there is none.
[[nodiscard]] const DesktopEntry* entryOfExecutable(const QList<DesktopEntry>& entries, const QString& path);
