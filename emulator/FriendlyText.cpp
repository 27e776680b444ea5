#include "emulator/FriendlyText.h"

namespace vexo::emulator {
namespace {

std::string plain(const Json& value) {
    return value.is_string() ? value.get<std::string>() : toLine(value);
}

// An object's members on one line: device r2, plugged true.
std::string oneLine(const Json& object) {
    if (!object.is_object()) {
        return plain(object);
    }
    std::string line;
    for (const auto& [name, value] : object.items()) {
        line += (line.empty() ? "" : ", ") + name + " " + plain(value);
    }
    return line;
}

void appendMember(std::string& text, const std::string& name, const Json& value) {
    if (value.is_array()) {
        text += "  " + name + (value.empty() ? ": none\n" : ":\n");
        for (const Json& each : value) {
            text += "    " + oneLine(each) + "\n";
        }
    } else if (value.is_object()) {
        text += "  " + name + ":\n";
        for (const auto& [key, member] : value.items()) {
            text += "    " + key + ": " + oneLine(member) + "\n";
        }
    } else {
        text += "  " + name + ": " + plain(value) + "\n";
    }
}

// Commands that this device takes as it stands.
std::string examplesFor(const VirtualBus& bus, std::size_t device) {
    std::string text = bus.isPlugged(device) ? "Try " : "Try \"plug\", ";
    switch (bus.device(device).usbModel()) {
    case Model::MixdeskR2:
        text += "\"set mic_gain 20\", \"press\", ";
        break;
    case Model::VoxmicM40:
    case Model::VoxmicT40:
        text += "\"set mic_gain 12\", \"set mute 1\", ";
        break;
    case Model::MixdeskR2Bootloader:
        break;
    }
    return text + "\"unplug\"";
}

} // namespace

std::string friendlyText(std::string_view command, const Json& answer) {
    if (!answer.value("ok", false)) {
        std::string text = "Not done: " + answer.value("error", "") + ".\n";
        if (answer.contains("usage")) {
            text += "Write it so: " + answer.value("usage", "") + "\n";
        }
        return text;
    }
    if (command.starts_with("help")) {
        std::string text = "Commands (\"on DEVICE\" in front chooses the device):\n";
        for (const Json& usage : answer.at("commands")) {
            text += "  " + plain(usage) + "\n";
        }
        return text;
    }
    std::string text = "Done.\n";
    for (const auto& [name, value] : answer.items()) {
        if (name != "ok") {
            appendMember(text, name, value);
        }
    }
    return text;
}

std::string friendlyWelcome(const VirtualBus& bus, const std::string& socketPath) {
    std::string text = "This is the Vexo emulator. Its devices are:\n";
    for (std::size_t i = 0; i < bus.deviceCount(); ++i) {
        text += "  " + bus.deviceName(i) + ", a " +
                std::string(modelInfo(bus.device(i).usbModel()).productName) +
                (bus.isPlugged(i) ? ", plugged in\n" : ", not plugged in\n");
    }
    text += "Programs find them at " + socketPath + ".\n";
    text += examplesFor(bus, 0) + "; \"help\" lists everything, \"quit\" ends.\n";
    return text;
}

} // namespace vexo::emulator
