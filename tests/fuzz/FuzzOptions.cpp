// How the address sanitizer runs in a fuzz target, unless the target says it itself. The usual long record of
// each allocation, and 256 MB of freed memory that is not used again, take most of the time of a small
// parser.

// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming): the sanitizer's own name
extern "C" __attribute__((weak)) const char* __asan_default_options();

extern "C" __attribute__((weak)) const char* __asan_default_options() {
    return "malloc_context_size=4:quarantine_size_mb=8";
}
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)
