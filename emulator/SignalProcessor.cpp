#include "emulator/SignalProcessor.h"

#include "emulator/Models.h"

#include <algorithm>
#include <numeric>

namespace vexo::emulator {
namespace {

constexpr std::array<std::uint8_t, 5> kMagic{0xAA, 'S', 'N', 'D', 'C'};
constexpr std::size_t kCommandHeader = 5;
constexpr std::size_t kReplyChunk = 62;
constexpr std::uint8_t kReadGroup = 0x10;

struct RecordInfo {
    std::string_view word;
    std::size_t size;
};
constexpr std::array<RecordInfo, kProcessorRecords> kRecords{
    {{"adc", 88}, {"dac", 32}, {"i2s", 36}, {"spk-eq", 324}, {"mic-eq", 324}, {"alg", 104}}};

// Commands from first to last of a group, each with so many parameter bytes.
struct CommandRange {
    std::uint8_t group;
    std::uint8_t first;
    std::uint8_t last;
    std::uint8_t parameters;
};
constexpr auto kCommandRanges = std::to_array<CommandRange>({
    {0x00, 0x81, 0x81, 0}, {0x00, 0x82, 0x82, 3}, {0x00, 0x83, 0x86, 0},  {0x10, 0x80, 0x89, 0},
    {0x20, 0x81, 0x83, 0}, {0x30, 0x80, 0x86, 1}, {0x30, 0x87, 0x87, 4},  {0x30, 0x88, 0x97, 1},
    {0x31, 0x80, 0x83, 1}, {0x31, 0x84, 0x84, 4}, {0x31, 0x85, 0x8E, 1},  {0x31, 0x8F, 0x8F, 0},
    {0x32, 0x80, 0x84, 1}, {0x32, 0x85, 0x85, 4}, {0x32, 0x86, 0x88, 1},  {0x40, 0x80, 0x83, 1},
    {0x40, 0x84, 0x85, 0}, {0x40, 0x86, 0x86, 1}, {0x40, 0x87, 0x87, 24}, {0x40, 0x88, 0x88, 13},
    {0x40, 0x89, 0x89, 0}, {0x40, 0x8A, 0x8A, 1}, {0x40, 0x8B, 0x8B, 24}, {0x40, 0x8C, 0x8C, 13},
    {0x40, 0x8D, 0x8D, 0}, {0x41, 0x80, 0x80, 0}, {0x41, 0x82, 0x82, 0},  {0x41, 0x83, 0x83, 1},
    {0x41, 0x84, 0x85, 0}, {0x41, 0x86, 0x86, 1}, {0x41, 0x87, 0x87, 24}, {0x41, 0x88, 0x88, 13},
    {0x41, 0x89, 0x89, 0}, {0x50, 0x80, 0x80, 0}, {0x50, 0x81, 0x81, 1},  {0x51, 0x80, 0x80, 1},
    {0x51, 0x81, 0x88, 4}, {0x52, 0x80, 0x80, 1}, {0x52, 0x81, 0x86, 4},  {0x53, 0x80, 0x80, 1},
    {0x53, 0x81, 0x81, 0}, {0x53, 0x82, 0x82, 4}, {0x54, 0x80, 0x80, 0},  {0x54, 0x81, 0x81, 1},
    {0x54, 0x82, 0x82, 4}, {0x55, 0x80, 0x80, 1}, {0x55, 0x81, 0x81, 4},  {0x56, 0x80, 0x84, 1},
    {0x56, 0x85, 0x85, 0}, {0x57, 0x80, 0x80, 1}, {0x57, 0x81, 0x81, 0},  {0x57, 0x82, 0x82, 4},
});

// What makes the sum of the bytes 0.
std::uint8_t balanceOf(BytesView bytes) {
    const unsigned sum = std::accumulate(bytes.begin(), bytes.end(), 0U);
    return static_cast<std::uint8_t>(256U - sum % 256U);
}

} // namespace

std::optional<ProcessorRecord> processorRecordByWord(std::string_view word) {
    const auto* const found = std::ranges::find(kRecords, word, &RecordInfo::word);
    return found == kRecords.end() ? std::nullopt
                                   : std::optional(static_cast<ProcessorRecord>(found - kRecords.begin()));
}

std::size_t recordSize(ProcessorRecord record) {
    return kRecords[static_cast<std::size_t>(record)].size;
}

std::optional<std::size_t> parametersOf(std::uint8_t group, std::uint8_t command) {
    const auto* const found = std::ranges::find_if(kCommandRanges, [&](const CommandRange& range) {
        return range.group == group && range.first <= command && command <= range.last;
    });
    return found == kCommandRanges.end() ? std::nullopt : std::optional<std::size_t>(found->parameters);
}

// Until a test sets a record, its bytes count up.
SignalProcessor::SignalProcessor(std::function<void(Bytes report)> replyFunction)
    : send(std::move(replyFunction)) {
    for (std::size_t i = 0; i < records.size(); ++i) {
        records[i].resize(kRecords[i].size);
        std::iota(records[i].begin(), records[i].end(), std::uint8_t{0});
    }
}

bool SignalProcessor::isCommand(BytesView report) {
    return report.size() >= 2 + kMagic.size() && report[0] == kReportId &&
           std::ranges::equal(report.subspan(2, kMagic.size()), kMagic);
}

void SignalProcessor::receive(BytesView report) {
    const std::size_t length = report[1];
    if (length < kMagic.size() + kCommandHeader + 1 || report.size() < 2 + length) {
        return refuse("form");
    }
    const BytesView covered = report.subspan(2, length);
    if (balanceOf(covered) != 0) {
        return refuse("checksum");
    }
    execute(covered.subspan(kMagic.size(), length - kMagic.size() - 1));
}

void SignalProcessor::execute(BytesView command) {
    const std::optional<std::size_t> parameters = parametersOf(command[0], command[2]);
    if (!parameters) {
        return refuse("command");
    }
    if (command[3] != 0 || command[4] != *parameters || command.size() != kCommandHeader + *parameters) {
        return refuse("length");
    }
    std::optional<Bytes> data = dataFor(command[0], command[1], command[2]);
    if (data) {
        ++answered;
        reply(command[0], command[2], std::move(*data));
    }
}

std::optional<Bytes> SignalProcessor::dataFor(std::uint8_t group, std::uint8_t index, std::uint8_t command) {
    if (group != kReadGroup) {
        return Bytes();
    }
    if (command == 0x80 || command == 0x89) {
        reading = command == 0x80;
        return Bytes();
    }
    const bool isSpkSet = command == 0x85;
    const bool isMicSet = command == 0x87;
    const std::uint8_t sets = isSpkSet ? spkEqCount : (isMicSet ? micEqCount : std::uint8_t{1});
    if (!reading || (index >= sets && (answers != Answers::Count || !(isSpkSet || isMicSet)))) {
        refuse(reading ? "index" : "order");
        return std::nullopt;
    }
    const std::uint8_t lie = answers == Answers::Count ? std::uint8_t{255} : std::uint8_t{0};
    switch (command) {
    case 0x81:
        return records[static_cast<std::size_t>(ProcessorRecord::Adc)];
    case 0x82:
        return records[static_cast<std::size_t>(ProcessorRecord::Dac)];
    case 0x83:
        return records[static_cast<std::size_t>(ProcessorRecord::I2s)];
    case 0x84:
        return Bytes{static_cast<std::uint8_t>(spkEqCount | lie)};
    case 0x85:
        return equaliser(ProcessorRecord::SpkEq, index);
    case 0x86:
        return Bytes{static_cast<std::uint8_t>(micEqCount | lie)};
    case 0x87:
        return equaliser(ProcessorRecord::MicEq, index);
    default:
        return records[static_cast<std::size_t>(ProcessorRecord::Alg)];
    }
}

Bytes SignalProcessor::equaliser(ProcessorRecord record, std::uint8_t index) const {
    Bytes data = records[static_cast<std::size_t>(record)];
    if (!data.empty()) {
        data[0] = index;
    }
    return data;
}

void SignalProcessor::reply(std::uint8_t group, std::uint8_t command, Bytes data) {
    if (answers == Answers::Off) {
        return;
    }
    if (answers == Answers::Short) {
        data.resize(data.size() / 2);
    }
    Bytes record(kMagic.begin(), kMagic.end());
    record.insert(record.end(), {group, 0, static_cast<std::uint8_t>(command & 0x7FU)});
    appendU16(record,
              answers == Answers::Length ? std::uint16_t{0xFFFF} : static_cast<std::uint16_t>(data.size()));
    record.insert(record.end(), data.begin(), data.end());
    record[0] = answers == Answers::Magic ? std::uint8_t{0xAB} : record[0];
    record.push_back(balanceOf(record));
    if (answers == Answers::Checksum) {
        record.back() ^= 0xFFU;
    }
    BytesView rest = record;
    while (!rest.empty()) {
        const BytesView chunk = rest.first(std::min(rest.size(), kReplyChunk));
        rest = rest.subspan(chunk.size());
        Bytes report{kReportId, static_cast<std::uint8_t>(chunk.size())};
        report.insert(report.end(), chunk.begin(), chunk.end());
        report.resize(kReportSize, 0);
        send(std::move(report));
        if (answers == Answers::Broken) {
            return;
        }
        if (answers == Answers::Talk) {
            send(Bytes{kReportId, 3, 1, 2, 3});
        }
    }
}

} // namespace vexo::emulator
