#pragma once

#include <QObject>
#include <QVariant>

// A fake of the HTTP client for tests of the documents: it records their requests, and the test emits its
// signals. Lives on the main thread; one for each engine, which owns it.
class FakeNetworkManager : public QObject {
    Q_OBJECT
    // The calls since the last clearCalls(), in order: maps with "name" and, by call, "id", "url", "data",
    // "headers", "path", "value".
    Q_PROPERTY(QVariantList calls READ calls NOTIFY callsChanged)
    Q_PROPERTY(bool isOnline MEMBER isOnline NOTIFY onlineStatusChanged)
    // Whether requests wait for what the test emits, as downloads always do. Else each fails in a later turn
    // of the event loop, as where the service cannot be reached.
    Q_PROPERTY(bool holds MEMBER holds)

public:
    using QObject::QObject;

    [[nodiscard]] QVariantList calls() const;
    Q_INVOKABLE void clearCalls();

    Q_INVOKABLE int get(const QString& url, const QVariantMap& headers);
    Q_INVOKABLE int post(const QString& url, const QVariantMap& data, const QVariantMap& headers);
    Q_INVOKABLE int postDataList(const QString& url, const QVariantMap& data, const QVariantMap& headers);
    Q_INVOKABLE int put(const QString& url, const QVariantMap& data, const QVariantMap& headers);
    Q_INVOKABLE int deleteResource(const QString& url, const QVariantMap& headers);
    Q_INVOKABLE int requestWithMethod(const QString& method, const QString& url, const QVariantMap& data,
                                      const QVariantMap& headers, int timeoutMs);
    Q_INVOKABLE int uploadFile(const QString& url, const QString& filePath, const QVariantMap& headers);
    Q_INVOKABLE int downloadFile(const QString& url, const QString& savePath, const QVariantMap& headers);
    Q_INVOKABLE void expectDigest(int requestId, const QString& hex);
    Q_INVOKABLE void setDefaultHeaders(const QVariantMap& headers);
    Q_INVOKABLE void setTimeout(int timeoutMs);
    Q_INVOKABLE void setRetryCount(int count);
    Q_INVOKABLE void checkNetworkStatus();
    Q_INVOKABLE void startNetworkMonitoring(int intervalMs);
    Q_INVOKABLE void stopNetworkMonitoring();

signals:
    void callsChanged();
    // A request, before its number is returned: the map of `calls`.
    void requested(const QVariantMap& call);
    void onlineStatusChanged(bool isOnline);
    void requestCompleted(int requestId, bool success, const QVariantMap& response);
    void requestError(int requestId, int errorCode, const QString& errorString);
    void requestProgress(int requestId, qint64 bytesReceived, qint64 bytesTotal);
    void uploadProgress(int requestId, qint64 bytesSent, qint64 bytesTotal);
    void downloadProgress(int requestId, qint64 bytesReceived, qint64 bytesTotal);
    void fileUploaded(int requestId, const QVariantMap& response);
    void fileDownloaded(int requestId, const QString& filePath);

private:
    void record(const QString& name, const QVariantMap& arguments);
    int request(const QString& name, QVariantMap arguments);

    bool isOnline = false;
    bool holds = false;
    int lastId = 0;
    QVariantList recordedCalls;
};

// Registers the class as the singleton NetworkManager of the module VexoDeckNetwork. Before any document is
// loaded, once in a process.
void registerFakeNetworkManager();
