// Takes the place of the language's own allocation functions. In a file of its own, so that the compiler does
// not look through them where they are used.

#include "tests/windows/ScriptedAudio.h"

#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {
thread_local std::uint64_t allocationCount = 0;
}

// Each form by itself: those of the language's DLL would not come by here.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++allocationCount;
    return std::malloc(size == 0 ? 1 : size);
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    ++allocationCount;
    return _aligned_malloc(size == 0 ? 1 : size, static_cast<std::size_t>(alignment));
}

void* operator new(std::size_t size) {
    if (void* const memory = operator new(size, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    if (void* const memory = operator new(size, alignment, std::nothrow)) {
        return memory;
    }
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
}

void* operator new[](std::size_t size, const std::nothrow_t& none) noexcept {
    return operator new(size, none);
}

void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t& none) noexcept {
    return operator new(size, alignment, none);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t) noexcept {
    _aligned_free(memory);
}

void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    _aligned_free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::align_val_t) noexcept {
    _aligned_free(memory);
}

void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    _aligned_free(memory);
}

std::uint64_t allocationsOfThisThread() {
    return allocationCount;
}
