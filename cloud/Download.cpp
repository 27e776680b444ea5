#include "cloud/Download.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QMetaObject>
#include <QNetworkReply>
#include <QPointer>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QThreadPool>

#include <filesystem>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

namespace {

constexpr qint64 kChunkBytes = 1024LL * 1024;
constexpr qint64 kReadBufferBytes = 4 * kChunkBytes;

/// One thread, so that the parts of a file are written in their order. It is never destroyed: the end of the
/// program does not wait for the disk.
QThreadPool& diskThread() {
    static auto* const pool = [] {
        auto* const made = new QThreadPool;
        made->setMaxThreadCount(1);
        made->setObjectName(QStringLiteral("Downloads"));
        return made;
    }();
    return *pool;
}

/// Calls `function` with the object on the main thread, unless it is gone by then.
template <typename Object, typename Function>
void onMainThread(const QPointer<Object>& object, Function function) {
    if (QCoreApplication* const application = QCoreApplication::instance()) {
        QMetaObject::invokeMethod(
            application,
            [object, function = std::move(function)] {
                if (object) {
                    function(object.get());
                }
            },
            Qt::QueuedConnection);
    }
}

} // namespace

/// The file beside the target. Thread of the disk only.
struct Download::File {
    explicit File(QString path) : target(std::move(path)) {}

    /// Makes the folder and the file, at the first call.
    bool open() {
        if (!temporary && outcome == Outcome::Written) {
            const QFileInfo info(target);
            if (target.contains(QChar('\0')) || !QDir().mkpath(info.absolutePath()) ||
                (info.isDir() && !info.isSymLink())) {
                outcome = Outcome::NotOpened;
                return false;
            }
            temporary = std::make_unique<QTemporaryFile>(info.absoluteDir().filePath("download_XXXXXX.part"));
            if (!temporary->open()) {
                temporary.reset();
                outcome = Outcome::NotOpened;
            }
        }
        return temporary != nullptr;
    }

    /// Before the first byte.
    void expect(const QByteArray& expected) {
        expectedDigest = expected;
        if (expected.size() == QCryptographicHash::hashLength(QCryptographicHash::Md5)) {
            digest = std::make_unique<QCryptographicHash>(QCryptographicHash::Md5);
        }
    }

    void write(const QByteArray& bytes) {
        if (!open()) {
            return;
        }
        if (expectedDigest) {
            digest->addData(bytes);
        }
        if (temporary->write(bytes) != bytes.size()) {
            give(Outcome::NotWritten);
        }
    }

    void commit() {
        if (!open()) {
            return;
        }
        if (expectedDigest && digest->result() != *expectedDigest) {
            give(Outcome::WrongDigest);
            return;
        }
        const bool isWhole = temporary->flush();
        const QString name = temporary->fileName();
        temporary->close();
        std::error_code problem;
        if (isWhole) {
            std::filesystem::rename(name.toStdU16String(), target.toStdU16String(), problem);
        }
        if (!isWhole || problem) {
            give(Outcome::NotWritten);
            return;
        }
        temporary->setAutoRemove(false);
        temporary.reset();
    }

    /// Ends the writing; the file goes.
    void give(Outcome reason) {
        outcome = reason;
        temporary.reset();
    }

    const QString target;
    std::unique_ptr<QTemporaryFile> temporary;
    Outcome outcome = Outcome::Written;
    std::optional<QByteArray> expectedDigest;
    std::unique_ptr<QCryptographicHash> digest =
        std::make_unique<QCryptographicHash>(QCryptographicHash::Sha256);
};

Download::Download(QNetworkReply* source, const QString& target)
    : QObject(source), reply(source), file(std::make_shared<File>(target)) {
    reply->setReadBufferSize(kReadBufferBytes);
    connect(reply, &QNetworkReply::readyRead, this, [this] { take(false); });
}

Download::~Download() {
    diskThread().start([last = std::move(file)]() mutable { last.reset(); });
}

void Download::expectDigest(const QString& hex) {
    static const QRegularExpression digits("\\A(?:[0-9A-Fa-f]{64}|[0-9A-Fa-f]{32})\\z");
    const QByteArray expected =
        digits.match(hex).hasMatch() ? QByteArray::fromHex(hex.toLatin1()) : QByteArray();
    diskThread().start([shared = file, expected] { shared->expect(expected); });
}

void Download::take(bool isLast) {
    while ((isLast || unwritten < kUnwrittenLimit) && reply->bytesAvailable() > 0) {
        const QByteArray bytes = reply->read(kChunkBytes);
        if (bytes.isEmpty()) {
            return;
        }
        taken += bytes.size();
        if (taken <= kKeptBodyBytes) {
            keptBody += bytes;
        } else {
            keptBody.clear();
        }
        write(bytes);
    }
}

void Download::write(const QByteArray& bytes) {
    unwritten += bytes.size();
    diskThread().start([shared = file, bytes, self = QPointer(this)] {
        shared->write(bytes);
        onMainThread(self, [count = bytes.size()](Download* download) { download->onWritten(count); });
    });
}

void Download::onWritten(qint64 byteCount) {
    unwritten -= byteCount;
    take(false);
}

void Download::finish(std::function<void(Outcome)> done) {
    whenDone = std::move(done);
    take(true);
    diskThread().start([shared = file, self = QPointer(this)] {
        shared->commit();
        onMainThread(self, [outcome = shared->outcome](Download* download) { download->whenDone(outcome); });
    });
}
