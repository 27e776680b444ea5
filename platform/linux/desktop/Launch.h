#pragma once

// Starts programs that live on their own.

#include "platform/DesktopOpener.h"

#include <QString>
#include <QStringList>

#include <initializer_list>

/// The first of these commands whose program is installed; empty where none is.
[[nodiscard]] QStringList installedOf(std::initializer_list<QStringList> commands);

/// How much of a started program's end is told in the log.
enum class LaunchWatch {
    None,
    Failure ///< an exit code other than 0, or a signal: of helpers that report so what they could not do
};

/// Starts a program by its path or name, with its arguments, in a folder (empty: that of this process). It is
/// a session of its own, reads and writes nothing of ours, has no open file of ours, and lives on when this
/// program ends. The result is that of the start alone. The main thread.
[[nodiscard]] OpenResult launchDetached(const QStringList& command, const QString& folder,
                                        LaunchWatch watch = LaunchWatch::None);
