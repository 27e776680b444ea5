// The words of one command line, taken in order. A missing or wrong word throws a CommandError with a
// sentence for the person or script that wrote it.
#pragma once

#include "emulator/Attributes.h"

#include <stdexcept>

namespace vexo::emulator {

class CommandError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

class Arguments {
public:
    explicit Arguments(std::string_view commandLine);

    bool atEnd() const { return next == words.size(); }
    std::size_t wordsLeft() const { return words.size() - next; }
    // The next word, which stays; empty at the end.
    std::string_view peek() const { return atEnd() ? std::string_view() : words[next]; }

    // The parameter says what the word stands for, as in "STEP".
    std::string_view word(std::string_view what);
    // Decimal, or hexadecimal after 0x.
    std::uint64_t number(std::string_view what, std::uint64_t lowest, std::uint64_t highest);
    // 0 to 1.
    double probability(std::string_view what);
    // An attribute's number or name.
    std::uint8_t attribute();
    // All further words but the last keptWords as bytes: 15, 0x0F, -5, hex:00FF12, #RRGGBB.
    Bytes values(std::size_t keptWords = 0);
    // All further words with single blanks between them.
    std::string text();
    // The last word, on or off.
    bool lastIsOn();
    void expectEnd() const;

private:
    std::vector<std::string_view> words;
    std::size_t next = 0;
};

} // namespace vexo::emulator
