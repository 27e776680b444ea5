#pragma once

// The files in which the program keeps the icons of other programs: below the folder for files that can be
// made again, and below that of the program's data. Any thread.
//
// On Linux both are the user's own, and what lies between them and a file must belong to the user, too, and
// be no link: nobody else can have a file written or read elsewhere. The folders are made for the user alone.
// On Windows the system sees to that.

#include <QByteArray>
#include <QString>

/// The user's folder for files that can be made again, without a separator at its end; empty when there is
/// none. On Windows it is the temporary folder.
[[nodiscard]] QString temporaryFolder();

/// Makes the folder and those above it where they are missing; false when it cannot be used.
[[nodiscard]] bool prepareIconFolder(const QString& folder);

/// Whether there is a file at this path.
[[nodiscard]] bool isIconFile(const QString& path);

/// Writes a file: whole or not at all. Makes its folder where that is missing.
[[nodiscard]] bool writeIconFile(const QString& path, const QByteArray& content);
