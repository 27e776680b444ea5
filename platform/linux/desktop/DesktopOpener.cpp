#include "platform/DesktopOpener.h"

#include "platform/linux/applications/DesktopEntries.h"
#include "platform/linux/desktop/Launch.h"
#include "platform/linux/system/ForeignFile.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kElf = "\x7F"
                                  "ELF";

OpenResult openByUsersProgram(const QUrl& address) {
    QStringList command =
        installedOf({{QStringLiteral("xdg-open")}, {QStringLiteral("gio"), QStringLiteral("open")}});
    if (command.isEmpty()) {
        qWarning() << "Addresses and files cannot be opened: neither xdg-open nor gio is installed";
        return {OpenResult::kNoProgramForIt, ENOENT};
    }
    // Encoded, an address has no blank, and begins with its scheme, so that it is no option of a command.
    command.append(QString::fromLatin1(address.toEncoded()));
    return launchDetached(command, QDir::homePath(), LaunchWatch::Failure);
}

OpenResult openEntry(const QString& path, const QByteArray& text) {
    DesktopEntry entry = parseDesktopEntry(text, {}, {});
    entry.path = path;
    QStringList command = commandOf(entry);
    if (!entry.startable || command.isEmpty()) {
        qWarning() << "The desktop entry starts nothing:" << path;
        return {OpenResult::kNoProgramForIt, ENOEXEC};
    }
    if (entry.inTerminal) {
        const QStringList terminal =
            installedOf({{QStringLiteral("xdg-terminal-exec")},
                         {QStringLiteral("x-terminal-emulator"), QStringLiteral("-e")},
                         {QStringLiteral("xterm"), QStringLiteral("-e")}});
        if (terminal.isEmpty()) {
            qWarning() << "The program needs a terminal, and none is installed:" << path;
            return {OpenResult::kNoProgramForIt, ENOENT};
        }
        command = terminal + command;
    }
    const bool hasFolder = QFileInfo(entry.folder).isDir();
    return launchDetached(command, hasFolder ? entry.folder : QDir::homePath());
}

// Whether it is a program by its first bytes, be it one that may not be executed.
bool looksLikeProgram(const QString& path) {
    const std::string begin =
        readForeignFileStart(QFile::encodeName(path).toStdString(), kElf.size()).value_or("");
    return begin.starts_with("#!") || begin == kElf;
}

} // namespace

OpenResult openUrlByDesktop(const QString& url) {
    const QUrl address = QUrl::fromUserInput(url);
    if (!address.isValid() || address.scheme().isEmpty()) {
        qWarning() << "This is no address:" << url;
        return {OpenResult::kFileNotFound, EINVAL};
    }
    return openByUsersProgram(address);
}

OpenResult openFileByDesktop(const QString& path, const QString& folder) {
    const QFileInfo file(path);
    const QString absolutePath = file.absoluteFilePath();
    if (file.isDir()) {
        return openByUsersProgram(QUrl::fromLocalFile(absolutePath));
    }
    if (!file.isFile()) {
        qWarning() << "This is neither a file nor a folder:" << path;
        return {OpenResult::kFileNotFound, EINVAL};
    }
    if (file.suffix() == QLatin1String("desktop")) {
        if (const std::optional<QByteArray> text = desktopEntryText(absolutePath)) {
            return openEntry(absolutePath, *text);
        }
    }
    if (file.isExecutable()) {
        const OpenResult result = launchDetached({absolutePath}, folder);
        // On some disks every file may be executed.
        if (result.systemError != ENOEXEC) {
            return result;
        }
    } else if (looksLikeProgram(absolutePath)) {
        qWarning() << "This program may not be executed:" << path;
        return {OpenResult::kAccessDenied, EACCES};
    }
    return openByUsersProgram(QUrl::fromLocalFile(absolutePath));
}
