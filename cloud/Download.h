#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>
#include <memory>

class QNetworkReply;

/// Writes what a reply receives into a file, beside its target at first; the whole file then gets the
/// target's name and replaces what had it. A link of that name is replaced, not followed.
///
/// Lives on the main thread, as a child of its reply. All that touches the disk runs on one thread of its
/// own, so a slow disk delays the network, not the screens: while `kUnwrittenLimit` bytes wait for the disk,
/// no more are taken from the reply. Without a finish() that succeeds nothing is left.
class Download : public QObject {
    Q_OBJECT

public:
    enum class Outcome {
        Written,
        /// There is no file to write to: no folder, or the target is a folder.
        NotOpened,
        /// The disk is full, or broken.
        NotWritten,
        /// The body is not the one that was expected.
        WrongDigest,
    };

    static constexpr qint64 kUnwrittenLimit = 8LL * 1024 * 1024;
    /// A body up to this length is kept, too.
    static constexpr qint64 kKeptBodyBytes = 1024LL * 1024;

    Download(QNetworkReply* reply, const QString& target);
    ~Download() override;

    /// The digest that the body has to have: 64 hexadecimal digits of SHA-256 or 32 of MD5; any other text
    /// fits no body. Before the event loop turns.
    void expectDigest(const QString& hex);

    /// After the reply has finished without an error: writes the rest and calls `done` on the main thread,
    /// never at once, unless this object is destroyed first.
    void finish(std::function<void(Outcome)> done);

    /// The body as far as it has been read; empty when it is longer than `kKeptBodyBytes`.
    [[nodiscard]] QByteArray body() const { return keptBody; }

private:
    struct File;

    /// Takes what the reply has. All of it with `isLast`.
    void take(bool isLast);
    void write(const QByteArray& bytes);
    void onWritten(qint64 byteCount);

    QNetworkReply* const reply;
    std::shared_ptr<File> file;
    std::function<void(Outcome)> whenDone;
    qint64 unwritten = 0;
    qint64 taken = 0;
    QByteArray keptBody;
};
