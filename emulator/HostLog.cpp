#include "emulator/HostLog.h"

#include <utility>

namespace vexo::emulator {
namespace {

constexpr std::size_t kKeptRecords = 100000;

template <typename Key>
std::uint64_t countOf(const std::map<Key, std::uint64_t>& counts, const Key& key) {
    const auto found = counts.find(key);
    return found == counts.end() ? 0 : found->second;
}

} // namespace

template <typename Record>
void HostLog::keep(List<Record>& list, Record&& record) {
    record.number = ++lastNumber;
    list.records.push_back(std::forward<Record>(record));
    if (list.records.size() > kKeptRecords) {
        list.records.pop_front();
        ++list.lost;
    }
}

void HostLog::add(FrameRecord record) {
    ++frameCounts[{record.device, record.frame.messageId}];
    keep(frameList, std::move(record));
}

void HostLog::add(WriteRecord record) {
    ++writeCounts[{record.device, record.attribute}];
    keep(writeList, std::move(record));
}

void HostLog::add(ReportRecord record) {
    keep(reportList, std::move(record));
}

void HostLog::clear() {
    frameList = {};
    writeList = {};
    reportList = {};
    frameCounts.clear();
    writeCounts.clear();
}

std::uint64_t HostLog::framesWith(std::size_t device, std::uint16_t messageId) const {
    return countOf(frameCounts, {device, messageId});
}

std::uint64_t HostLog::writesOf(std::size_t device, std::uint8_t attribute) const {
    return countOf(writeCounts, {device, attribute});
}

} // namespace vexo::emulator
