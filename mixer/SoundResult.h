#pragma once

#include <cstdint>

/// Why the sound system did not do what it was asked for.
enum class SoundError {
    None,
    Refused, ///< the reason is known to the system alone
    NotSupported,
    OutOfMemory,
    NothingToStop,
    WrongDirection, ///< an input cannot play
    DeviceGone,
    NoServer
};

/// What a request to the sound system came to. An error is a result by itself.
struct SoundResult {
    constexpr SoundResult(SoundError reason = SoundError::None, std::uint32_t number = 0)
        : error(reason), systemNumber(number) {}

    SoundError error;
    /// The system's own number of the result; 0 where it has none.
    std::uint32_t systemNumber;

    bool operator==(const SoundResult&) const = default;
};

inline constexpr SoundResult kSoundDone{};

[[nodiscard]] constexpr bool failed(const SoundResult& result) {
    return result.error != SoundError::None;
}

/// The number by which the router's lines name a result: the system's own, else that of the error.
[[nodiscard]] std::uint32_t printedNumber(const SoundResult& result);
