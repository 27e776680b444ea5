// Fuzzes pictures of icons, with the limits that they are decoded in. The first byte tells whether this
// process decodes the others, or one of their own, as the program has it: there go all drawings, which may
// keep their reader busy for hours. It fails when a sanitizer reports, when a picture is larger than its
// limits, when it decodes to something else the second time, and when an honest picture that comes next does
// not show.

#include "platform/IconHelper.h"
#include "platform/linux/applications/IconHelper.h"
#include "platform/linux/applications/IconTheme.h"
#include "tests/fuzz/FuzzInput.h"

#include <QBuffer>
#include <QByteArray>
#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QImageReader>
#include <QString>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>

namespace {

using fuzz::require;

constexpr int kDrawnSize = 64;
constexpr int kLargestEdge = 256;
constexpr qsizetype kMostBytes = qsizetype{64} << 20;

// A folder in memory, with an honest picture in it.
class Pictures {
public:
    Pictures() {
        QImage honest(3, 2, QImage::Format_ARGB32);
        honest.fill(Qt::red);
        require(honest.save(honestPath()), "there is an honest picture");
    }
    [[nodiscard]] QString honestPath() const { return folder.filePath("honest.png"); }
    // Under a new name each time: one that a helper has not survived is never asked for again.
    QString write(const QByteArray& bytes) {
        QFile::remove(folder.filePath(QString::number(count)));
        QFile file(folder.filePath(QString::number(++count)));
        require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "a picture is written");
        return file.fileName();
    }

private:
    QTemporaryDir folder{"/dev/shm/vexo-fuzz-XXXXXX"};
    int count = 0;
};

bool isDrawing(const QByteArray& bytes) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return QImageReader::imageFormat(&buffer).startsWith("svg");
}

void decodeHere(const QByteArray& bytes) {
    const QImage picture = decodePicture(bytes, kDrawnSize);
    require(picture.sizeInBytes() <= kMostBytes, "a picture keeps its memory");
    require(picture == decodePicture(bytes, kDrawnSize), "a picture decodes twice the same");
}

void decodeInHelper(const QByteArray& bytes) {
    static Pictures pictures;
    static const std::shared_ptr<void> helper = holdIconHelper();
    const QImage picture = loadIconInHelper(pictures.write(bytes));
    require(picture.width() <= kLargestEdge && picture.height() <= kLargestEdge, "an icon keeps its size");
    const QImage honest = loadIconInHelper(pictures.honestPath());
    require(honest.size() == QSize(3, 2) && honest.pixelColor(0, 0) == Qt::red, "an honest picture shows");
}

} // namespace

// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming): the sanitizer's own name
extern "C" const char* __asan_default_options() {
    // What the distribution's libraries keep to their end would be a leak.
    return "detect_leaks=0:quarantine_size_mb=8";
}

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's own name
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    if (const std::optional<int> served = serveAsIconHelper(*argc, *argv)) {
        std::_Exit(*served);
    }
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static const QGuiApplication& application = *new QGuiApplication(*argc, *argv);
    static_cast<void>(application);
    // Each format has its own words for each kind of damage.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::Input input(bytes, size);
    const bool inHelper = input.byte() % 16 == 0;
    const QByteArray picture = QByteArray::fromStdString(input.rest());
    if (inHelper || isDrawing(picture)) {
        decodeInHelper(picture);
    } else {
        decodeHere(picture);
    }
    return 0;
}
