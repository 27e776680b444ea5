#include "dsp/frames/RecordAssembly.h"

#include "dsp/frames/ControlFrame.h"

#include <algorithm>
#include <new>

namespace vexo::dsp {

namespace {

/// Header and checksum around a record's data.
constexpr std::size_t kFrameBytes = 11;
constexpr std::size_t kHeaderBytes = 10;

} // namespace

RecordAssembly::Result RecordAssembly::feed(std::optional<Bytes> payload) {
    if (!payload) {
        return Result::NoReport;
    }
    if (have == 0) {
        if (payload->size() <= kHeaderBytes || !std::equal(kMagic.begin(), kMagic.end(), payload->begin())) {
            return Result::Skipped;
        }
        const std::size_t total = (*payload)[8] + 256U * (*payload)[9] + kFrameBytes;
        if (total <= kFrameBytes) {
            return Result::Skipped;
        }
        try {
            buffer.assign(total, 0);
        } catch (const std::bad_alloc&) {
            return Result::OutOfMemory;
        }
    }
    const std::size_t count = std::min(payload->size(), buffer.size() - have);
    std::copy_n(payload->begin(), count, buffer.begin() + static_cast<std::ptrdiff_t>(have));
    have += count;
    return complete() ? Result::Completed : Result::Taken;
}

} // namespace vexo::dsp
