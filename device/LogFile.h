#pragma once

#include <QByteArray>
#include <QString>
#include <QtTypes>

/// A log in the form of whole lines that never takes more than twice `kLogLimitBytes` of the disk: the file
/// itself and one old file beside it, named as the log with ".1" behind it. Any thread, and any number of
/// programs at once.

inline constexpr qint64 kLogLimitBytes = 10'000'000;
/// A log that would grow past this length begins anew. The rest is for the lines that others write into it in
/// the moment of the change.
inline constexpr qint64 kLogFullBytes = kLogLimitBytes - 65'536;

/// What came of an append; `error` is the system's text, empty for `Done`.
struct LogAppend {
    enum class Result { Done, OpenFailed, WriteFailed } result = Result::Done;
    QString error;
};

/// Opens the file at `path`, which is created if it is missing, appends one line, and closes it. A line that
/// does not fit on the disk as a whole is left out. Where the line would fill the log, the log first
/// becomes the old file, in the place of the one before, or what stands there under its name; of a log
/// that is longer than the limit the old file gets the last lines. Where that cannot be, because of a folder
/// of that name or a folder that takes no files, the log is emptied instead, with a warning. Programs settle
/// it by a lock file; one that is never let go, or a folder of its name, is waited for up to the limit only.
[[nodiscard]] LogAppend appendToLog(const QString& path, const QByteArray& line);
