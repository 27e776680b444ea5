#pragma once

#include "cloud/Download.h"

#include <QList>
#include <QMap>
#include <QMutex>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>
#include <QVariantList>
#include <QVariantMap>

#include <functional>

class QNetworkAccessManager;
class QNetworkRequest;
class QTimer;

/// What NetworkManager takes from outside, and the limits of a call. The defaults are those of the program.
struct NetworkSetting {
    /// True while an interface is up, runs and is not a loopback.
    std::function<bool()> hasInterface;
    /// Asked by the online check.
    QUrl probeAddress;
    /// A call that lasts longer is given up, however its bytes drip in. Downloads and uploads have no such
    /// end.
    int longestCallMs = 60000;
    /// A call with a longer answer is given up. Downloads have no such limit.
    qint64 longestAnswerBytes = 16LL * 1024 * 1024;
};

/// The program's only HTTP client, a process-wide singleton, in QML as `NetworkManager` of the module
/// `VexoDeckNetwork`. It knows no address but that of the online check.
///
/// Each request gets a number, from 1 on, which the call returns at once; what comes of it is signalled later
/// with that number. A request that fails is signalled by requestError and then by requestCompleted without
/// success. Nothing is tried again, and no request is cancelled but for the limits of NetworkSetting.
///
/// Main thread only. A lock that is not recursive is held while requestCompleted, requestError,
/// fileDownloaded and both signals of progress are emitted: a receiver that is connected directly and begins
/// a request never returns. Receivers put it off to a later turn of the event loop.
///
/// The response of requestCompleted:
/// - Success: what answerOf() makes of the body, then "status_code" (int) and "headers" (name to value),
/// which
///   replace members of these names. Of a download longer than `Download::kKeptBodyBytes` only these two.
/// - Failure: "error" (text) and "error_code" (the number of QNetworkReply's error; -1 where a download could
///   not be written).
///
/// The log shows neither secrets of the headers nor the query of an address.
class NetworkManager : public QObject {
    Q_OBJECT
    /// What the online check has found last; false until it has found anything.
    Q_PROPERTY(bool isOnline READ isOnline NOTIFY onlineStatusChanged)

public:
    /// The process-wide object, made at the first call and alive to the end of the process.
    static NetworkManager* instance();

    static constexpr int kDefaultTimeoutMs = 10000;
    static constexpr int kGeneralTimeoutMs = 30000;

    explicit NetworkManager(NetworkSetting setting = systemSetting(), QObject* parent = nullptr);
    ~NetworkManager() override;

    static NetworkSetting systemSetting();

    [[nodiscard]] bool isOnline() const { return online; }
    /// Whether the system may still look for the host of a request: one runs, or was given up.
    [[nodiscard]] bool mayLookUp() const { return !activeReplies.isEmpty() || hasGivenUp; }

    /// Requests with the default timeout. `headers` go before the default ones; one without a value (null)
    /// takes the default one away. Bodies are indented JSON:
    /// `data` as an object; of postDataList the values of `data` as an array, in the order of the keys.
    Q_INVOKABLE int get(const QString& url, const QVariantMap& headers = {});
    Q_INVOKABLE int post(const QString& url, const QVariantMap& data = {}, const QVariantMap& headers = {});
    Q_INVOKABLE int postDataList(const QString& url, const QVariantMap& data = {},
                                 const QVariantMap& headers = {});
    Q_INVOKABLE int put(const QString& url, const QVariantMap& data = {}, const QVariantMap& headers = {});
    Q_INVOKABLE int deleteResource(const QString& url, const QVariantMap& headers = {});
    /// The general form. `method` is GET, POST, POST_LIST, PUT or DELETE, in any case of letters; any other
    /// emits requestError with -1 before this returns. The timeout counts from the last byte of the line.
    Q_INVOKABLE int requestWithMethod(const QString& method, const QString& url, const QVariantMap& data = {},
                                      const QVariantMap& headers = {}, int timeoutMs = kGeneralTimeoutMs);

    /// Posts the file as the part "file" of a form. A file that is missing or cannot be opened emits
    /// requestError with -1 before this returns, and nothing else. The header Content-Type is the default
    /// one, application/json, unless `headers` has another: kept, the service reads the parts nevertheless.
    Q_INVOKABLE int uploadFile(const QString& url, const QString& filePath, const QVariantMap& headers = {});
    /// Fetches into a file, see Download. A redirection to another host is followed where the headers hold
    /// no secret, and never to a less safe scheme; fileDownloaded comes before requestCompleted. Where there
    /// is no file to write to, the request succeeds without fileDownloaded. A lost line emits requestError
    /// twice, the second time with "Network disconnection".
    Q_INVOKABLE int downloadFile(const QString& url, const QString& savePath,
                                 const QVariantMap& headers = {});
    /// The digest that the file of a download has to have, told in the turn of the event loop that began it:
    /// 64 hexadecimal digits are its SHA-256, 32 are its MD5, and any other text fits no file. A body that
    /// has another one fails, and nothing gets the name of the file.
    Q_INVOKABLE void expectDigest(int requestId, const QString& hex);
    /// One request for each map of the list: "method" (GET), "url", "data", "headers", "timeout" (30000 ms).
    /// Entries without an address are skipped. The numbers are not told.
    Q_INVOKABLE void batchRequest(const QVariantList& requests);

    /// Replaces all default headers.
    Q_INVOKABLE void setDefaultHeaders(const QVariantMap& headers);
    Q_INVOKABLE void setTimeout(int timeoutMs);
    /// Kept for its callers: nothing is tried again.
    Q_INVOKABLE void setRetryCount(int count);
    /// The last number given, 0 before the first: not the next one, in spite of the name.
    Q_INVOKABLE int getNextRequestId();

    /// The online check: an interface, then an answer of the probe's address within 3000 ms. Checks may
    /// overlap; the last one to end decides. The program runs none by itself.
    Q_INVOKABLE void checkNetworkStatus();
    /// The first check comes after one interval.
    Q_INVOKABLE void startNetworkMonitoring(int intervalMs = 5000);
    Q_INVOKABLE void stopNetworkMonitoring();

public slots:
    void onNetworkStatusCheck();
    void onRequestFinished();
    void onRequestError(QNetworkReply::NetworkError error);
    void onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal);
    void onUploadProgress(qint64 bytesSent, qint64 bytesTotal);

signals:
    void onlineStatusChanged(bool isOnline);
    /// Once for each reply.
    void requestCompleted(int requestId, bool success, const QVariantMap& response);
    void requestError(int requestId, int errorCode, const QString& errorString);
    /// Never emitted, as fileUploaded: a request and an upload end with requestCompleted.
    void requestProgress(int requestId, qint64 bytesReceived, qint64 bytesTotal);
    void uploadProgress(int requestId, qint64 bytesSent, qint64 bytesTotal);
    /// While any reply receives.
    void downloadProgress(int requestId, qint64 bytesReceived, qint64 bytesTotal);
    void fileUploaded(int requestId, const QVariantMap& response);
    void fileDownloaded(int requestId, const QString& filePath);

private:
    [[nodiscard]] QNetworkRequest requestOf(const QString& url, const QVariantMap& headers,
                                            int timeoutMs) const;
    [[nodiscard]] QNetworkReply* send(const QString& method, const QNetworkRequest& request,
                                      const QVariantMap& data);
    /// These are called with the lock held.
    void enter(QNetworkReply* reply, int id);
    int fail(int id, const char* line, const QString& subject, const QString& text);

    void limit(QNetworkReply* reply) const;
    void onLineLost(QNetworkReply* reply, QNetworkReply::NetworkError error);
    void complete(QNetworkReply* reply, Download::Outcome outcome);
    /// What is wrong with a body that has come whole; empty where nothing is.
    [[nodiscard]] static QString problemOf(Download::Outcome outcome, const QString& path);
    /// True where the request succeeded. With the lock held.
    bool fillResponse(QNetworkReply* reply, int id, Download::Outcome outcome, QVariantMap& response);

    void probe();
    void setOnline(bool isNowOnline, const char* line);

    QPointer<QNetworkAccessManager> networkAccessManager;
    QTimer* const statusTimer;
    const NetworkSetting setting;
    bool online = false;
    QVariantMap defaultHeaders;
    int defaultTimeout = kDefaultTimeoutMs;
    int retryCount = 3;
    int requestCounter = 0;
    bool hasGivenUp = false;
    QMap<QNetworkReply*, int> activeReplies;
    /// Guards requestCounter and activeReplies.
    QMutex mutex;
};
