#include "cloud/Answers.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QString>

namespace {

/// QJsonDocument takes objects and arrays only: any other value is read as the one entry of an array.
bool isSingleValue(const QByteArray& body) {
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson("[" + body + "]", &problem);
    return problem.error == QJsonParseError::NoError && document.array().size() == 1;
}

} // namespace

QVariantMap answerOf(const QByteArray& body) {
    if (body.trimmed().isEmpty()) {
        return {};
    }
    QJsonParseError problem;
    const QJsonDocument document = QJsonDocument::fromJson(body, &problem);
    if (problem.error != QJsonParseError::NoError) {
        if (isSingleValue(body)) {
            return {};
        }
        return {{"error", "JSON parse error: " + problem.errorString()},
                {"raw_data", QString::fromUtf8(body)}};
    }
    if (document.isArray()) {
        return {{"data", document.array().toVariantList()}};
    }
    return document.object().toVariantMap();
}
