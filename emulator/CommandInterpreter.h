// The command language: one line in, one JSON object out. docs/emulator.md tells every command.
//
// One thread, that of the bus.
#pragma once

#include "emulator/Arguments.h"
#include "emulator/Json.h"

namespace vexo::emulator {

// Times in commands are never longer.
inline constexpr std::uint64_t kLongestMs = 24ULL * 3600 * 1000;

class CommandInterpreter {
public:
    // A command whose answer comes when a condition holds.
    struct Wait {
        std::function<bool()> holds;
        std::uint64_t startedAtMs = 0;
        std::uint64_t timeoutMs = 0;
        // What is waited for, for the sentence after a time-out.
        std::string condition;
    };

    struct Outcome {
        Json answer;
        // With a wait there is no answer yet.
        std::optional<Wait> wait;
        bool quit = false;
    };

    explicit CommandInterpreter(VirtualBus& virtualBus) : bus(virtualBus) {}

    // Carries out one line, and sends off what it made the devices say.
    Outcome execute(std::string_view line);

    // The answer of a wait that holds or has timed out; nothing while it goes on.
    std::optional<Json> resolve(const Wait& wait) const;

    // How each command is written, in the order of the documentation.
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
    Json storm(Arguments& arguments);
    Json identity(Arguments& arguments);
    Json answer(Arguments& arguments);

    VirtualDevice& target() { return bus.device(device); }
    // A device name as the next word makes that the target.
    void takeDevice(Arguments& arguments);
    std::function<bool()> condition(Arguments& arguments, std::string_view name);
    Json describeAttribute(std::uint8_t id);
    std::uint8_t attributeOfTarget(Arguments& arguments);

    VirtualBus& bus;
    // Of the command that is carried out.
    std::size_t device = 0;
    Outcome outcome;
};

} // namespace vexo::emulator
