#include "tests/unit/cloud/ScriptedServer.h"

#include <QHostAddress>
#include <QMutexLocker>
#include <QSslServer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

#include <memory>

namespace {

/// The request at the start of the bytes, which goes from them; false while it is not whole.
bool takeRequest(QByteArray& bytes, ReceivedRequest& request) {
    const qsizetype end = bytes.indexOf("\r\n\r\n");
    if (end < 0) {
        return false;
    }
    const QList<QByteArray> lines = bytes.first(end).replace("\r\n", "\n").split('\n');
    const QList<QByteArray> words = lines.first().split(' ');
    request.method = words.value(0);
    request.path = words.value(1);
    for (const QByteArray& line : lines.sliced(1)) {
        const qsizetype colon = line.indexOf(':');
        request.headers[line.first(colon).toLower()] = line.sliced(colon + 1).trimmed();
    }
    const qsizetype length = request.headers.value("content-length", "0").toLongLong();
    if (bytes.size() < end + 4 + length) {
        return false;
    }
    request.body = bytes.sliced(end + 4, length);
    bytes.remove(0, end + 4 + length);
    return true;
}

} // namespace

Script sending(const QByteArray& bytes) {
    Script script;
    script.bytes = bytes;
    return script;
}

Script silence() {
    Script script;
    script.isClosing = false;
    return script;
}

Script filling(const QByteArray& bytes, const QByteArray& fill, qint64 fillCount, int pauseMs) {
    Script script = sending(bytes);
    script.fill = fill;
    script.fillCount = fillCount;
    script.fillPauseMs = pauseMs;
    return script;
}

ScriptedServer::ScriptedServer(const QSslConfiguration& tls)
    : scheme(tls.localCertificate().isNull() ? "http" : "https") {
    if (scheme == "https") {
        auto* const secure = new QSslServer;
        secure->setSslConfiguration(tls);
        server = secure;
    } else {
        server = new QTcpServer;
    }
    server->moveToThread(&thread);
    thread.start();
    QMetaObject::invokeMethod(
        server,
        [this] {
            QObject::connect(server, &QTcpServer::pendingConnectionAvailable, server,
                             [this] { onConnection(); });
            server->listen(QHostAddress::LocalHost);
            port = server->serverPort();
        },
        Qt::BlockingQueuedConnection);
}

ScriptedServer::~ScriptedServer() {
    QMetaObject::invokeMethod(server, [this] { delete server; }, Qt::BlockingQueuedConnection);
    thread.quit();
    thread.wait();
}

QString ScriptedServer::url(const QString& path) const {
    return QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme).arg(port).arg(path);
}

void ScriptedServer::script(const QByteArray& path, const Script& script) {
    const QMutexLocker lock(&mutex);
    scripts[path] = script;
}

void ScriptedServer::answer(const QByteArray& path, const QByteArray& body, const QByteArray& status) {
    script(path, sending("HTTP/1.1 " + status + "\r\nContent-Length: " + QByteArray::number(body.size()) +
                         "\r\n\r\n" + body));
}

QList<ReceivedRequest> ScriptedServer::requests() const {
    const QMutexLocker lock(&mutex);
    return received;
}

ReceivedRequest ScriptedServer::lastRequest() const {
    const QMutexLocker lock(&mutex);
    return received.value(received.size() - 1);
}

void ScriptedServer::onConnection() {
    while (QTcpSocket* const socket = server->nextPendingConnection()) {
        const auto bytes = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::readyRead, socket,
                         [this, socket, bytes] { onBytes(socket, *bytes); });
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }
}

void ScriptedServer::onBytes(QTcpSocket* socket, QByteArray& bytes) {
    bytes += socket->readAll();
    ReceivedRequest request;
    if (!takeRequest(bytes, request)) {
        return;
    }
    Script script;
    {
        const QMutexLocker lock(&mutex);
        received.append(request);
        const QByteArray path = request.path.split('?').first();
        script = scripts.value(path, sending("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n"));
    }
    reply(socket, script);
}

void ScriptedServer::reply(QTcpSocket* socket, const Script& script) {
    socket->write(script.bytes);
    if (script.fillCount > 0) {
        // The next fill when the one before has left, and its pause is over.
        auto* const pause = new QTimer(socket);
        QObject::connect(pause, &QTimer::timeout, socket,
                         [script, socket, left = script.fillCount, pause]() mutable {
                             if (socket->bytesToWrite() > 0) {
                                 return;
                             }
                             socket->write(script.fill);
                             if (--left == 0) {
                                 pause->stop();
                                 if (script.isClosing) {
                                     socket->disconnectFromHost();
                                 }
                             }
                         });
        pause->start(script.fillPauseMs);
    } else if (script.isClosing) {
        socket->disconnectFromHost();
    }
}
