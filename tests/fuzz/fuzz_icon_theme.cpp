// Fuzzes the indexes of icon themes. It fails when a sanitizer reports, when a folder leads out of its theme,
// when a folder or parent is made up, and when a text reads as another index the second time.

#include "platform/linux/applications/IconTheme.h"
#include "tests/fuzz/FuzzInput.h"

#include <QByteArrayView>
#include <QDir>
#include <QString>

#include <algorithm>
#include <cstdint>

namespace {

using fuzz::require;

bool isSame(const IconThemeFolder& first, const IconThemeFolder& second) {
    return first.name == second.name && first.size == second.size && first.scale == second.scale &&
           first.scalable == second.scalable;
}

void readName(const QString& text) {
    if (isIconName(text)) {
        require(!text.isEmpty() && text.size() <= 128, "a name keeps its length");
        require(!text.contains('/') && !text.startsWith('.'), "a name is no path");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    const QByteArrayView text(bytes, static_cast<qsizetype>(size));
    const IconThemeIndex index = parseIconTheme(text);
    qsizetype letters = 0;
    for (const IconThemeFolder& folder : index.folders) {
        require(folder.scale == 1, "folders of scale 1 are used");
        const QString path = QDir::cleanPath("/themes/mine/" + folder.name);
        require(path == "/themes/mine" || path.startsWith("/themes/mine/"), "a folder is one of its theme");
        letters += folder.name.size() + 1;
    }
    require(letters <= text.size() + 1, "no folder is made up");
    require(index.parents.size() <= text.size(), "no parent is made up");
    const IconThemeIndex again = parseIconTheme(text);
    require(again.parents == index.parents && std::ranges::equal(again.folders, index.folders, isSame),
            "an index reads twice the same");
    readName(QString::fromUtf8(text.first(std::min<qsizetype>(text.size(), 200))));
    return 0;
}
