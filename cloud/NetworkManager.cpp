#include "cloud/NetworkManager.h"

#include "cloud/Answers.h"

#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QHttpMultiPart>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMutexLocker>
#include <QNetworkAccessManager>
#include <QNetworkInterface>
#include <QNetworkRequest>
#include <QTimer>

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace {

constexpr int kProbeTimeoutMs = 2000;
constexpr int kProbeEndMs = 3000;
constexpr int kNotSent = -1;
constexpr auto kSavePath = "savePath";

bool hasLiveInterface() {
    const auto isLive = [](const QNetworkInterface& entry) {
        const QNetworkInterface::InterfaceFlags flags = entry.flags();
        return flags.testFlag(QNetworkInterface::IsUp) && flags.testFlag(QNetworkInterface::IsRunning) &&
               !flags.testFlag(QNetworkInterface::IsLoopBack);
    };
    return std::ranges::any_of(QNetworkInterface::allInterfaces(), isLive);
}

/// An address as the log shows it: user, password and query may be secrets.
QString shown(const QUrl& url) {
    return url.toDisplayString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

QUrl addressOf(const QString& text) {
    return QUrl(text, QUrl::TolerantMode);
}

/// The reply's text as the log shows it.
QString shownError(const QNetworkReply* reply) {
    return reply->errorString().replace(reply->url().toString(), shown(reply->url()));
}

constexpr std::array kSecretHeaders{"token", "accessKey", "Authorization"};

bool holdsSecret(const QNetworkRequest& request) {
    return std::ranges::any_of(kSecretHeaders,
                               [&request](const char* name) { return request.hasRawHeader(name); });
}

/// The headers as the log shows them.
QVariantMap shownHeaders(QVariantMap headers) {
    for (const char* const secret : kSecretHeaders) {
        if (headers.contains(secret)) {
            headers[secret] = "***";
        }
    }
    return headers;
}

bool hasControlCharacter(const QByteArray& text) {
    return std::ranges::any_of(text, [](char byte) { return byte >= 0 && byte < ' ' && byte != '\t'; });
}

void setHeaders(QNetworkRequest& request, const QVariantMap& headers) {
    for (auto entry = headers.cbegin(); entry != headers.cend(); ++entry) {
        const QByteArray name = entry.key().toUtf8();
        if (entry.value().isNull()) {
            request.setRawHeader(name, QByteArray());
            continue;
        }
        const QByteArray value = entry.value().toString().toUtf8();
        // The end of a line in a header would begin a second one.
        if (hasControlCharacter(name) || hasControlCharacter(value)) {
            qInfo().noquote() << "Header left out, its text has control characters:" << name.simplified();
            continue;
        }
        request.setRawHeader(name, value);
    }
}

/// A text between the quotes of a header, as browsers write it.
QString quotable(QString name) {
    return name.replace('"', "%22").replace('\r', "%0D").replace('\n', "%0A");
}

bool isLineLost(QNetworkReply::NetworkError error) {
    static constexpr std::array kLosses{
        QNetworkReply::ConnectionRefusedError,    QNetworkReply::RemoteHostClosedError,
        QNetworkReply::HostNotFoundError,         QNetworkReply::TimeoutError,
        QNetworkReply::NetworkSessionFailedError, QNetworkReply::UnknownNetworkError};
    return std::ranges::find(kLosses, error) != kLosses.end();
}

QVariantMap headersOf(const QNetworkReply* reply) {
    QVariantMap headers;
    for (const auto& [name, value] : reply->rawHeaderPairs()) {
        headers[QString::fromUtf8(name)] = QString::fromUtf8(value);
    }
    return headers;
}

} // namespace

NetworkManager* NetworkManager::instance() {
    static auto* const manager = new NetworkManager;
    return manager;
}

NetworkSetting NetworkManager::systemSetting() {
    return {.hasInterface = hasLiveInterface, .probeAddress = QUrl(QStringLiteral(VEXO_PROBE_ADDRESS))};
}

NetworkManager::NetworkManager(NetworkSetting chosen, QObject* parent)
    : QObject(parent), networkAccessManager(new QNetworkAccessManager(this)), statusTimer(new QTimer(this)),
      setting(std::move(chosen)), defaultHeaders{{"User-Agent", "Vexo Deck/1.0.0"},
                                                 {"Accept", "application/json"},
                                                 {"Content-Type", "application/json"}} {
    connect(statusTimer, &QTimer::timeout, this, &NetworkManager::onNetworkStatusCheck);
}

NetworkManager::~NetworkManager() {
    // Replies end with their manager; this object hears no more of them.
    for (QNetworkReply* const reply : activeReplies.keys()) {
        reply->disconnect(this);
    }
}

int NetworkManager::get(const QString& url, const QVariantMap& headers) {
    return requestWithMethod("GET", url, {}, headers, defaultTimeout);
}

int NetworkManager::post(const QString& url, const QVariantMap& data, const QVariantMap& headers) {
    return requestWithMethod("POST", url, data, headers, defaultTimeout);
}

int NetworkManager::postDataList(const QString& url, const QVariantMap& data, const QVariantMap& headers) {
    return requestWithMethod("POST_LIST", url, data, headers, defaultTimeout);
}

int NetworkManager::put(const QString& url, const QVariantMap& data, const QVariantMap& headers) {
    return requestWithMethod("PUT", url, data, headers, defaultTimeout);
}

int NetworkManager::deleteResource(const QString& url, const QVariantMap& headers) {
    return requestWithMethod("DELETE", url, {}, headers, defaultTimeout);
}

QNetworkRequest NetworkManager::requestOf(const QString& url, const QVariantMap& headers,
                                          int timeoutMs) const {
    QNetworkRequest request(addressOf(url));
    setHeaders(request, defaultHeaders);
    setHeaders(request, headers);
    request.setTransferTimeout(timeoutMs);
    // The headers go to whom they are meant for, and the service sees nothing of an earlier call.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::SameOriginRedirectPolicy);
    request.setAttribute(QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::Manual);
    request.setAttribute(QNetworkRequest::CookieSaveControlAttribute, QNetworkRequest::Manual);
    return request;
}

QNetworkReply* NetworkManager::send(const QString& method, const QNetworkRequest& request,
                                    const QVariantMap& data) {
    if (networkAccessManager == nullptr) {
        return nullptr;
    }
    const QString name = method.toUpper();
    if (name == "GET") {
        return networkAccessManager->get(request);
    }
    if (name == "POST") {
        return networkAccessManager->post(request, QJsonDocument(QJsonObject::fromVariantMap(data)).toJson());
    }
    if (name == "POST_LIST") {
        return networkAccessManager->post(request,
                                          QJsonDocument(QJsonArray::fromVariantList(data.values())).toJson());
    }
    if (name == "PUT") {
        return networkAccessManager->put(request, QJsonDocument(QJsonObject::fromVariantMap(data)).toJson());
    }
    if (name == "DELETE") {
        return networkAccessManager->deleteResource(request);
    }
    return nullptr;
}

void NetworkManager::enter(QNetworkReply* reply, int id) {
    activeReplies[reply] = id;
    connect(reply, &QNetworkReply::finished, this, &NetworkManager::onRequestFinished);
    connect(reply, &QNetworkReply::errorOccurred, this, &NetworkManager::onRequestError);
}

void NetworkManager::limit(QNetworkReply* reply) const {
    QTimer::singleShot(setting.longestCallMs, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::readyRead, reply, [reply, longest = setting.longestAnswerBytes] {
        if (reply->bytesAvailable() > longest) {
            reply->abort();
        }
    });
}

int NetworkManager::fail(int id, const char* line, const QString& subject, const QString& text) {
    qInfo().noquote() << line << subject;
    emit requestError(id, kNotSent, text);
    return id;
}

int NetworkManager::requestWithMethod(const QString& method, const QString& url, const QVariantMap& data,
                                      const QVariantMap& headers, int timeoutMs) {
    const QMutexLocker lock(&mutex);
    const int id = ++requestCounter;
    QNetworkReply* const reply = send(method, requestOf(url, headers, timeoutMs), data);
    const QString shownUrl = shown(addressOf(url));
    if (reply == nullptr) {
        return fail(id, "Failed to create request:", method + " " + shownUrl,
                    "Failed to create network request");
    }
    enter(reply, id);
    limit(reply);
    connect(reply, &QNetworkReply::downloadProgress, this, &NetworkManager::onDownloadProgress);
    qInfo().noquote() << "Request" << id << "started:" << method << shownUrl;
    return id;
}

int NetworkManager::uploadFile(const QString& url, const QString& filePath, const QVariantMap& headers) {
    const QMutexLocker lock(&mutex);
    const int id = ++requestCounter;
    if (!QFileInfo::exists(filePath)) {
        return fail(id, "File does not exist:", filePath, "File does not exist: " + filePath);
    }
    auto form = std::make_unique<QHttpMultiPart>(QHttpMultiPart::FormDataType);
    auto* const file = new QFile(filePath, form.get());
    if (!file->open(QIODevice::ReadOnly)) {
        return fail(id, "Cannot open file:", filePath, "Cannot open file: " + filePath);
    }
    QHttpPart part;
    part.setRawHeader("Content-Disposition", QStringLiteral("form-data; name=\"file\"; filename=\"%1\"")
                                                 .arg(quotable(QFileInfo(filePath).fileName()))
                                                 .toUtf8());
    part.setRawHeader("Content-Type", "application/octet-stream");
    part.setBodyDevice(file);
    form->append(part);
    if (networkAccessManager == nullptr) {
        return id;
    }
    QNetworkReply* const reply =
        networkAccessManager->post(requestOf(url, headers, defaultTimeout), form.get());
    form.release()->setParent(reply);
    enter(reply, id);
    connect(reply, &QNetworkReply::uploadProgress, this, &NetworkManager::onUploadProgress);
    qInfo().noquote() << "File upload" << id << "started:" << shown(addressOf(url));
    return id;
}

int NetworkManager::downloadFile(const QString& url, const QString& savePath, const QVariantMap& headers) {
    const QMutexLocker lock(&mutex);
    const int id = ++requestCounter;
    if (networkAccessManager == nullptr) {
        return id;
    }
    QNetworkRequest request = requestOf(url, headers, defaultTimeout);
    // Files often lie with another host. A redirection would take the headers along.
    if (!holdsSecret(request)) {
        request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                             QNetworkRequest::NoLessSafeRedirectPolicy);
    }
    QNetworkReply* const reply = networkAccessManager->get(request);
    enter(reply, id);
    connect(reply, &QNetworkReply::downloadProgress, this, &NetworkManager::onDownloadProgress);
    reply->setProperty(kSavePath, savePath);
    if (!savePath.isEmpty()) {
        new Download(reply, savePath);
    }
    connect(reply, &QNetworkReply::errorOccurred, this,
            [this, reply](QNetworkReply::NetworkError error) { onLineLost(reply, error); });
    qInfo().noquote() << "File download" << id << "started:" << shown(addressOf(url));
    return id;
}

void NetworkManager::expectDigest(int requestId, const QString& hex) {
    const QMutexLocker lock(&mutex);
    const QNetworkReply* const reply = activeReplies.key(requestId);
    if (reply == nullptr) {
        return;
    }
    if (auto* const download = reply->findChild<Download*>(Qt::FindDirectChildrenOnly)) {
        download->expectDigest(hex);
    }
}

void NetworkManager::onLineLost(QNetworkReply* reply, QNetworkReply::NetworkError error) {
    if (!isLineLost(error)) {
        return;
    }
    qInfo() << "Network disconnection detected from download error:" << static_cast<int>(error);
    const QMutexLocker lock(&mutex);
    emit requestError(activeReplies.value(reply, kNotSent), error, "Network disconnection");
}

void NetworkManager::batchRequest(const QVariantList& requests) {
    for (const QVariant& entry : requests) {
        const QVariantMap request = entry.toMap();
        const QString url = request.value("url").toString();
        if (!url.isEmpty()) {
            requestWithMethod(request.value("method", "GET").toString(), url, request.value("data").toMap(),
                              request.value("headers").toMap(),
                              request.value("timeout", kGeneralTimeoutMs).toInt());
        }
    }
}

void NetworkManager::setDefaultHeaders(const QVariantMap& headers) {
    defaultHeaders = headers;
    qInfo() << "Default headers updated:" << shownHeaders(headers);
}

void NetworkManager::setTimeout(int timeoutMs) {
    defaultTimeout = timeoutMs;
    qInfo() << "Default timeout set to:" << timeoutMs << "ms";
}

void NetworkManager::setRetryCount(int count) {
    retryCount = count;
    qInfo() << "Retry count set to:" << retryCount;
}

int NetworkManager::getNextRequestId() {
    const QMutexLocker lock(&mutex);
    return requestCounter;
}

void NetworkManager::onRequestFinished() {
    auto* const reply = qobject_cast<QNetworkReply*>(sender());
    if (reply == nullptr) {
        return;
    }
    auto* const download = reply->findChild<Download*>(Qt::FindDirectChildrenOnly);
    if (download != nullptr && reply->error() == QNetworkReply::NoError) {
        download->finish([this, reply](Download::Outcome outcome) { complete(reply, outcome); });
    } else {
        complete(reply, Download::Outcome::Written);
    }
}

void NetworkManager::complete(QNetworkReply* reply, Download::Outcome outcome) {
    reply->deleteLater();
    const QMutexLocker lock(&mutex);
    const auto entry = activeReplies.constFind(reply);
    if (entry == activeReplies.constEnd()) {
        return;
    }
    const int id = *entry;
    activeReplies.erase(entry);
    QVariantMap response;
    const bool success = fillResponse(reply, id, outcome, response);
    emit requestCompleted(id, success, response);
}

QString NetworkManager::problemOf(Download::Outcome outcome, const QString& path) {
    switch (outcome) {
    case Download::Outcome::NotWritten:
        return "Cannot write file: " + path;
    case Download::Outcome::WrongDigest:
        return "Wrong digest of file: " + path;
    case Download::Outcome::Written:
    case Download::Outcome::NotOpened:
        break;
    }
    return {};
}

bool NetworkManager::fillResponse(QNetworkReply* reply, int id, Download::Outcome outcome,
                                  QVariantMap& response) {
    if (reply->error() != QNetworkReply::NoError) {
        hasGivenUp = hasGivenUp || reply->error() == QNetworkReply::OperationCanceledError;
        response = {{"error", reply->errorString()}, {"error_code", static_cast<int>(reply->error())}};
        qInfo().noquote() << "Request" << id << "failed:" << shownError(reply);
        return false;
    }
    const QString path = reply->property(kSavePath).toString();
    if (const QString text = problemOf(outcome, path); !text.isEmpty()) {
        response = {{"error", text}, {"error_code", kNotSent}};
        qInfo().noquote() << "Request" << id << "failed:" << text;
        emit requestError(id, kNotSent, text);
        return false;
    }
    const auto* const download = reply->findChild<Download*>(Qt::FindDirectChildrenOnly);
    response = answerOf(download != nullptr ? download->body() : reply->readAll());
    response["status_code"] = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    response["headers"] = headersOf(reply);
    if (download != nullptr && outcome == Download::Outcome::Written) {
        emit fileDownloaded(id, path);
        qInfo().noquote() << "File downloaded:" << path;
    }
    qInfo() << "Request" << id << "completed successfully";
    return true;
}

void NetworkManager::onRequestError(QNetworkReply::NetworkError error) {
    auto* const reply = qobject_cast<QNetworkReply*>(sender());
    if (reply == nullptr) {
        return;
    }
    const QMutexLocker lock(&mutex);
    const int id = activeReplies.value(reply, kNotSent);
    qInfo().noquote() << "Request" << id << "error:" << error << shownError(reply);
    emit requestError(id, error, reply->errorString());
}

void NetworkManager::onDownloadProgress(qint64 bytesReceived, qint64 bytesTotal) {
    const QMutexLocker lock(&mutex);
    emit downloadProgress(activeReplies.value(qobject_cast<QNetworkReply*>(sender()), kNotSent),
                          bytesReceived, bytesTotal);
}

void NetworkManager::onUploadProgress(qint64 bytesSent, qint64 bytesTotal) {
    const QMutexLocker lock(&mutex);
    emit uploadProgress(activeReplies.value(qobject_cast<QNetworkReply*>(sender()), kNotSent), bytesSent,
                        bytesTotal);
}

void NetworkManager::checkNetworkStatus() {
    onNetworkStatusCheck();
}

void NetworkManager::startNetworkMonitoring(int intervalMs) {
    statusTimer->setInterval(intervalMs);
    statusTimer->start();
    qInfo() << "Network monitoring started with interval:" << intervalMs << "ms";
}

void NetworkManager::stopNetworkMonitoring() {
    statusTimer->stop();
    qInfo() << "Network monitoring stopped";
}

void NetworkManager::onNetworkStatusCheck() {
    if (!setting.hasInterface()) {
        setOnline(false, "Online status changed (no interface):");
        return;
    }
    if (networkAccessManager == nullptr) {
        // Without a client the state is told each time, changed or not.
        online = false;
        emit onlineStatusChanged(online);
        qInfo() << "Online status changed (no network manager):" << online;
        return;
    }
    probe();
}

void NetworkManager::probe() {
    QNetworkRequest request(setting.probeAddress);
    request.setTransferTimeout(kProbeTimeoutMs);
    QNetworkReply* const reply = networkAccessManager->head(request);
    if (reply == nullptr) {
        online = false;
        emit onlineStatusChanged(online);
        qInfo() << "Online status changed (no reply):" << online;
        return;
    }
    auto* const end = new QTimer(this);
    end->setSingleShot(true);
    const auto close = [reply, end] {
        end->stop();
        end->deleteLater();
        reply->deleteLater();
    };
    connect(end, &QTimer::timeout, reply, [this, reply, close] {
        reply->disconnect(this);
        close();
        reply->abort();
        setOnline(false, "Online status changed (timeout):");
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply, close] {
        close();
        setOnline(reply->error() == QNetworkReply::NoError, "Online status changed (HTTP check):");
    });
    connect(reply, &QNetworkReply::errorOccurred, this, [this, close] {
        close();
        setOnline(false, "Online status changed (HTTP error):");
    });
    end->start(kProbeEndMs);
}

void NetworkManager::setOnline(bool isNowOnline, const char* line) {
    if (online == isNowOnline) {
        return;
    }
    online = isNowOnline;
    emit onlineStatusChanged(online);
    qInfo() << line << online;
}
