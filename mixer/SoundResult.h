#pragma once

#include <cstdint>

/// What a request to the sound system came to.
struct SoundResult {
    bool done = true;
    /// The number that the router's lines print, in hexadecimal: on Windows the system's own. A body for a
    /// system without such numbers answers with one of the constants below.
    std::uint32_t code = 0;

    bool operator==(const SoundResult&) const = default;
};

inline constexpr SoundResult kSoundDone{};
inline constexpr SoundResult kSoundFailed{false, 0x80004005}; ///< for no reason that has a number
inline constexpr SoundResult kSoundNotSupported{false, 0x80004001};
inline constexpr SoundResult kSoundOutOfMemory{false, 0x8007000E};
inline constexpr SoundResult kSoundNothingToStop{false, 0x8007139F};
inline constexpr SoundResult kSoundWrongDirection{false, 0x88890003}; ///< an input cannot play
inline constexpr SoundResult kSoundDeviceGone{false, 0x88890004};
inline constexpr SoundResult kSoundNoServer{false, 0x88890010};

[[nodiscard]] constexpr bool failed(const SoundResult& result) {
    return !result.done;
}
