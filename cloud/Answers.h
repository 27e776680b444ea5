#pragma once

#include <QByteArray>
#include <QVariantMap>

/// What callers get of the body of a successful answer. Any thread.
///
/// A JSON object gives its members, an array the member "data". An empty body and any other JSON value give
/// nothing. What is no JSON gives "error", with the parser's text, and "raw_data", the body as text.
[[nodiscard]] QVariantMap answerOf(const QByteArray& body);
