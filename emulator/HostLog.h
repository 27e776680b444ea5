// What went over the wire since the last clear: frames and attribute writes of the host, reports of both
// sides. Keeps the last 100000 of each and counts what fell out.
#pragma once

#include "emulator/FaultPlan.h"
#include "emulator/LinkFrame.h"

#include <deque>
#include <map>

namespace vexo::emulator {

struct FrameRecord {
    std::uint64_t number = 0;
    std::uint64_t timeMs = 0;
    std::size_t device = 0;
    LinkFrame frame;
    // The payload put together, when the frame was the last piece of a fragmented message.
    std::optional<Bytes> whole;
};

struct WriteRecord {
    std::uint64_t number = 0;
    std::uint64_t timeMs = 0;
    std::size_t device = 0;
    std::uint8_t attribute = 0;
    Bytes value;
    std::uint8_t status = 0;
};

struct ReportRecord {
    std::uint64_t number = 0;
    std::uint64_t timeMs = 0;
    std::size_t device = 0;
    int interfaceNumber = 0;
    Direction direction = Direction::ToDevice;
    Bytes bytes;
    // A handle had no room for it.
    bool lost = false;
};

class HostLog {
public:
    void add(FrameRecord record);
    void add(WriteRecord record);
    void add(ReportRecord record);
    void clear();

    std::uint64_t framesWith(std::size_t device, std::uint16_t messageId) const;
    std::uint64_t writesOf(std::size_t device, std::uint8_t attribute) const;

    // Each in order, with the count of those that fell out.
    template <typename Record>
    struct List {
        std::deque<Record> records;
        std::uint64_t lost = 0;
    };
    const List<FrameRecord>& frames() const { return frameList; }
    const List<WriteRecord>& writes() const { return writeList; }
    const List<ReportRecord>& reports() const { return reportList; }

private:
    template <typename Record>
    void keep(List<Record>& list, Record&& record);

    std::uint64_t lastNumber = 0;
    List<FrameRecord> frameList;
    List<WriteRecord> writeList;
    List<ReportRecord> reportList;
    std::map<std::pair<std::size_t, std::uint16_t>, std::uint64_t> frameCounts;
    std::map<std::pair<std::size_t, std::uint8_t>, std::uint64_t> writeCounts;
};

} // namespace vexo::emulator
