#include "device/link/LinkPool.h"

#include "device/link/Link.h"

#include <algorithm>

namespace vexo::link {

namespace {

void reset(Pool& pool) {
    pool.usedRecords = 0;
    ++pool.generation;
}

// Calls `visit(index, record, gapStart)` for each record in use, with the end of the record before it. False
// when the records are corrupt: each must lie behind the one before it and inside the pool.
template <typename Visitor>
bool visitRecords(const Pool& pool, Visitor&& visit) {
    if (pool.usedRecords > kPoolRecordCount) {
        return false;
    }
    std::uint32_t end = 0;
    for (std::uint32_t index = 0; index < pool.usedRecords; ++index) {
        const PoolRecord record = pool.records[index];
        if (record.offset < end || record.offset > kPoolByteCount || record.byteCount == 0 ||
            record.byteCount > kPoolByteCount - record.offset) {
            return false;
        }
        visit(index, record, end);
        end = record.offset + record.byteCount;
    }
    return true;
}

} // namespace

PoolBlock poolTake(Pool& pool, std::uint32_t byteCount) {
    PoolBlock block;
    // The place of the new block: the first gap that is wide enough, else behind the last record.
    std::uint32_t place = kPoolRecordCount;
    std::uint32_t offset = 0;
    const bool isSound =
        visitRecords(pool, [&](std::uint32_t index, const PoolRecord& record, std::uint32_t gapStart) {
            if (place == kPoolRecordCount && record.offset - gapStart >= byteCount) {
                place = index;
                offset = gapStart;
            }
        });
    if (!isSound) {
        reset(pool);
        block.error = kLinkErrorPoolCorrupt;
        place = kPoolRecordCount;
    }
    if (place == kPoolRecordCount) {
        place = pool.usedRecords;
        offset = place == 0 ? 0 : pool.records[place - 1].offset + pool.records[place - 1].byteCount;
    }
    if (pool.usedRecords == kPoolRecordCount || byteCount > kPoolByteCount - offset) {
        block.error = kLinkErrorOutOfMemory;
        return block;
    }
    std::copy_backward(pool.records.begin() + place, pool.records.begin() + pool.usedRecords,
                       pool.records.begin() + pool.usedRecords + 1);
    pool.records[place] = {offset, byteCount};
    ++pool.usedRecords;
    block.bytes = pool.bytes.data() + offset;
    return block;
}

int poolRelease(Pool& pool, const std::uint8_t* block) {
    std::uint32_t place = kPoolRecordCount;
    const bool isSound =
        visitRecords(pool, [&](std::uint32_t index, const PoolRecord& record, std::uint32_t) {
            if (pool.bytes.data() + record.offset == block) {
                place = index;
            }
        });
    if (!isSound || place == kPoolRecordCount) {
        reset(pool);
        return isSound ? kLinkErrorUnknownBlock : kLinkErrorPoolCorrupt;
    }
    std::copy(pool.records.begin() + place + 1, pool.records.begin() + pool.usedRecords,
              pool.records.begin() + place);
    --pool.usedRecords;
    return 0;
}

void poolClear(Pool& pool) {
    pool.usedRecords = 0;
    pool.generation = 0;
}

std::uint32_t poolBytesInUse(const Pool& pool) {
    std::uint32_t byteCount = 0;
    for (std::uint32_t index = 0; index < pool.usedRecords && index < kPoolRecordCount; ++index) {
        byteCount += pool.records[index].byteCount;
    }
    return byteCount;
}

} // namespace vexo::link
