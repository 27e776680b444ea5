// The part that is the same on every system.
#include "emulator/LocalSocket.h"

#include <utility>

namespace vexo::emulator {

LocalSocket::LocalSocket(LocalSocket&& other) noexcept : handle(std::exchange(other.handle, -1)) {}

LocalSocket& LocalSocket::operator=(LocalSocket&& other) noexcept {
    if (this != &other) {
        close();
        handle = std::exchange(other.handle, -1);
    }
    return *this;
}

} // namespace vexo::emulator
