#include "tests/support/qml/FakeNetworkManager.h"

#include <QQmlEngine>

namespace {

constexpr int kHostNotFound = 3;

} // namespace

QVariantList FakeNetworkManager::calls() const {
    return recordedCalls;
}

void FakeNetworkManager::clearCalls() {
    recordedCalls.clear();
    emit callsChanged();
}

int FakeNetworkManager::get(const QString& url, const QVariantMap& headers) {
    return request("get", {{"url", url}, {"headers", headers}});
}

int FakeNetworkManager::post(const QString& url, const QVariantMap& data, const QVariantMap& headers) {
    return request("post", {{"url", url}, {"data", data}, {"headers", headers}});
}

int FakeNetworkManager::postDataList(const QString& url, const QVariantMap& data,
                                     const QVariantMap& headers) {
    return request("postDataList", {{"url", url}, {"data", data}, {"headers", headers}});
}

int FakeNetworkManager::put(const QString& url, const QVariantMap& data, const QVariantMap& headers) {
    return request("put", {{"url", url}, {"data", data}, {"headers", headers}});
}

int FakeNetworkManager::deleteResource(const QString& url, const QVariantMap& headers) {
    return request("deleteResource", {{"url", url}, {"headers", headers}});
}

int FakeNetworkManager::requestWithMethod(const QString& method, const QString& url, const QVariantMap& data,
                                          const QVariantMap& headers, int timeoutMs) {
    return request(
        "requestWithMethod",
        {{"method", method}, {"url", url}, {"data", data}, {"headers", headers}, {"value", timeoutMs}});
}

int FakeNetworkManager::uploadFile(const QString& url, const QString& filePath, const QVariantMap& headers) {
    return request("uploadFile", {{"url", url}, {"path", filePath}, {"headers", headers}});
}

int FakeNetworkManager::downloadFile(const QString& url, const QString& savePath,
                                     const QVariantMap& headers) {
    return request("downloadFile", {{"url", url}, {"path", savePath}, {"headers", headers}});
}

void FakeNetworkManager::expectDigest(int requestId, const QString& hex) {
    record("expectDigest", {{"id", requestId}, {"value", hex}});
}

void FakeNetworkManager::setDefaultHeaders(const QVariantMap& headers) {
    record("setDefaultHeaders", {{"headers", headers}});
}

void FakeNetworkManager::setTimeout(int timeoutMs) {
    record("setTimeout", {{"value", timeoutMs}});
}

void FakeNetworkManager::setRetryCount(int count) {
    record("setRetryCount", {{"value", count}});
}

void FakeNetworkManager::checkNetworkStatus() {
    record("checkNetworkStatus", {});
}

void FakeNetworkManager::startNetworkMonitoring(int intervalMs) {
    record("startNetworkMonitoring", {{"value", intervalMs}});
}

void FakeNetworkManager::stopNetworkMonitoring() {
    record("stopNetworkMonitoring", {});
}

void FakeNetworkManager::record(const QString& name, const QVariantMap& arguments) {
    QVariantMap call = arguments;
    call["name"] = name;
    recordedCalls.append(call);
    emit callsChanged();
}

int FakeNetworkManager::request(const QString& name, QVariantMap arguments) {
    arguments["id"] = ++lastId;
    record(name, arguments);
    emit requested(recordedCalls.last().toMap());
    if (!holds && name != "downloadFile") {
        QMetaObject::invokeMethod(
            this,
            [this, id = lastId] {
                emit requestError(id, kHostNotFound, "Host not found");
                emit requestCompleted(id, false,
                                      {{"error", "Host not found"}, {"error_code", kHostNotFound}});
            },
            Qt::QueuedConnection);
    }
    return lastId;
}

void registerFakeNetworkManager() {
    qmlRegisterSingletonType<FakeNetworkManager>(
        "VexoDeckNetwork", 1, 0, "NetworkManager",
        [](QQmlEngine*, QJSEngine*) -> QObject* { return new FakeNetworkManager; });
}
