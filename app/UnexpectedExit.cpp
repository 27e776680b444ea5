#include "app/UnexpectedExit.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace {

// Stays to the end of the process: exit() comes before or after the end of any static object.
std::function<void()>& rescueAtExit() {
    static auto* const rescue = new std::function<void()>;
    return *rescue;
}

void runRescue() {
    const std::function<void()> rescue = std::exchange(rescueAtExit(), nullptr);
    if (rescue == nullptr) {
        return;
    }
    rescue();
    std::fflush(nullptr);
    std::_Exit(EXIT_FAILURE);
}

} // namespace

UnexpectedExit::UnexpectedExit(std::function<void()> rescue) {
    static const int registered = std::atexit(runRescue);
    static_cast<void>(registered);
    rescueAtExit() = std::move(rescue);
}

UnexpectedExit::~UnexpectedExit() {
    rescueAtExit() = nullptr;
}
