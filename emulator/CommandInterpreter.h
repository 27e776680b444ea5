// The command language: one line in, one JSON object out. docs/emulator.md lists every command.
//
// One thread, that of the bus.
#pragma once

#include "emulator/Arguments.h"
#include "emulator/Json.h"

namespace vexo::emulator {

// The longest time in a command.
inline constexpr std::uint64_t kLongestMs = 24ULL * 3600 * 1000;

class CommandInterpreter {
public:
    // A command that is answered when a condition holds.
    struct Wait {
        std::function<bool()> holds;
        std::uint64_t startedAtMs = 0;
        std::uint64_t timeoutMs = 0;
        // Named in the answer after a time-out.
        std::string condition;
    };

    struct Outcome {
        Json answer;
        // With a wait there is no answer yet.
        std::optional<Wait> wait;
        bool quit = false;
    };

    explicit CommandInterpreter(VirtualBus& virtualBus) : bus(virtualBus) {}

    // Executes one line and sends the frames that it made the devices produce.
    Outcome execute(std::string_view line);

    // The answer of a wait whose condition holds or that has timed out; nothing before.
    std::optional<Json> resolve(const Wait& wait) const;

    // The syntax of each command, in the order of the documentation.
    static std::vector<std::string_view> usages();

private:
    using Command = Json (CommandInterpreter::*)(Arguments& arguments);
    struct Entry {
        std::string_view name;
        std::string_view usage;
        Command command;
    };
    static std::span<const Entry> commands();

    // CommandInterpreter.cpp
    Json help(Arguments& arguments);
    Json devices(Arguments& arguments);
    Json plug(Arguments& arguments);
    Json unplug(Arguments& arguments);
    Json permission(Arguments& arguments);
    Json reset(Arguments& arguments);
    Json state(Arguments& arguments);
    Json quit(Arguments& arguments);
    Json dump(Arguments& arguments);
    Json writes(Arguments& arguments);
    Json reports(Arguments& arguments);
    Json clear(Arguments& arguments);
    Json wait(Arguments& arguments);
    Json fault(Arguments& arguments);
    Json faults(Arguments& arguments);
    Json seed(Arguments& arguments);

    // DeviceCommands.cpp
    Json set(Arguments& arguments);
    Json get(Arguments& arguments);
    Json press(Arguments& arguments);
    Json autoGain(Arguments& arguments);
    Json sendPrivate(Arguments& arguments);
    Json sendAttributeNotification(Arguments& arguments);
    Json sendFrame(Arguments& arguments);
    Json sendRaw(Arguments& arguments);
    Json deaf(Arguments& arguments);
    Json echo(Arguments& arguments);
    Json storm(Arguments& arguments);
    Json identity(Arguments& arguments);
    Json answer(Arguments& arguments);

    // UpgradeCommands.cpp
    Json upgrade(Arguments& arguments);
    Json upgradeAcknowledge(Arguments& arguments);
    Json upgradeRequest(Arguments& arguments);
    Json loader(Arguments& arguments);
    Json flash(Arguments& arguments);
    Json cut(Arguments& arguments);
    Json signalProcessor(Arguments& arguments);
    MicrophoneFlash& targetUpgrade();
    BootLoader& targetLoader();

    VirtualDevice& target() { return bus.device(device); }
    // If the next word is a device name, makes that device the target.
    void takeDevice(Arguments& arguments);
    // A condition on the target, with the words that belong to it.
    std::function<bool()> condition(Arguments& arguments, std::string_view name);
    // One that has no further words; empty for any other name.
    std::function<bool()> stateCondition(std::string_view name);
    Json describeAttribute(std::uint8_t id);
    std::uint8_t attributeOfTarget(Arguments& arguments);

    VirtualBus& bus;
    // Of the command in execution.
    std::size_t device = 0;
    Outcome outcome;
};

} // namespace vexo::emulator
