#include "app/SettingsFile.h"

#include "app/StoredValues.h"

#include <QByteArrayView>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace {

/// An open quotation mark, or a backslash at the end, makes the next line a part of this one.
bool endsByItself(QByteArrayView line) {
    bool quoted = false;
    for (qsizetype at = 0; at < line.size(); ++at) {
        if (line[at] == '"') {
            quoted = !quoted;
        } else if (line[at] == '\\') {
            ++at;
            if (at == line.size()) {
                return false;
            }
        }
    }
    return !quoted;
}

/// In any of the forms that a file may have it in. QSettings writes such a name without it.
bool beginsWithSlash(QByteArrayView name) {
    const QByteArray start = name.first(std::min(name.size(), qsizetype{6})).toByteArray().toLower();
    return start.startsWith('/') || start.startsWith('\\') || start.startsWith("%2f") || start == "%u002f";
}

/// The name before the "=", in any of the forms of a slash that QSettings reads. It writes such a name with a
/// backslash before the "=", and then reads no "=" there.
bool endsWithSlash(QByteArrayView name) {
    const QByteArray end = name.last(std::min(name.size(), qsizetype{6})).toByteArray().toLower();
    return end.endsWith('/') || end.endsWith("%2f") || end == "%u002f";
}

/// Of a line that begins with "[".
QByteArrayView sectionName(QByteArrayView text) {
    return text.sliced(1, std::max(text.indexOf(']'), qsizetype{1}) - 1).trimmed();
}

bool isSettingsLine(QByteArrayView line) {
    const QByteArrayView text = line.trimmed();
    if (text.isEmpty()) {
        return true;
    }
    // A backslash before a blank takes the blank alone.
    if (!endsByItself(line)) {
        return false;
    }
    if (text.front() == '[') {
        return text.back() == ']' && !sectionName(text).isEmpty() && !beginsWithSlash(sectionName(text));
    }
    const qsizetype equals = text.indexOf('=');
    return text.front() != ';' && equals >= 0 && !endsWithSlash(text.first(equals).trimmed());
}

bool isTextByte(char byte) {
    const auto code = static_cast<unsigned char>(byte);
    return code >= 0x20 || byte == '\t' || byte == '\r' || byte == '\n';
}

/// What QSettings writes ends with a line's end.
bool endsWhole(const QByteArray& text) {
    return text.endsWith('\n');
}

bool isKeyLine(QByteArrayView line) {
    return !line.trimmed().isEmpty() && line.front() != '[';
}

std::filesystem::path pathOf(const QString& file) {
    return QFileInfo(file).filesystemFilePath();
}

std::filesystem::path formerPath(const QString& file) {
    return pathOf(file + QStringLiteral(".former"));
}

} // namespace

bool hasForeignLines(const QByteArray& text) {
    if (!QByteArrayView(text).isValidUtf8() || !std::ranges::all_of(text, isTextByte)) {
        return true;
    }
    if (withoutUnreadableValues(text) != text) {
        return true;
    }
    // A key has its section's name and a slash in front, but for those of the general one.
    bool isGeneral = true;
    return !std::ranges::all_of(
        QByteArray(text).replace('\r', '\n').split('\n'), [&isGeneral](QByteArrayView line) {
            const QByteArrayView trimmed = line.trimmed();
            if (trimmed.startsWith('[')) {
                isGeneral = sectionName(trimmed).compare("general", Qt::CaseInsensitive) == 0;
            }
            return isSettingsLine(line) && !(isGeneral && beginsWithSlash(trimmed));
        });
}

QString foreignLinesFile(const QString& settingsFile) {
    return settingsFile + QStringLiteral(".damaged");
}

bool keepForeignLines(const QString& settingsFile) {
    QFile file(settingsFile);
    if (!file.open(QIODevice::ReadOnly)) {
        return true;
    }
    const QByteArray text = file.readAll();
    if (!hasForeignLines(text)) {
        return true;
    }
    const QString copyName = foreignLinesFile(settingsFile);
    if (QFileInfo(copyName).isDir()) {
        qWarning() << "SettingsFile: lines that are no settings are lost, since this is a folder:"
                   << copyName;
        return true;
    }
    QSaveFile copy(copyName);
    if (!copy.open(QIODevice::WriteOnly) || !copy.setPermissions(file.permissions()) ||
        copy.write(text) != text.size() || !copy.flush() || !copy.commit()) {
        return false;
    }
    qWarning() << "SettingsFile: lines that are no settings are kept in" << copyName;
    return true;
}

FileState makeReadable(const QString& settingsFile) {
    QFile file(settingsFile);
    if (!file.open(QIODevice::ReadOnly)) {
        return FileState::Readable;
    }
    const QByteArray text = file.readAll();
    const QByteArray readable = withoutUnreadableValues(text);
    if (readable == text) {
        return FileState::Readable;
    }
    QSaveFile mended(settingsFile);
    if (!mended.open(QIODevice::WriteOnly) || !mended.setPermissions(file.permissions()) ||
        mended.write(readable) != readable.size() || !mended.flush() || !keepForeignLines(settingsFile) ||
        !mended.commit()) {
        qWarning() << "SettingsFile: values that cannot be read stand in the settings, and cannot be removed:"
                   << settingsFile;
        return FileState::Unreadable;
    }
    return FileState::Mended;
}

FormerFile::FormerFile(const QString& settingsFile) : file(settingsFile) {
    std::error_code failure;
    std::filesystem::remove(formerPath(file), failure);
    std::filesystem::create_hard_link(pathOf(file), formerPath(file), failure);
}

FormerFile::~FormerFile() {
    std::error_code failure;
    std::filesystem::remove(formerPath(file), failure);
}

bool FormerFile::isReplacedWhole(qsizetype keyCount) const {
    QFile written(file);
    if (keyCount == 0 || !written.open(QIODevice::ReadOnly)) {
        return true;
    }
    const QByteArray text = written.readAll();
    return endsWhole(text) && std::ranges::count_if(text.split('\n'), isKeyLine) >= keyCount;
}

// Neither step takes room.
void FormerFile::putBack() const {
    std::error_code failure;
    if (std::filesystem::exists(formerPath(file), failure)) {
        std::filesystem::rename(formerPath(file), pathOf(file), failure);
    } else {
        std::filesystem::remove(pathOf(file), failure);
    }
}

void FormerFile::finish(const QString& settingsFile) {
    std::error_code failure;
    if (!std::filesystem::exists(formerPath(settingsFile), failure)) {
        return;
    }
    QFile written(settingsFile);
    if (!written.open(QIODevice::ReadOnly) || !endsWhole(written.readAll())) {
        std::filesystem::rename(formerPath(settingsFile), pathOf(settingsFile), failure);
    }
    std::filesystem::remove(formerPath(settingsFile), failure);
}

void removeEmptyLock(const QString& settingsFile) {
    const QFileInfo lock(settingsFile + QStringLiteral(".lock"));
    if (lock.isFile() && lock.size() == 0) {
        QFile::remove(lock.filePath());
    }
}
