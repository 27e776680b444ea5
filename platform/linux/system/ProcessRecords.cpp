#include "platform/linux/system/ProcessRecords.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <system_error>

namespace {

// What the kernel puts behind the path of an image that was replaced while it ran.
constexpr std::string_view kDeletedMark = " (deleted)";
constexpr std::string_view kBlanks = " \t\n";

// Takes the next word; empty at the end.
std::string_view takeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

// Takes the next line, without its end; the text is not empty.
std::string_view takeLine(std::string_view& text) {
    const std::string_view line = firstLineIn(text);
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

// The word of this place behind "pid (name) ", where the state is the first; the name may hold anything.
std::string_view wordBehindName(std::string_view stat, int place) {
    const std::size_t end = stat.rfind(')');
    std::string_view rest = end != std::string_view::npos ? stat.substr(end + 1) : std::string_view();
    for (int word = 1; word < place; ++word) {
        (void)takeWord(rest);
    }
    return takeWord(rest);
}

} // namespace

std::optional<std::uint32_t> processNumber(std::string_view text) {
    return numberIn<std::uint32_t>(text);
}

std::optional<std::uint32_t> parentIn(std::string_view stat) {
    const std::optional<std::uint32_t> parent = processNumber(wordBehindName(stat, 2));
    return parent && *parent != 0 ? parent : std::nullopt;
}

std::uint64_t startTimeIn(std::string_view stat) {
    constexpr int kPlace = 20; // the state is the third word of the line, the start the twenty-second
    return numberIn<std::uint64_t>(wordBehindName(stat, kPlace))
        .value_or(std::numeric_limits<std::uint64_t>::max());
}

std::vector<std::uint32_t> namespaceIdsIn(std::string_view status) {
    constexpr std::string_view kMark = "NSpid:";
    while (!status.empty()) {
        std::string_view line = takeLine(status);
        if (!line.starts_with(kMark)) {
            continue;
        }
        line.remove_prefix(kMark.size());
        std::vector<std::uint32_t> ids;
        while (const std::optional<std::uint32_t> id = processNumber(takeWord(line))) {
            ids.push_back(*id);
        }
        return ids;
    }
    return {};
}

std::string_view imagePathIn(std::string_view target) {
    if (target.ends_with(kDeletedMark)) {
        target.remove_suffix(kDeletedMark.size());
    }
    return target;
}

std::string_view firstLineIn(std::string_view record) {
    return record.substr(0, record.find('\n'));
}

std::string_view flatpakApplicationIn(std::string_view info) {
    constexpr std::string_view kKey = "name=";
    bool inSection = false;
    while (!info.empty()) {
        const std::string_view line = takeLine(info);
        if (line.starts_with('[')) {
            inSection = line == "[Application]";
        } else if (inSection && line.starts_with(kKey)) {
            return line.substr(kKey.size());
        }
    }
    return {};
}

std::string_view mountIn(std::string_view fdinfo) {
    while (true) {
        const std::string_view word = takeWord(fdinfo);
        if (word.empty() || word == "mnt_id:") {
            return takeWord(fdinfo);
        }
    }
}

std::string_view kindOfMountIn(std::string_view mountinfo, std::string_view mount) {
    constexpr std::string_view kMark = " - "; // before the kind
    while (!mountinfo.empty()) {
        const std::string_view whole = takeLine(mountinfo);
        std::string_view line = whole;
        const std::size_t mark = line.find(kMark);
        if (mark != std::string_view::npos && !mount.empty() && takeWord(line) == mount) {
            const std::string_view kind = whole.substr(mark + kMark.size());
            return kind.substr(0, kind.find(' '));
        }
    }
    return {};
}
