#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

/// Text on its way to a file, put together without the C library: for signal handlers. Never waits for a pipe
/// or terminal that takes nothing. What the file does not take goes to the standard error.
class ReportText {
public:
    /// Takes an open descriptor; a negative one stands for the standard error.
    explicit ReportText(int descriptor) noexcept;

    ReportText& operator<<(std::string_view text) noexcept;
    ReportText& decimal(std::int64_t number, int leastDigits = 1) noexcept;
    ReportText& hexadecimal(std::uint64_t number) noexcept;
    /// Bytes as two hexadecimal digits each.
    ReportText& bytes(const unsigned char* data, std::size_t size) noexcept;
    /// Date and time in UTC, as 2026-01-31 23:59:59.
    ReportText& time(std::int64_t secondsSince1970) noexcept;

    /// Writes what has been put together. False once something had to go to the standard error.
    bool flush() noexcept;

private:
    bool writeTo(int descriptor, std::string_view text, std::size_t& done) const noexcept;

    int file;
    bool isWhole;
    std::size_t used = 0;
    std::array<char, 4096> buffer;
};
