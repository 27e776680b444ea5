#include "dsp/frames/ControlFrame.h"
#include "dsp/frames/RecordAssembly.h"
#include "dsp/hidProtocol.h"

#include <QDebug>
#include <QElapsedTimer>
#include <QThread>

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <string>

using vexo::dsp::Bytes;
using vexo::dsp::RecordAssembly;
using vexo::dsp::RecordKind;

namespace {

constexpr std::array<const char*, 23> kStateNames{"stateClosed",
                                                  "stateAttached",
                                                  "stateOpened",
                                                  "stateLinking",
                                                  "stateReadDSVersion",
                                                  "stateReadDevVersion",
                                                  "stateLinked",
                                                  "stateReadID",
                                                  "stateKeepLinked",
                                                  "stateStartGetPara",
                                                  "stateReadAdcParam",
                                                  "stateReadDacParam",
                                                  "stateReadI2sParam",
                                                  "stateGetSpkEqNums",
                                                  "stateReadSpkEqParam",
                                                  "stateGetMicEqNums",
                                                  "stateReadMicEqParam",
                                                  "stateReadAlgParam",
                                                  "stateEndGetParam",
                                                  "stateFinishedOK",
                                                  "stateFinishedFail",
                                                  "stateIdle",
                                                  "stateBusy"};

constexpr std::uint8_t kLinkGroup = 0x00;
constexpr std::uint8_t kReadGroup = 0x10;
constexpr unsigned long kIdleMs = 500;
/// What a device that sends no record may send in its place.
constexpr int kMaxSkipped = 64;
constexpr qint64 kSkipLimitMs = 1000;
constexpr std::size_t kCountOffset = 10;

std::uint8_t commandOf(RecordKind kind) {
    constexpr std::array<std::uint8_t, 6> kCommands{0x81, 0x82, 0x83, 0x85, 0x87, 0x88};
    return kCommands[static_cast<std::size_t>(kind)];
}

} // namespace

void hidProtocol::run() {
    while (!QThread::currentThread()->isInterruptionRequested()) {
        if (!running) {
            QThread::msleep(kIdleMs);
            continue;
        }
        qDebug() << "run" << state;
        hidUpdateStatus();
    }
}

void hidProtocol::hidUpdateStatus() {
    qDebug() << (state >= 0 && state <= stateBusy ? kStateNames[static_cast<std::size_t>(state)] : "");
    if (!isOpen()) {
        setState(stateFinishedFail);
        return;
    }
    if (state == stateIdle || state == stateBusy) {
        running = false;
        return;
    }
    if (state < stateOpened || state > stateEndGetParam) {
        return;
    }
    // The states of the walk follow each other by number.
    const std::int32_t next = state + 1;
    if (act() && isOpen()) {
        setState(next);
    }
}

bool hidProtocol::act() {
    constexpr std::array<std::uint8_t, 3> kNoVersion{};
    switch (state) {
    case stateLinking:
        return set(kLinkGroup, 0x81) >= 0;
    case stateReadDSVersion:
        return set(kLinkGroup, 0x82, 0, kNoVersion) >= 0;
    case stateReadDevVersion:
        return set(kLinkGroup, 0x83) >= 0;
    case stateLinked:
        return set(kLinkGroup, 0x84) >= 0;
    case stateReadID:
        return set(kLinkGroup, 0x85) >= 0;
    case stateKeepLinked:
        return set(kLinkGroup, 0x86) >= 0;
    case stateStartGetPara:
        return set(kReadGroup, 0x80) >= 0;
    case stateReadAdcParam:
        return readRecords(RecordKind::Adc, 1);
    case stateReadDacParam:
        return readRecords(RecordKind::Dac, 1);
    case stateReadI2sParam:
        return readRecords(RecordKind::I2s, 1);
    case stateGetSpkEqNums:
        return readCount(RecordKind::SpkEq, 0x84, "spkEqNum");
    case stateReadSpkEqParam:
        return readRecords(RecordKind::SpkEq, storeOf(RecordKind::SpkEq).count);
    case stateGetMicEqNums:
        return readCount(RecordKind::MicEq, 0x86, "micEqNum");
    case stateReadMicEqParam:
        return readRecords(RecordKind::MicEq, storeOf(RecordKind::MicEq).count);
    case stateReadAlgParam:
        return readRecords(RecordKind::Alg, 1);
    case stateEndGetParam:
        return set(kReadGroup, 0x89) >= 0;
    default:
        return true;
    }
}

bool hidProtocol::readCount(RecordKind kind, std::uint8_t command, const char* label) {
    set(kReadGroup, command);
    const Bytes payload = Bytes(replyStore).first(static_cast<std::size_t>(replyBytes));
    Store& store = storeOf(kind);
    store.count = 1;
    const auto& magic = vexo::dsp::kMagic;
    if (payload.size() >= magic.size() && std::equal(magic.begin(), magic.end(), payload.begin())) {
        store.count = payload.size() > kCountOffset ? payload[kCountOffset] : 1;
        qDebug() << label << store.count << "readlen=" << replyBytes;
    }
    store.data.assign(store.count * vexo::dsp::storeBytes(kind), 0);
    return true;
}

bool hidProtocol::readRecords(RecordKind kind, std::size_t count) {
    const std::size_t bytes = vexo::dsp::storeBytes(kind);
    Store& store = storeOf(kind);
    store.data.resize(count * bytes);
    for (std::size_t i = 0; i < count; ++i) {
        const auto part = std::span(store.data).subspan(i * bytes, bytes);
        if (const vexo::dsp::Report record = readRecord(kind, static_cast<std::uint8_t>(i)); record.empty()) {
            vexo::dsp::copyRecord(kind, vexo::dsp::defaultRecord(kind), part);
        } else {
            vexo::dsp::copyRecord(kind, record, part);
            for (const std::string& line : vexo::dsp::dumpRecord(kind, part, i)) {
                qDebug().noquote() << QString::fromStdString(line);
            }
        }
    }
    store.isLoaded = true;
    return true;
}

/// The whole record, or nothing.
vexo::dsp::Report hidProtocol::readRecord(RecordKind kind, std::uint8_t index) {
    RecordAssembly assembly;
    QElapsedTimer elapsed;
    elapsed.start();
    int skipped = 0;
    int result = set(kReadGroup, commandOf(kind), index);
    // The setter has read the first report.
    while (result >= 0 && replyBytes > 0 && skipped < kMaxSkipped && !elapsed.hasExpired(kSkipLimitMs)) {
        const Bytes payload = Bytes(replyStore).first(static_cast<std::size_t>(replyBytes));
        const std::size_t had = assembly.collected();
        const RecordAssembly::Result fed = assembly.feed(payload);
        logFed(fed, assembly.total(), had, payload.size());
        if (assembly.complete()) {
            const Bytes record = assembly.record();
            qDebug() << "checkSum=" << vexo::dsp::checksumOf(record.first(record.size() - 1)).value
                     << record.back();
            return {record.begin(), record.end()};
        }
        skipped += fed == RecordAssembly::Result::Taken ? 0 : 1;
        ReplyBuffer buffer{};
        int length = 0;
        result = readReply(buffer, length);
    }
    return {};
}

void hidProtocol::logFed(RecordAssembly::Result result, std::size_t total, std::size_t had,
                         std::size_t length) {
    if (result == RecordAssembly::Result::NoReport) {
        std::printf("invalid data buf\n");
    } else if (result == RecordAssembly::Result::OutOfMemory) {
        qWarning() << "malloc Error!";
    } else if (result != RecordAssembly::Result::Skipped) {
        qDebug() << " totalLen = " << total << " readyDataLen = " << had << "needLend=" << total - had
                 << "len=" << length;
    }
    if (result == RecordAssembly::Result::Completed) {
        qDebug() << "parse complete!";
    }
}
