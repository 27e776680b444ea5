#pragma once

// Denormal numbers (below the smallest normal float) cost an x86 processor some hundred cycles each, and
// fading sound is full of them. While this object lives they count as 0.0 on its thread, as inputs and as
// results; its destructor restores the mode. On other processors the object does nothing.
//
// The compiler does not know of the mode and may move calculations across its change. So they must lie in
// called functions, or behind a lock, while the object lives.

#if defined(__SSE2__)
#include <xmmintrin.h>

class DenormalsAreZero {
public:
    DenormalsAreZero() : before(_mm_getcsr()) { _mm_setcsr(before | kFlushToZero | kDenormalsAreZero); }
    ~DenormalsAreZero() { _mm_setcsr(before); }
    DenormalsAreZero(const DenormalsAreZero&) = delete;
    DenormalsAreZero& operator=(const DenormalsAreZero&) = delete;

private:
    // Bits of the control and status register.
    static constexpr unsigned kFlushToZero = 0x8000;
    static constexpr unsigned kDenormalsAreZero = 0x0040;

    unsigned before;
};
#else
struct DenormalsAreZero {
    DenormalsAreZero() {} // not trivial, so that an object of it is not unused
};
#endif
