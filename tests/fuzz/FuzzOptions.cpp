// How the address sanitizer runs in a fuzz target, unless the target says it itself. The usual long record of
// each allocation, 256 MB of freed memory that is not used again, and a stack frame on the heap for each call
// take most of the time of a small parser. The unit tests of the same code look for the use of such frames
// after the return.

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the sanitizer's own name
extern "C" __attribute__((weak)) const char* __asan_default_options();

extern "C" __attribute__((weak)) const char* __asan_default_options() {
    return "malloc_context_size=4:quarantine_size_mb=8:detect_stack_use_after_return=0";
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
