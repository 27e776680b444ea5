#pragma once

// What all fuzz targets share: the fuzzer's bytes, taken piece by piece, and a check that ends the run.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

inline void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "not so: %s\n", what);
        std::abort();
    }
}

/// The fuzzer's bytes, zeros once they are used up.
class Input {
public:
    Input(const std::uint8_t* bytes, std::size_t size) : next(bytes), end(bytes + size) {}

    [[nodiscard]] bool isOver() const { return next == end; }
    [[nodiscard]] std::size_t left() const { return static_cast<std::size_t>(end - next); }
    std::uint8_t byte() { return isOver() ? 0 : *next++; }
    std::uint16_t word() {
        const std::uint8_t low = byte();
        return static_cast<std::uint16_t>(low | byte() << 8);
    }
    std::uint32_t number() {
        const std::uint32_t low = word();
        return low | std::uint32_t{word()} << 16;
    }
    std::vector<std::uint8_t> bytes(std::size_t count) {
        std::vector<std::uint8_t> taken(count);
        const std::size_t given = std::min(count, left());
        std::copy_n(next, given, taken.begin());
        next += given;
        return taken;
    }
    /// At most `limit` bytes, none of them made up.
    std::string text(std::size_t limit) {
        const std::size_t count = std::min(limit, left());
        const std::string taken(reinterpret_cast<const char*>(next), count);
        next += count;
        return taken;
    }
    std::string rest() { return text(left()); }
    /// Up to the next line's end, which is left out.
    std::string line() {
        const auto* const newline = std::find(next, end, std::uint8_t{'\n'});
        const std::string taken = text(static_cast<std::size_t>(newline - next));
        (void)byte();
        return taken;
    }

private:
    const std::uint8_t* next;
    const std::uint8_t* end;
};

} // namespace fuzz
