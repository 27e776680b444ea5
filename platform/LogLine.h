#pragma once

// What of a line of the log may stand in a report that a user sends.

#include <algorithm>
#include <cstddef>
#include <string_view>

/// Stands in the place of what is left out.
inline constexpr std::string_view kLeftOut = "***";

namespace logLine {

/// The parts of one address behind its "://".
template <typename Use>
void readAddress(std::string_view address, Use& use) noexcept {
    const std::string_view authority = address.substr(0, address.find_first_of("/?#"));
    if (const std::size_t at = authority.rfind('@'); at != std::string_view::npos) {
        use(kLeftOut);
        address.remove_prefix(at);
    } else if (const std::size_t colon = authority.find(':'); colon != std::string_view::npos) {
        // A port, or the beginning of a password that is still being typed.
        use(authority.substr(0, colon + 1));
        use(kLeftOut);
        address.remove_prefix(authority.size());
    }
    const std::size_t query = address.find_first_of("?#");
    use(address.substr(0, query == std::string_view::npos ? query : query + 1));
    if (query != std::string_view::npos) {
        use(kLeftOut);
    }
}

} // namespace logLine

/// Calls `use` with one part of the line after the other. Of addresses ("scheme://...") the user's name and
/// password, the port, the query and the fragment are left out: they may hold secrets. Nothing is allocated;
/// any thread, and any handler.
template <typename Use>
void readWithoutSecrets(std::string_view line, Use&& use) noexcept {
    constexpr std::string_view kScheme = "://";
    for (std::size_t at = line.find(kScheme); at != std::string_view::npos; at = line.find(kScheme)) {
        use(line.substr(0, at + kScheme.size()));
        line.remove_prefix(at + kScheme.size());
        const std::size_t length = std::min(line.find_first_of(" \t\"'<>"), line.size());
        logLine::readAddress(line.substr(0, length), use);
        line.remove_prefix(length);
    }
    use(line);
}
