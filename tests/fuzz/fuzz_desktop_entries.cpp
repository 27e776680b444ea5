// Fuzzes desktop entries: their text, and the line that starts the program. It fails when a sanitizer
// reports, when an entry is shown that may not be, when a text reads as another entry the second time or
// behind comments, and when a program that is quoted after the rules is not found again.

#include "platform/linux/applications/DesktopEntries.h"
#include "tests/fuzz/FuzzInput.h"

#include <QByteArray>
#include <QFileInfo>
#include <QList>
#include <QString>

#include <cstdint>

namespace {

using fuzz::require;

bool isSame(const DesktopEntry& first, const DesktopEntry& second) {
    return first.name == second.name && first.icon == second.icon && first.program == second.program &&
           first.shown == second.shown;
}

void readEntry(const QByteArray& text) {
    const DesktopEntry entry = parseDesktopEntry(text, {"zh_CN", "zh", "de"}, {"GNOME", "KDE"});
    require(isSame(entry, parseDesktopEntry(text, {"zh_CN", "zh", "de"}, {"GNOME", "KDE"})),
            "an entry reads twice the same");
    require(
        isSame(entry, parseDesktopEntry("# a remark\n\n" + text, {"zh_CN", "zh", "de"}, {"GNOME", "KDE"})),
        "a remark changes nothing");
    require(!entry.shown || !entry.name.isEmpty(), "what is shown has a name");
    // A byte that is no text becomes one character.
    require(entry.name.size() <= text.size() && entry.icon.size() <= text.size() &&
                entry.program.size() <= text.size(),
            "nothing is made up");
    const QList<DesktopEntry> entries{entry, entry};
    const DesktopEntry* const found = entryOfExecutable(entries, entry.program);
    require(entry.program.isEmpty() || entry.name.isEmpty() || found == &entries.front(),
            "an entry is found by its program");
}

void readExec(const QString& program) {
    QString quoted = "\"";
    for (const QChar letter : program) {
        if (letter == '"' || letter == '\\' || letter == '$' || letter == '`') {
            quoted += '\\';
        }
        quoted += letter;
    }
    quoted += '"';
    if (QFileInfo(program).fileName() != "env") {
        require(programOfExec(quoted + " %U --word") == program, "a quoted program is found");
    }
    if (!program.contains('=') && !program.startsWith('-')) {
        require(programOfExec("env A=b -i " + quoted) == program, "so is one behind env");
    }
    (void)programOfExec(program);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::Input input(bytes, size);
    const std::uint8_t kind = input.byte();
    const QByteArray text = QByteArray::fromStdString(input.rest());
    if (kind % 4 == 0) {
        readExec(QString::fromUtf8(text));
    } else {
        readEntry(text);
    }
    return 0;
}
