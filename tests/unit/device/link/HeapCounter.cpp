#include "HeapCounter.h"

#include <cstdlib>
#include <new>

namespace {

int countSinceStart = 0;

} // namespace

// The names are those of the linker's --wrap.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t itemCount, std::size_t size);
void* __real_realloc(void* memory, std::size_t size);

void* __wrap_malloc(std::size_t size) {
    ++countSinceStart;
    return __real_malloc(size);
}

void* __wrap_calloc(std::size_t itemCount, std::size_t size) {
    ++countSinceStart;
    return __real_calloc(itemCount, size);
}

void* __wrap_realloc(void* memory, std::size_t size) {
    ++countSinceStart;
    return __real_realloc(memory, size);
}
}
// NOLINTEND(bugprone-reserved-identifier)

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++countSinceStart;
    return __real_malloc(size);
}

void* operator new(std::size_t size) {
    void* memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

HeapCounter::HeapCounter() : countAtStart(countSinceStart) {}

int HeapCounter::allocationCount() const {
    return countSinceStart - countAtStart;
}
