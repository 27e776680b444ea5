#include "platform/linux/crash/ReportText.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";

} // namespace

ReportText::ReportText(int descriptor) noexcept
    : file(descriptor < 0 ? STDERR_FILENO : descriptor), isWhole(descriptor >= 0) {}

ReportText& ReportText::operator<<(std::string_view text) noexcept {
    while (!text.empty()) {
        if (used == buffer.size()) {
            flush();
        }
        const std::size_t count = std::min(text.size(), buffer.size() - used);
        std::memcpy(buffer.data() + used, text.data(), count);
        used += count;
        text.remove_prefix(count);
    }
    return *this;
}

ReportText& ReportText::decimal(std::int64_t number, int leastDigits) noexcept {
    std::array<char, 24> text;
    std::size_t at = text.size();
    const bool isNegative = number < 0;
    std::uint64_t rest =
        isNegative ? -static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number);
    for (int digits = 0; rest > 0 || digits < leastDigits; ++digits, rest /= 10) {
        text[--at] = kDigits[rest % 10];
    }
    if (isNegative) {
        text[--at] = '-';
    }
    return *this << std::string_view(text.data() + at, text.size() - at);
}

ReportText& ReportText::hexadecimal(std::uint64_t number) noexcept {
    std::array<char, 16> text;
    std::size_t at = text.size();
    do {
        text[--at] = kDigits[number & 15U];
        number >>= 4U;
    } while (number > 0);
    return *this << "0x" << std::string_view(text.data() + at, text.size() - at);
}

ReportText& ReportText::bytes(const unsigned char* data, std::size_t size) noexcept {
    for (std::size_t at = 0; at < size; ++at) {
        const std::array<char, 2> digits{kDigits[data[at] >> 4U], kDigits[data[at] & 15U]};
        *this << std::string_view(digits.data(), digits.size());
    }
    return *this;
}

ReportText& ReportText::time(std::int64_t secondsSince1970) noexcept {
    const std::chrono::sys_seconds moment{std::chrono::seconds(secondsSince1970)};
    const auto day = std::chrono::floor<std::chrono::days>(moment);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(moment - day);
    decimal(static_cast<int>(date.year()), 4) << "-";
    decimal(static_cast<unsigned>(date.month()), 2) << "-";
    decimal(static_cast<unsigned>(date.day()), 2) << " ";
    decimal(clock.hours().count(), 2) << ":";
    decimal(clock.minutes().count(), 2) << ":";
    return decimal(clock.seconds().count(), 2);
}

bool ReportText::flush() noexcept {
    const std::string_view text(buffer.data(), used);
    std::size_t done = 0;
    if (!writeTo(file, text, done) && file != STDERR_FILENO) {
        file = STDERR_FILENO;
        isWhole = false;
        writeTo(file, text, done);
    }
    used = 0;
    return isWhole;
}

bool ReportText::writeTo(int descriptor, std::string_view text, std::size_t& done) const noexcept {
    while (done < text.size()) {
        pollfd watched{descriptor, POLLOUT, 0};
        // What is ready takes at least as much as the buffer holds.
        if (poll(&watched, 1, 0) != 1 || (watched.revents & POLLOUT) == 0) {
            return false;
        }
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}
