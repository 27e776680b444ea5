// Fuzzes the signal processor's records: reports of any length put together, the record copied into its store
// and dumped. It fails when a sanitizer reports, when a report without a beginning is taken, when a record
// has another length than its header names or other bytes than came, when a store gets other bytes than the
// record's, and when a dump has another number of lines than the record has fields.

#include "dsp/frames/ControlFrame.h"
#include "dsp/frames/ParameterRecords.h"
#include "dsp/frames/RecordAssembly.h"
#include "tests/fuzz/FuzzInput.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;
using vexo::dsp::Bytes;
using vexo::dsp::RecordAssembly;
using vexo::dsp::RecordKind;
using vexo::dsp::Report;

constexpr std::size_t kLongestInput = 1024;
constexpr std::size_t kHeader = 10;
constexpr std::array kKinds{RecordKind::Adc,   RecordKind::Dac,   RecordKind::I2s,
                            RecordKind::SpkEq, RecordKind::MicEq, RecordKind::Alg};

bool beginsRecord(Bytes payload) {
    return payload.size() > kHeader && payload[0] == 0xAA && payload[1] == 'S' && payload[2] == 'N' &&
           payload[3] == 'D' && payload[4] == 'C' && (payload[8] != 0 || payload[9] != 0);
}

Report reportOf(Input& input) {
    const std::uint8_t shape = input.byte();
    if (shape % 4 != 0) {
        return input.bytes(std::min<std::size_t>(input.left(), shape));
    }
    // A report that begins a record.
    Report report{1, 0, 0xAA, 'S', 'N', 'D', 'C', 0x10, 0, input.byte(), input.byte(), input.byte()};
    const Report data = input.bytes(std::min<std::size_t>(input.left(), shape));
    report.insert(report.end(), data.begin(), data.end());
    report[1] = static_cast<std::uint8_t>(std::min<std::size_t>(report.size() - 2, 255));
    return report;
}

void checkPayload(Bytes report, Bytes payload) {
    if (report.size() < 3) {
        require(payload.empty(), "a report of under three bytes has no payload");
        return;
    }
    require(payload.size() == std::min<std::size_t>(report[1], report.size() - 2),
            "a payload has the length that the report names, or what is there");
    require(std::equal(payload.begin(), payload.end(), report.begin() + 2), "a payload is of its report");
}

void checkStore(RecordKind kind, Bytes record) {
    constexpr std::uint8_t kOld = 0x5A;
    constexpr std::size_t kGuard = 8;
    const std::size_t bytes = vexo::dsp::storeBytes(kind);
    std::vector<std::uint8_t> store(bytes + kGuard, kOld);
    vexo::dsp::copyRecord(kind, record, std::span(store).first(bytes));
    const std::size_t wanted = kind == RecordKind::Alg && record.size() <= 105 ? 36 : bytes;
    for (std::size_t i = 0; i < store.size(); ++i) {
        std::uint8_t expected = kOld;
        if (i < wanted) {
            expected = kHeader + i < record.size() ? record[kHeader + i] : std::uint8_t{0};
        }
        require(store[i] == expected, "a store has the record's bytes, zeros behind them, and no more");
    }
    const bool isEqualizer = kind == RecordKind::SpkEq || kind == RecordKind::MicEq;
    const std::array<std::size_t, kKinds.size()> lines{82, 29, 27, 74, 74, 44};
    const std::size_t rightBands = isEqualizer && store[1] != 0 ? 70 : 0;
    const std::vector<std::string> dump = vexo::dsp::dumpRecord(kind, std::span(store).first(bytes));
    require(dump.size() == lines.at(static_cast<std::size_t>(kind)) + rightBands, "each field has a line");
    require(vexo::dsp::dumpRecord(kind, std::span(store).first(bytes - 1)).size() == (isEqualizer ? 1U : 0U),
            "a store that is too short is not dumped");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > kLongestInput) {
        return -1;
    }
    Input input(bytes, size);
    const RecordKind kind = kKinds.at(input.byte() % kKinds.size());
    RecordAssembly assembly;
    Report came;
    std::size_t total = 0;
    require(assembly.feed(std::nullopt) == RecordAssembly::Result::NoReport, "no report is no record");
    while (!input.isOver() && !assembly.complete()) {
        const Report report = reportOf(input);
        const Bytes payload = vexo::dsp::payloadOf(report);
        checkPayload(report, payload);
        const RecordAssembly::Result result = assembly.feed(payload);
        if (came.empty() && !beginsRecord(payload)) {
            require(result == RecordAssembly::Result::Skipped, "what begins no record is skipped");
            continue;
        }
        if (came.empty()) {
            total = payload[8] + 256U * payload[9] + kHeader + 1;
        }
        const std::size_t count = std::min(payload.size(), total - came.size());
        came.insert(came.end(), payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(count));
        require(assembly.total() == total && assembly.collected() == came.size(),
                "the header names the length");
        require(assembly.complete() == (came.size() == total), "a record is complete with its last byte");
    }
    if (assembly.complete()) {
        require(std::ranges::equal(assembly.record(), came), "a record is what came");
        checkStore(kind, assembly.record());
    }
    if (!came.empty()) {
        checkStore(kind, came);
    }
    return 0;
}
