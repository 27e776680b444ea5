// The commands that act on one device: its knobs and button, its words on the link, its identity.

#include "emulator/CommandInterpreter.h"

#include <array>

namespace vexo::emulator {
namespace {

constexpr std::size_t kLongestValue = 255;

} // namespace

std::uint8_t CommandInterpreter::attributeOfTarget(Arguments& arguments) {
    const std::uint8_t id = arguments.attribute();
    if (!target().hasAttribute(id)) {
        throw CommandError(bus.deviceName(device) + " has no attribute " + std::to_string(id));
    }
    return id;
}

Json CommandInterpreter::describeAttribute(std::uint8_t id) {
    return {{"device", bus.deviceName(device)},
            {"attribute", attributeName(target().model, id)},
            {"id", id},
            {"bytes", toHex(target().values().at(id))}};
}

Json CommandInterpreter::set(Arguments& arguments) {
    const std::uint8_t id = attributeOfTarget(arguments);
    const Bytes value = arguments.values();
    if (value.empty() || value.size() > kLongestValue) {
        throw CommandError("an attribute has 1 to 255 bytes");
    }
    const std::size_t notified = target().turn(id, value, bus.timeMs());
    Json json = describeAttribute(id);
    json["bytes"] = toHex(value);
    json["notified"] = notified;
    if (!attributeInRange(target().model, id, value)) {
        json["outOfRange"] = true;
    }
    return json;
}

Json CommandInterpreter::get(Arguments& arguments) {
    return describeAttribute(attributeOfTarget(arguments));
}

Json CommandInterpreter::press(Arguments& arguments) {
    arguments.expectEnd();
    if (target().model != Model::MixdeskR2) {
        throw CommandError(bus.deviceName(device) + " has no function button");
    }
    return {{"notified", target().link.sendToHosts(kNotification, kButtonPressed, {1})}};
}

Json CommandInterpreter::autoGain(Arguments& arguments) {
    AutoGainPlan plan;
    if (arguments.peek() == "never") {
        arguments.word("never");
        arguments.expectEnd();
        plan.answers = false;
        target().autoGainPlan = plan;
        return Json::object();
    }
    plan.durationMs = arguments.number("DURATION_MS", 0, kLongestMs);
    plan.periodMs = arguments.number("PERIOD_MS", 1, kLongestMs);
    plan.step = static_cast<std::uint8_t>(arguments.number("STEP", 0, 255));
    if (arguments.peek() == "end") {
        arguments.word("end");
        plan.reportsEnd = true;
    }
    arguments.expectEnd();
    target().autoGainPlan = plan;
    return Json::object();
}

Json CommandInterpreter::sendPrivate(Arguments& arguments) {
    const auto messageId = static_cast<std::uint16_t>(arguments.number("MSGID", 0, 0xFFFF));
    return {{"notified", target().link.sendToHosts(kNotification, messageId, arguments.values())}};
}

Json CommandInterpreter::sendAttributeNotification(Arguments& arguments) {
    return {
        {"notified", target().link.sendToHosts(kNotification, kAttributeSubscription, arguments.values())}};
}

Json CommandInterpreter::sendFrame(Arguments& arguments) {
    const auto kind = static_cast<std::uint8_t>(arguments.number("KIND", 0, 15));
    const auto messageId = static_cast<std::uint16_t>(arguments.number("MSGID", 0, 0xFFFF));
    return {{"notified", target().link.sendToHosts(kind, messageId, arguments.values())}};
}

Json CommandInterpreter::sendRaw(Arguments& arguments) {
    if (!bus.isPlugged(device)) {
        throw CommandError(bus.deviceName(device) + " is not plugged");
    }
    bus.sendRaw(device, arguments.values());
    return Json::object();
}

Json CommandInterpreter::deaf(Arguments& arguments) {
    const bool on = arguments.lastIsOn();
    bus.setDeaf(device, on);
    return {{"device", bus.deviceName(device)}, {"deaf", on}};
}

Json CommandInterpreter::echo(Arguments& arguments) {
    const bool on = arguments.lastIsOn();
    target().echoes = on;
    return {{"device", bus.deviceName(device)}, {"echo", on}};
}

Json CommandInterpreter::storm(Arguments& arguments) {
    const std::uint64_t count = arguments.number("COUNT", 1, 1000000);
    const std::uint64_t perSecond = arguments.number("PER_SECOND", 1, 100000);
    std::uint16_t id = 0;
    if (arguments.peek().starts_with("0x8") && arguments.peek().size() == 6) {
        id = static_cast<std::uint16_t>(arguments.number("MSGID", 0x8000, 0xFFFF));
    } else {
        id = attributeOfTarget(arguments);
    }
    arguments.expectEnd();
    if (!bus.isPlugged(device)) {
        throw CommandError(bus.deviceName(device) + " is not plugged");
    }
    target().startStorm(count, perSecond, id, bus.timeMs());
    return {{"device", bus.deviceName(device)}, {"count", count}};
}

Json CommandInterpreter::identity(Arguments& arguments) {
    const std::string_view what = arguments.word("what of the identity");
    DeviceIdentity& of = target().identity;
    LinkSettings& link = target().link.settings;
    const auto last = [&](std::string_view name, std::uint64_t lowest, std::uint64_t highest) {
        const std::uint64_t value = arguments.number(name, lowest, highest);
        arguments.expectEnd();
        return value;
    };
    if (what == "name") {
        of.name = arguments.text();
    } else if (what == "serial") {
        of.serial = arguments.text();
    } else if (what == "version") {
        const std::uint64_t major = arguments.number("MAJOR", 0, 255);
        of.versionMinor = static_cast<std::uint8_t>(last("MINOR", 0, 255));
        of.versionMajor = static_cast<std::uint8_t>(major);
    } else if (what == "address") {
        LinkAddress address;
        address.channelId = static_cast<std::uint8_t>(arguments.number("CHID", 0, 255));
        address.vendor = static_cast<std::uint8_t>(arguments.number("VID", 0, 255));
        address.product = static_cast<std::uint16_t>(last("PID", 0, 0xFFFF));
        link.address = address;
    } else if (what == "max-payload") {
        link.maxPayload = static_cast<std::uint16_t>(last("N", 1, kMaxFramePayload));
    } else if (what == "hello-interval") {
        link.intervalCode = static_cast<std::uint8_t>(last("CODE", 0, 255));
    } else if (what == "frame-rate") {
        link.frameRate = static_cast<std::uint16_t>(last("N", 0, 0xFFFF));
    } else if (what == "patience") {
        link.patienceIntervals = static_cast<std::uint16_t>(last("N", 1, 0xFFFF));
    } else if (what == "up-time") {
        const auto wanted = static_cast<std::uint32_t>(last("MS", 0, 0xFFFFFFFF));
        link.upTimeOffsetMs += wanted - target().link.upTimeMs();
    } else {
        throw CommandError("there is no identity \"" + std::string(what) + "\"");
    }
    return {{"device", bus.deviceName(device)}, {"identity", describeIdentity(bus, device)}};
}

Json CommandInterpreter::answer(Arguments& arguments) {
    const std::string_view what = arguments.word("WHAT");
    const std::string_view how = arguments.word("on, off or fail");
    arguments.expectEnd();
    if (how != "on" && how != "off" && how != "fail") {
        throw CommandError("the last word must be on, off or fail");
    }
    const Answering answering =
        how == "on" ? Answering::On : (how == "off" ? Answering::Off : Answering::Fail);
    VirtualDevice& the = target();
    struct Question {
        std::string_view name;
        Answering* setting;
    };
    const std::array questions{
        Question{"hello", &the.link.settings.hello}, Question{"login", &the.link.settings.login},
        Question{"name", &the.answers.name},         Question{"serial", &the.answers.serial},
        Question{"version", &the.answers.version},   Question{"subscribe", &the.answers.subscribe},
        Question{"write", &the.answers.write},       Question{"read", &the.answers.read}};
    bool known = false;
    for (const Question& question : questions) {
        if (what != question.name && what != "all") {
            continue;
        }
        known = true;
        if (question.name == "hello" && answering == Answering::Fail) {
            if (what == "hello") {
                throw CommandError("a hello has no failure status");
            }
            continue;
        }
        *question.setting = answering;
    }
    if (!known) {
        throw CommandError("there is no question \"" + std::string(what) + "\"");
    }
    return {{"device", bus.deviceName(device)}, {"answers", describeAnswers(the)}};
}

} // namespace vexo::emulator
