#pragma once

// Watches what a thread does between beginRender() and endRender(): an allocation or release of memory, a
// lock outside of the allowed objects, or a system call other than those locks' own ends the process with a
// line that says which. It replaces the C library's functions in the program that it is linked into (Linux,
// without sanitizers): allocation, and the locks and waits of pthread and of POSIX semaphores. What is made
// of atomics alone (std::counting_semaphore, std::atomic::wait, a spin lock of one's own) it finds where that
// has to wait, at its system call, and not before.

#include <cstddef>
#include <cstdint>
#include <span>

namespace renderGuard {

/// The memory of an object whose mutexes may be locked in a render call.
struct AllowedObject {
    const void* address;
    std::size_t size;
};

/// Puts the calling thread under watch for the rest of its life: from here on it makes no system call but
/// those that are allowed in a render call, and leaves by finish(). At most 4 objects, alive to the end.
void watchThisThread(std::span<const AllowedObject> allowed);

void beginRender();
void endRender();

/// Locks in render calls that had to wait, so far.
[[nodiscard]] std::uint64_t contendedLocks();

/// Ends the process with status 0, after a line with the counts.
[[noreturn]] void finish();

/// Allocations of the calling thread so far.
[[nodiscard]] std::uint64_t allocationsOfThisThread();

/// The largest of them, in bytes.
[[nodiscard]] std::size_t largestAllocationOfThisThread();

} // namespace renderGuard
