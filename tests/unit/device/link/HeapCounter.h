#pragma once

// Counts every way to the heap in this program: the allocation functions are wrapped by the linker
// (--wrap=malloc,calloc,realloc), and operator new is the program's own.
class HeapCounter {
public:
    HeapCounter();

    // Allocations since this counter was made. It is not made or read on two threads.
    [[nodiscard]] int allocationCount() const;

private:
    int countAtStart;
};
