#pragma once

#include "dsp/frames/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace vexo::dsp {

/// Puts a record together that comes over several reports. A record is magic, group, a zero byte, command,
/// data length in two bytes, data from offset 10, checksum. Any thread, one at a time.
class RecordAssembly {
public:
    enum class Result { NoReport, Skipped, OutOfMemory, Taken, Completed };

    /// Takes a report's payload. What is longer than the rest of the record is cut; what begins no record is
    /// skipped.
    Result feed(std::optional<Bytes> payload);
    [[nodiscard]] bool complete() const { return !buffer.empty() && have == buffer.size(); }
    /// The whole record, zeros where no report has come yet.
    [[nodiscard]] Bytes record() const { return buffer; }
    [[nodiscard]] std::size_t total() const { return buffer.size(); }
    [[nodiscard]] std::size_t collected() const { return have; }

private:
    Report buffer;
    std::size_t have = 0;
};

} // namespace vexo::dsp
