// Fuzzes the look-up of an icon by its name among themes on the disk whose indexes the input writes: three
// themes and, in the first line, the name. It fails when a sanitizer reports, when what is found does not lie
// in the folder of themes or has another name, and when the same look-up finds something else.

#include "platform/linux/applications/IconTheme.h"
#include "tests/fuzz/FuzzInput.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTemporaryDir>

#include <array>
#include <cstdint>
#include <string>

namespace {

using fuzz::Input;
using fuzz::require;

constexpr std::array<const char*, 3> kThemes{"mine", "parent", "hicolor"};

void write(const QString& path, const std::string& text) {
    QFile file(path);
    require(file.open(QIODevice::WriteOnly), "a file is written");
    file.write(text.data(), static_cast<qint64>(text.size()));
}

// Has pictures in some folders, and beside the themes one that nobody may find.
class Themes {
public:
    Themes() {
        require(folder.isValid(), "there is a folder");
        for (const char* const theme : kThemes) {
            for (const char* const name : {"s48", "s256/apps", "draw"}) {
                QDir().mkpath(path(QString(theme) + '/' + name));
                write(path(QString(theme) + '/' + name + "/a.png"), {});
                write(path(QString(theme) + '/' + name + "/b.svg"), {});
            }
        }
        write(path("loose.xpm"), {});
        write(folder.filePath("a.png"), {});
    }
    [[nodiscard]] QString base() const { return folder.filePath("icons"); }
    [[nodiscard]] QString path(const QString& name) const { return base() + '/' + name; }

private:
    QTemporaryDir folder{"/dev/shm/vexo-fuzz-XXXXXX"};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const Themes themes;
    Input input(bytes, size);
    const QString name = QString::fromStdString(input.line());
    for (const char* const theme : kThemes) {
        // Parts of an index end with a line of one dot.
        std::string text;
        for (std::string line = input.line(); line != "." && (!line.empty() || !input.isOver());
             line = input.line()) {
            text += line + '\n';
        }
        write(themes.path(QString(theme) + "/index.theme"), text);
    }
    const QString found = findIconFile(name, {themes.base()}, {"mine"});
    require(found == findIconFile(name, {themes.base()}, {"mine"}), "a look-up finds twice the same");
    if (!found.isEmpty()) {
        const QFileInfo file(found);
        require(file.isFile() && file.completeBaseName() == name, "what is found has the name");
        require(file.canonicalFilePath().startsWith(QFileInfo(themes.base()).canonicalFilePath() + '/'),
                "what is found is an icon");
    }
    return 0;
}
