#include "emulator/Arguments.h"

#include <charconv>
#include <cstdlib>

namespace vexo::emulator {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::optional<std::uint64_t> parseNumber(std::string_view text) {
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    const std::string_view digits = hexadecimal ? text.substr(2) : text;
    std::uint64_t value = 0;
    const char* const begin = digits.data();
    const char* const end = begin + digits.size();
    const auto [stop, error] = std::from_chars(begin, end, value, hexadecimal ? 16 : 10);
    if (digits.empty() || error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return value;
}

// The bytes that one word means, or nothing.
std::optional<Bytes> parseValue(std::string_view word) {
    constexpr std::string_view kHex = "hex:";
    if (word.starts_with(kHex)) {
        return fromHex(word.substr(kHex.size()));
    }
    if (word.starts_with('#')) {
        const std::optional<Bytes> colour = fromHex(word.substr(1));
        if (!colour || colour->size() != 3) {
            return std::nullopt;
        }
        return Bytes{(*colour)[2], (*colour)[1], (*colour)[0], 0};
    }
    const bool negative = word.starts_with('-');
    const std::optional<std::uint64_t> number = parseNumber(negative ? word.substr(1) : word);
    if (!number || *number > (negative ? 128U : 255U)) {
        return std::nullopt;
    }
    return Bytes{static_cast<std::uint8_t>(negative ? 256U - *number : *number)};
}

std::string quoted(std::string_view word) {
    return "\"" + std::string(word) + "\"";
}

} // namespace

Arguments::Arguments(std::string_view commandLine) {
    std::size_t begin = commandLine.find_first_not_of(kBlanks);
    while (begin != std::string_view::npos) {
        const std::size_t end = commandLine.find_first_of(kBlanks, begin);
        words.push_back(commandLine.substr(begin, end == std::string_view::npos ? end : end - begin));
        begin = commandLine.find_first_not_of(kBlanks, end);
    }
}

std::string_view Arguments::word(std::string_view what) {
    if (atEnd()) {
        throw CommandError(std::string(what) + " is missing");
    }
    return words[next++];
}

std::uint64_t Arguments::number(std::string_view what, std::uint64_t lowest, std::uint64_t highest) {
    const std::string_view text = word(what);
    const std::optional<std::uint64_t> value = parseNumber(text);
    if (!value || *value < lowest || *value > highest) {
        throw CommandError(std::string(what) + " must be a number from " + std::to_string(lowest) + " to " +
                           std::to_string(highest) + ", not " + quoted(text));
    }
    return *value;
}

double Arguments::probability(std::string_view what) {
    const std::string text(word(what));
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    // Written so that a value that is not a number is refused too.
    if (end != text.c_str() + text.size() || !(value >= 0 && value <= 1)) {
        throw CommandError(std::string(what) + " must be a number from 0 to 1, not " + quoted(text));
    }
    return value;
}

std::uint8_t Arguments::attribute() {
    const std::string_view text = word("ATTR");
    if (const std::optional<std::uint64_t> number = parseNumber(text); number && *number <= 255) {
        return static_cast<std::uint8_t>(*number);
    }
    const std::optional<std::uint8_t> named = attributeByName(text);
    if (!named) {
        throw CommandError("there is no attribute " + quoted(text));
    }
    return *named;
}

Bytes Arguments::values(std::size_t keptWords) {
    Bytes bytes;
    while (wordsLeft() > keptWords) {
        const std::string_view text = words[next++];
        const std::optional<Bytes> value = parseValue(text);
        if (!value) {
            throw CommandError(quoted(text) +
                               " is no byte value: write -128 to 255, 0x00 to 0xFF, hex:... or #RRGGBB");
        }
        bytes.insert(bytes.end(), value->begin(), value->end());
    }
    return bytes;
}

std::string Arguments::text() {
    std::string joined;
    while (!atEnd()) {
        joined += joined.empty() ? "" : " ";
        joined += words[next++];
    }
    return joined;
}

bool Arguments::lastIsOn() {
    const std::string_view last = word("on or off");
    expectEnd();
    if (last != "on" && last != "off") {
        throw CommandError("the last word must be on or off");
    }
    return last == "on";
}

void Arguments::expectEnd() const {
    if (!atEnd()) {
        throw CommandError(quoted(words[next]) + " is one word too many");
    }
}

} // namespace vexo::emulator
