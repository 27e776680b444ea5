// Fuzzes the file of the settings store, damaged lines and all, and a write to it. It fails when a sanitizer
// reports, when a value that was read before the write is another one afterwards, when the program's own
// value is lost, and when lines that a write drops are not kept beside the file.

#include "app/SettingsFile.h"
#include "app/SettingsManager.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/support/qml/StoreFile.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QFile>
#include <QMetaType>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

namespace {

using fuzz::require;

const QString kOwnKey = QStringLiteral("listen");

/// A list of texts is the same as a list of values that are texts: the second is written as the first.
QVariant comparable(const QVariant& value) {
    return value.typeId() == QMetaType::QStringList ? QVariant(value.toList()) : value;
}

std::map<QString, QVariant> valuesOf(const SettingsManager& store) {
    std::map<QString, QVariant> values;
    for (const QString& key : store.getAllKeys()) {
        values[key] = comparable(store.getValue(key));
    }
    return values;
}

std::optional<QByteArray> contentOf(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? std::optional(file.readAll()) : std::nullopt;
}

bool hasRemark(const QByteArray& text) {
    return std::ranges::any_of(text.split('\n'),
                               [](const QByteArray& line) { return line.trimmed().startsWith(';'); });
}

} // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's own name
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    static const QCoreApplication& application = *new QCoreApplication(*argc, *argv);
    static_cast<void>(application);
    QCoreApplication::setApplicationName("Vexo Deck");
    registerTemporarySettings();
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    fuzz::Input input(bytes, size);
    const QString own = QString::number(input.byte());
    const QByteArray text = QByteArray::fromStdString(input.rest());
    const QString path = QSettings("Vexo Deck", "Settings").fileName();
    QFile::remove(foreignLinesFile(path));
    StoreFile().replaceFile(text);

    std::map<QString, QVariant> before;
    {
        SettingsManager store(std::chrono::milliseconds(0));
        before = valuesOf(store);
        require(before == valuesOf(store), "a store reads twice the same");
        store.setValue(kOwnKey, own);
        store.sync();
    }
    const std::optional<QByteArray> kept = contentOf(foreignLinesFile(path));
    require(kept.has_value() == hasForeignLines(text), "lines that are no settings are kept");
    require(kept || !hasRemark(text), "remarks are kept");
    require(!kept || *kept == text, "they are kept as they were");
    const std::optional<QByteArray> written = contentOf(path);
    // Each write takes one slash from the front of a key, and makes one at its end take the "=".
    const bool hasSlashes = std::ranges::any_of(before, [](const auto& setting) {
        return setting.first.startsWith("//") || setting.first.endsWith('/');
    });
    require(written && (hasSlashes || !hasForeignLines(*written)), "what is written is settings alone");

    StoreFile().restart();
    before[kOwnKey] = own;
    const std::map<QString, QVariant> after = valuesOf(SettingsManager(std::chrono::milliseconds(0)));
    require(after.at(kOwnKey) == own, "the program's own value is read back");
    // A value with bytes that are no text may change: the file that had it is kept.
    require(kept || after == before, "a write keeps the other values");
    return 0;
}
