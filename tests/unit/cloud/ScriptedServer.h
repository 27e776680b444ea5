#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QMutex>
#include <QSslConfiguration>
#include <QString>
#include <QThread>

class QTcpServer;
class QTcpSocket;

/// What a server sends for a path, byte for byte.
struct Script {
    QByteArray bytes;
    /// Sent behind `bytes` again and again, up to `fillCount` times.
    QByteArray fill;
    qint64 fillCount = 0;
    /// The time between two fills.
    int fillPauseMs = 0;
    /// Whether the connection ends then, or stays open in silence.
    bool isClosing = true;
};

/// Sends the bytes and ends the connection.
[[nodiscard]] Script sending(const QByteArray& bytes);
/// Sends nothing, ever.
[[nodiscard]] Script silence();
/// Sends the bytes, then the fill so many times, with a pause before each.
[[nodiscard]] Script filling(const QByteArray& bytes, const QByteArray& fill, qint64 fillCount,
                             int pauseMs = 0);

/// An HTTP request as a server got it. Names of headers are in lower case.
struct ReceivedRequest {
    QByteArray method;
    QByteArray path;
    QMap<QByteArray, QByteArray> headers;
    QByteArray body;
};

/// A real server on loopback, on a thread of its own, that keeps to no rule of HTTP but reading requests.
/// Callers may be on any thread.
class ScriptedServer {
public:
    /// Speaks TLS where `tls` has a certificate.
    explicit ScriptedServer(const QSslConfiguration& tls = {});
    ~ScriptedServer();
    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    [[nodiscard]] QString url(const QString& path) const;
    /// For all later requests of the path, without its query.
    void script(const QByteArray& path, const Script& script);
    /// A whole answer of a status line such as "200 OK".
    void answer(const QByteArray& path, const QByteArray& body, const QByteArray& status = "200 OK");
    [[nodiscard]] QList<ReceivedRequest> requests() const;
    [[nodiscard]] ReceivedRequest lastRequest() const;

private:
    void onConnection();
    void onBytes(QTcpSocket* socket, QByteArray& received);
    void reply(QTcpSocket* socket, const Script& script);

    QThread thread;
    /// Lives on the thread.
    QTcpServer* server = nullptr;
    quint16 port = 0;
    const QString scheme;
    mutable QMutex mutex;
    QMap<QByteArray, Script> scripts;
    QList<ReceivedRequest> received;
};
