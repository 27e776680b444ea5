#include "mixer/SoundResult.h"

namespace {

// The lines are the same on every system: where one has no numbers, an error has the one of Windows.
std::uint32_t numberOf(SoundError error) {
    switch (error) {
    case SoundError::None:
        return 0;
    case SoundError::Refused:
        return 0x80004005;
    case SoundError::NotSupported:
        return 0x80004001;
    case SoundError::OutOfMemory:
        return 0x8007000E;
    case SoundError::NothingToStop:
        return 0x8007139F;
    case SoundError::WrongDirection:
        return 0x88890003;
    case SoundError::DeviceGone:
        return 0x88890004;
    case SoundError::NoServer:
        return 0x88890010;
    }
    return 0;
}

} // namespace

std::uint32_t printedNumber(const SoundResult& result) {
    return result.systemNumber != 0 ? result.systemNumber : numberOf(result.error);
}
