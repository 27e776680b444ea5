#pragma once

// The private memory of the link stack: one fixed array of bytes, allocated first fit, with a table of
// records in the order of their offsets. Exhaustion and damage are results, never crashes. Single-threaded.

#include <array>
#include <cstdint>

namespace vexo::link {

inline constexpr std::uint32_t kPoolByteCount = 300000;
inline constexpr std::uint32_t kPoolRecordCount = 210;

// A block that is in use.
struct PoolRecord {
    std::uint32_t offset = 0;
    std::uint32_t byteCount = 0;
};

struct Pool {
    std::uint32_t usedRecords = 0;
    // Raised by each reset: a block of an earlier generation no longer belongs to its holder.
    std::uint32_t generation = 0;
    std::array<PoolRecord, kPoolRecordCount> records{};
    std::array<std::uint8_t, kPoolByteCount> bytes{};
};

struct PoolBlock {
    std::uint8_t* bytes = nullptr; // null with error 12
    int error = 0; // 0; 11 when the records were corrupt (the block is from the reset pool); 12
};

// Takes `byteCount` bytes (at least 1) with undefined content.
[[nodiscard]] PoolBlock poolTake(Pool& pool, std::uint32_t byteCount);

// Releases a block. Returns 0; 11 when the records are corrupt; 13 when `block` is not the start of a block
// in use. With 11 and 13 the pool was reset.
[[nodiscard]] int poolRelease(Pool& pool, const std::uint8_t* block);

// Makes the pool as new. Its bytes keep their content: they have none before they are taken.
void poolClear(Pool& pool);

[[nodiscard]] std::uint32_t poolBytesInUse(const Pool& pool);

} // namespace vexo::link
