// How the address sanitizer runs in a fuzz target that has no options of its own. The usual long record of
// each allocation, 256 MB of freed memory that is not used again, and a stack frame on the heap for each call
// take most of the time of a small parser. The unit tests of the same code look for the use of such frames
// after the return.

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the sanitizer's own name
extern "C" const char* __asan_default_options();

// Not weak: the sanitizer has a weak one of its own, which the linker meets first.
extern "C" const char* __asan_default_options() {
    return "malloc_context_size=4:quarantine_size_mb=8:detect_stack_use_after_return=0";
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
