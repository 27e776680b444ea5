// The mixer's signal processor: answers the commands that read and set its parameters.
//
// A command report is id 1, length, AA "SNDC", then group, index, command, 0, parameter count, parameters,
// and a checksum: from the AA on all bytes add up to 0 modulo 256. A reply begins with AA "SNDC", group, 0,
// the command without its top bit, data length u16, data, checksum; reports of id 1, length and up to 62
// bytes carry it.
#pragma once

#include "emulator/Bytes.h"

#include <array>
#include <functional>
#include <map>

namespace vexo::emulator {

enum class ProcessorRecord { Adc, Dac, I2s, SpkEq, MicEq, Alg };
inline constexpr std::size_t kProcessorRecords = 6;

class SignalProcessor {
public:
    enum class Answers { Right, Off, Checksum, Length, Short, Magic, Broken, Talk, Count };

    explicit SignalProcessor(std::function<void(Bytes report)> replyFunction);

    // Whether a report from the host is for the signal processor.
    static bool isCommand(BytesView report);
    void powerOff() { reading = false; }
    // A report from the host, report id first.
    void receive(BytesView report);

    // The data of a record; sets of an equaliser have it in common but for their first byte, their number.
    void setRecord(ProcessorRecord record, Bytes data) {
        records[static_cast<std::size_t>(record)] = std::move(data);
    }

    std::uint64_t answeredCommands() const { return answered; }
    const std::map<std::string_view, std::uint64_t>& refusals() const { return refused; }

    Answers answers = Answers::Right;
    std::uint8_t spkEqCount = 2;
    std::uint8_t micEqCount = 1;

private:
    void execute(BytesView command);
    // The data of the reply; nothing when the command is refused.
    std::optional<Bytes> dataFor(std::uint8_t group, std::uint8_t index, std::uint8_t command);
    Bytes equaliser(ProcessorRecord record, std::uint8_t index) const;
    void reply(std::uint8_t group, std::uint8_t command, Bytes data);
    void refuse(std::string_view reason) { ++refused[reason]; }

    std::function<void(Bytes report)> send;
    std::array<Bytes, kProcessorRecords> records;
    // Between the commands that begin and end the reading of records.
    bool reading = false;
    std::uint64_t answered = 0;
    std::map<std::string_view, std::uint64_t> refused;
};

std::optional<ProcessorRecord> processorRecordByWord(std::string_view word);
std::size_t recordSize(ProcessorRecord record);
// How many parameter bytes a command has; nothing for one that the processor does not know.
std::optional<std::size_t> parametersOf(std::uint8_t group, std::uint8_t command);

} // namespace vexo::emulator
