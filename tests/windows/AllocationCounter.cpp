// Takes the place of the language's own allocation functions. In a file of its own, so that the compiler does
// not look through them where they are used.

#include "tests/windows/ScriptedAudio.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::uint64_t allocationCount = 0;
}

void* operator new(std::size_t size) {
    ++allocationCount;
    if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

std::uint64_t allocationsOfThisThread() {
    return allocationCount;
}
