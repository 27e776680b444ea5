#pragma once

#include "emulator/VirtualBus.h"

#include <functional>
#include <span>

/// Emulated devices in the test's own process: a program that links this file sees them through hidapi. One
/// bus in a process. Every operation may be called on any thread.
///
/// The devices' clock runs with the machine's, `speed` times as fast, whenever hidapi or the test calls.
namespace emulatedBus {

/// A new bus with these devices, unplugged. No handle may be in use.
void start(std::span<const vexo::emulator::Model> models, std::uint64_t seed = 1, std::uint64_t speed = 1);

/// Calls with the bus, brought up to the present. What its devices say meanwhile is sent.
void with(const std::function<void(vexo::emulator::VirtualBus& bus)>& act);
/// Sets the devices' clock forward.
void skip(std::uint64_t milliseconds);

/// Handles that are open now, and calls of hid_init and hid_exit.
[[nodiscard]] int openHandles();
[[nodiscard]] int initCalls();
[[nodiscard]] int exitCalls();

} // namespace emulatedBus
