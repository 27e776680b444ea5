#include "platform/linux/applications/DesktopEntries.h"

#include "inventory/ProgramFiles.h"
#include "platform/linux/applications/KeyFile.h"
#include "platform/linux/system/ForeignFile.h"

#include <QFile>
#include <QFileInfo>
#include <QLocale>
#include <QStandardPaths>

#include <algorithm>
#include <array>
#include <string>

namespace {

// The keys that the program uses. An entry has many other lines, and all entries are read every ten seconds.
constexpr std::array<QByteArrayView, 11> kUsedKeys = {"Type",      "Name",   "Icon",       "Exec",
                                                      "NoDisplay", "Hidden", "OnlyShowIn", "NotShowIn",
                                                      "TryExec",   "Path",   "Terminal"};

// Levels of folders that are searched: the root and those below it.
constexpr int kScanDepth = 3;
constexpr std::size_t kLargestEntryBytes = 1 << 20;
constexpr qsizetype kLongestShownName = 200; // UTF-16 units

QString unescaped(const QByteArray& value) {
    QByteArray text;
    for (qsizetype at = 0; at < value.size(); ++at) {
        if (value[at] != '\\' || at + 1 == value.size()) {
            text += value[at];
            continue;
        }
        switch (value[++at]) {
        case 's':
            text += ' ';
            break;
        case 'n':
            text += '\n';
            break;
        case 't':
            text += '\t';
            break;
        case 'r':
            text += '\r';
            break;
        default:
            text += value[at];
            break;
        }
    }
    return QString::fromUtf8(text);
}

// Marks that turn the direction of text, also of the text behind the name.
bool isDirectionMark(QChar letter) {
    const char16_t code = letter.unicode();
    return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

// A name in one line.
QString cleanName(QString name) {
    name.removeIf([](QChar letter) {
        return !letter.isSpace() && (letter.category() == QChar::Other_Control || isDirectionMark(letter));
    });
    name = name.simplified();
    name.truncate(kLongestShownName);
    if (!name.isEmpty() && name.back().isHighSurrogate()) {
        name.chop(1);
    }
    return name;
}

// The raw values of the used keys. A translated key has its language in brackets behind its name.
QHash<QByteArray, QByteArray> usedValues(QByteArrayView text) {
    QHash<QByteArray, QByteArray> values;
    readKeyFile(text, [&values](QByteArrayView group, QByteArrayView key, QByteArrayView value) {
        const qsizetype bracket = key.indexOf('[');
        if (group == "Desktop Entry" &&
            std::ranges::find(kUsedKeys, bracket < 0 ? key : key.first(bracket)) != kUsedKeys.end()) {
            values.insert(key.toByteArray(), value.toByteArray());
        }
    });
    return values;
}

bool namesOneOf(const QString& list, const QStringList& desktops) {
    const QStringList parts = list.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    return std::ranges::any_of(parts, [&desktops](const QString& part) { return desktops.contains(part); });
}

QStringList userLanguages() {
    QStringList languages;
    for (QString language : QLocale().uiLanguages()) {
        languages.append(language.replace(QLatin1Char('-'), QLatin1Char('_')));
    }
    return languages;
}

QStringList runningDesktops() {
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts);
}

bool canBeFound(const QString& program) {
    return QFileInfo(program).isAbsolute() ? QFileInfo(program).isExecutable()
                                           : !QStandardPaths::findExecutable(program).isEmpty();
}

QStringList wordsOfExec(const QString& exec) {
    QStringList words;
    QString word;
    bool quoted = false;
    bool open = false;
    for (qsizetype at = 0; at < exec.size(); ++at) {
        const QChar letter = exec[at];
        if (quoted && letter == QLatin1Char('\\') && at + 1 < exec.size()) {
            word += exec[++at];
        } else if (letter == QLatin1Char('"')) {
            quoted = !quoted;
            open = true;
        } else if (letter.isSpace() && !quoted) {
            if (open) {
                words.append(word);
            }
            word.clear();
            open = false;
        } else {
            word += letter;
            open = true;
        }
    }
    if (open) {
        words.append(word);
    }
    return words;
}

// A word of an Exec line without its field codes. Codes of files and those of old are left out.
QString filledIn(const QString& word, const DesktopEntry& entry) {
    QString filled;
    for (qsizetype at = 0; at < word.size(); ++at) {
        if (word[at] != QLatin1Char('%') || at + 1 == word.size()) {
            filled += word[at];
            continue;
        }
        switch (word[++at].unicode()) {
        case '%':
            filled += QLatin1Char('%');
            break;
        case 'c':
            filled += entry.name;
            break;
        case 'k':
            filled += entry.path;
            break;
        default:
            break;
        }
    }
    return filled;
}

} // namespace

DesktopEntry parseDesktopEntry(const QByteArray& text, const QStringList& languages,
                               const QStringList& desktops) {
    const QHash<QByteArray, QByteArray> values = usedValues(text);
    const auto value = [&](const char* key) {
        return unescaped(values.value(key));
    };
    const auto localized = [&](const char* key) {
        for (const QString& language : languages) {
            const auto found = values.constFind(key + ('[' + language.toUtf8() + ']'));
            if (found != values.constEnd()) {
                return unescaped(*found);
            }
        }
        return value(key);
    };
    const auto isTrue = [&](const char* key) {
        return values.value(key) == "true";
    };

    DesktopEntry entry;
    entry.name = cleanName(localized("Name"));
    entry.icon = localized("Icon");
    entry.exec = value("Exec");
    entry.program = programOfExec(entry.exec);
    entry.folder = value("Path");
    entry.inTerminal = isTrue("Terminal");
    const QString type = value("Type");
    const bool isApplication = type == QLatin1String("Application");
    entry.startable = (isApplication || type.isEmpty()) && !isTrue("Hidden");
    const QString onlyIn = value("OnlyShowIn");
    const QString tryExec = value("TryExec");
    entry.shown = isApplication && entry.startable && !entry.name.isEmpty() && !isTrue("NoDisplay") &&
                  (onlyIn.isEmpty() || namesOneOf(onlyIn, desktops)) &&
                  !namesOneOf(value("NotShowIn"), desktops) && (tryExec.isEmpty() || canBeFound(tryExec));
    return entry;
}

QStringList commandOf(const DesktopEntry& entry) {
    QStringList command;
    for (const QString& word : wordsOfExec(entry.exec)) {
        if (word == QLatin1String("%i")) {
            if (!entry.icon.isEmpty()) {
                command << QStringLiteral("--icon") << entry.icon;
            }
            continue;
        }
        const QString filled = filledIn(word, entry);
        if (!filled.isEmpty() || !word.startsWith(QLatin1Char('%'))) {
            command.append(filled);
        }
    }
    return command;
}

QString programOfExec(const QString& exec) {
    const QStringList words = wordsOfExec(exec);
    const bool behindEnv = !words.isEmpty() && QFileInfo(words.first()).fileName() == QLatin1String("env");
    for (qsizetype at = behindEnv ? 1 : 0; at < words.size(); ++at) {
        if (!behindEnv ||
            (!words[at].contains(QLatin1Char('=')) && !words[at].startsWith(QLatin1Char('-')))) {
            return words[at];
        }
    }
    return {};
}

std::optional<QByteArray> desktopEntryText(const QString& path) {
    const std::optional<std::string> text =
        readForeignFile(QFile::encodeName(path).toStdString(), kLargestEntryBytes);
    return text ? std::optional(QByteArray::fromStdString(*text)) : std::nullopt;
}

QList<DesktopEntry> readDesktopEntries() {
    const QStringList languages = userLanguages();
    const QStringList desktops = runningDesktops();
    QList<DesktopEntry> entries;
    const QStringList roots = QStandardPaths::standardLocations(QStandardPaths::ApplicationsLocation);
    for (const QString& path : programFiles(roots, QStringLiteral("desktop"), kScanDepth)) {
        const std::optional<QByteArray> text = desktopEntryText(path);
        if (!text) {
            continue;
        }
        DesktopEntry entry = parseDesktopEntry(*text, languages, desktops);
        entry.path = path;
        entries.append(entry);
    }
    return entries;
}

const DesktopEntry* entryOfExecutable(const QList<DesktopEntry>& entries, const QString& path) {
    if (path.isEmpty()) {
        return nullptr;
    }
    const QString fileName = QFileInfo(path).fileName();
    const DesktopEntry* byName = nullptr;
    for (const DesktopEntry& entry : entries) {
        if (entry.program.isEmpty() || entry.name.isEmpty()) {
            continue;
        }
        if (entry.program == path || entry.path == path) {
            return &entry;
        }
        // An entry that is shown comes before one that is not.
        if (QFileInfo(entry.program).fileName() == fileName &&
            (byName == nullptr || (entry.shown && !byName->shown))) {
            byName = &entry;
        }
    }
    return byName;
}
