#include "device/ReportFormat.h"

#include "device/UsbIdentity.h"

#include <algorithm>

namespace {

constexpr qsizetype kMixerCapacity = 58;
constexpr qsizetype kCapacity = 64;
/// Header of a report from the mixer.
constexpr qsizetype kMixerInputHeaderBytes = 4;

constexpr char kMixerReportId = 1;
constexpr char kNoReportId = 0;

bool isMixer(std::uint16_t productId) {
    return productId == kMixdeskR2.productId;
}

bool isMicrophone(std::uint16_t productId) {
    return productId == kVoxmicM40.productId || productId == kVoxmicT40.productId;
}

} // namespace

qsizetype reportCapacity(std::uint16_t productId) {
    return isMixer(productId) ? kMixerCapacity : kCapacity;
}

QByteArray reportOf(std::uint16_t productId, QByteArrayView frameBytes) {
    QByteArray report;
    report.reserve(2 + frameBytes.size());
    if (isMixer(productId)) {
        report.append(kMixerReportId);
        report.append(static_cast<char>(frameBytes.size()));
    } else if (isMicrophone(productId)) {
        report.append(kNoReportId);
    }
    report.append(frameBytes);
    return report;
}

QByteArrayView frameBytesOf(std::uint16_t productId, QByteArrayView report) {
    const qsizetype headerBytes = isMixer(productId) ? kMixerInputHeaderBytes : 0;
    return report.sliced(std::min(headerBytes, report.size()));
}
