#include "tests/qml/TestLog.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace {

// Lines of the platform plugins without a screen or compositor. No document causes or avoids them.
constexpr std::array kPlatformRemarks = {
    "This plugin does not support setting window opacity",
    "This plugin does not support raise()",
    "This plugin does not support propagateSizeHints()",
};

bool isPlatformRemark(const QString& text) {
    return std::any_of(kPlatformRemarks.begin(), kPlatformRemarks.end(),
                       [&text](const char* remark) { return text.contains(QLatin1StringView(remark)); });
}

} // namespace

TestLog& TestLog::instance() {
    static TestLog log;
    return log;
}

void TestLog::install() {
    qInstallMessageHandler(handle);
}

QStringList TestLog::lines() const {
    return recordedLines;
}

void TestLog::expect(const QString& text) {
    expectedTexts.append(text);
}

QStringList TestLog::takeFaults() {
    QStringList faults;
    for (const QString& line : std::as_const(unexpectedLines))
        faults.append("unexpected: " + line);
    for (const QString& text : std::as_const(expectedTexts))
        faults.append("did not come: " + text);
    unexpectedLines.clear();
    expectedTexts.clear();
    return faults;
}

void TestLog::begin() {
    install();
    recordedLines.clear();
}

void TestLog::handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    instance().record(type, text);
    std::fprintf(stderr, "%s\n", qPrintable(qFormatLogMessage(type, context, text)));
}

void TestLog::record(QtMsgType type, const QString& text) {
    recordedLines.append(text);
    if (type == QtDebugMsg || type == QtInfoMsg || isPlatformRemark(text))
        return;
    const auto expected = std::find_if(expectedTexts.begin(), expectedTexts.end(),
                                       [&text](const QString& wanted) { return text.contains(wanted); });
    if (expected == expectedTexts.end())
        unexpectedLines.append(text);
    else
        expectedTexts.erase(expected);
}
