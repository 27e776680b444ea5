#include "emulator/CommandInterpreter.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vexo::emulator {
namespace {

constexpr std::uint64_t kAwayMs = 300;

// A condition that holds by the state of the bus alone.
struct StateCondition {
    std::string_view name;
    bool (*holds)(const VirtualBus& bus, std::size_t device);
};

template <typename Test>
bool anyHost(const VirtualBus& bus, std::size_t device, Test test) {
    return std::ranges::any_of(bus.device(device).link.knownHosts(), test);
}

bool isReady(const VirtualBus& bus, std::size_t device) {
    const AnsweredCounts& answered = bus.device(device).answered;
    return answered.name > 0 && answered.serial > 0 && answered.version > 0 &&
           anyHost(bus, device, [](const LinkNode::Host& host) { return host.login && host.subscribed; });
}

constexpr std::array kStateConditions{
    StateCondition{"open",
                   [](const VirtualBus& bus, std::size_t device) {
                       return bus.openHandles(device) > 0;
                   }},
    StateCondition{"closed",
                   [](const VirtualBus& bus, std::size_t device) {
                       return bus.openHandles(device) == 0;
                   }},
    StateCondition{"plugged",
                   [](const VirtualBus& bus, std::size_t device) {
                       return bus.isPlugged(device);
                   }},
    StateCondition{"unplugged",
                   [](const VirtualBus& bus, std::size_t device) {
                       return !bus.isPlugged(device);
                   }},
    StateCondition{"login",
                   [](const VirtualBus& bus, std::size_t device) {
                       return anyHost(bus, device, [](const LinkNode::Host& host) { return host.login; });
                   }},
    StateCondition{"ready", isReady},
    StateCondition{"flash",
                   [](const VirtualBus& bus, std::size_t device) {
                       return bus.device(device).firmwareIsConfirmed();
                   }},
    StateCondition{"boot",
                   [](const VirtualBus& bus, std::size_t device) {
                       return bus.isPlugged(device) &&
                              bus.device(device).usbModel() == Model::MixdeskR2Bootloader;
                   }},
    StateCondition{"storm",
                   [](const VirtualBus& bus, std::size_t device) {
                       return !bus.device(device).stormRuns();
                   }},
};

} // namespace

std::span<const CommandInterpreter::Entry> CommandInterpreter::commands() {
    using Self = CommandInterpreter;
    static constexpr auto kCommands = std::to_array<Entry>({
        {"help", "help", &Self::help},
        {"devices", "devices", &Self::devices},
        {"plug", "plug [DEVICE]", &Self::plug},
        {"unplug", "unplug [DEVICE]", &Self::unplug},
        {"permission", "permission granted|denied", &Self::permission},
        {"reset", "reset [DEVICE] [AWAY_MS]", &Self::reset},
        {"state", "state [DEVICE]", &Self::state},
        {"set", "set ATTR VALUE...", &Self::set},
        {"get", "get ATTR", &Self::get},
        {"press", "press", &Self::press},
        {"auto-gain", "auto-gain DURATION_MS PERIOD_MS STEP [end]|never", &Self::autoGain},
        {"send-private", "send-private MSGID [VALUE...]", &Self::sendPrivate},
        {"send-attribute-notification", "send-attribute-notification VALUE...",
         &Self::sendAttributeNotification},
        {"send-frame", "send-frame KIND MSGID [VALUE...]", &Self::sendFrame},
        {"send-raw", "send-raw VALUE...", &Self::sendRaw},
        {"deaf", "deaf on|off", &Self::deaf},
        {"echo", "echo on|off", &Self::echo},
        {"storm", "storm COUNT PER_SECOND ATTR|MSGID", &Self::storm},
        {"identity",
         "identity name|serial|version|address|max-payload|hello-interval|frame-rate|patience|up-time ...",
         &Self::identity},
        {"answer", "answer hello|login|name|serial|version|subscribe|write|read|all on|off|fail",
         &Self::answer},
        {"upgrade", "upgrade status|block|size|verdict|pace|stall N|auto|off", &Self::upgrade},
        {"upgrade-ack", "upgrade-ack on|off", &Self::upgradeAcknowledge},
        {"upgrade-request", "upgrade-request ADDRESS LENGTH PROGRESS", &Self::upgradeRequest},
        {"loader",
         "loader return MS|erase MS|program MS DEPTH|version A B C|"
         "reply WORD right|silent|wrong|twice|long|boot",
         &Self::loader},
        {"flash", "flash [OFFSET LENGTH]", &Self::flash},
        {"sndc",
         "sndc on|off|lie checksum|length|short|magic|broken|talk|count|record KIND VALUE...|counts SPK MIC",
         &Self::signalProcessor},
        {"cut", "cut to-device|to-host N [BACK_MS]|step WORD before|after [BACK_MS]|off", &Self::cut},
        {"dump", "dump [MSGID]", &Self::dump},
        {"writes", "writes [ATTR]", &Self::writes},
        {"reports", "reports [to-device|to-host|both]", &Self::reports},
        {"clear", "clear", &Self::clear},
        {"wait",
         "wait open|closed|login|ready|attribute ATTR|value ATTR VALUE...|message "
         "MSGID|plugged|unplugged|storm|"
         "flash|boot|upgrade STEP|quiet MS [TIMEOUT_MS]",
         &Self::wait},
        {"fault", "fault KIND PROBABILITY [AMOUNT] [to-host|to-device|both]", &Self::fault},
        {"faults", "faults [off]", &Self::faults},
        {"seed", "seed N", &Self::seed},
        {"quit", "quit", &Self::quit},
    });
    return kCommands;
}

std::vector<std::string_view> CommandInterpreter::usages() {
    std::vector<std::string_view> list;
    for (const Entry& entry : commands()) {
        list.push_back(entry.usage);
    }
    return list;
}

CommandInterpreter::Outcome CommandInterpreter::execute(std::string_view line) {
    outcome = {};
    device = 0;
    Arguments arguments(line);
    std::string_view usage;
    try {
        std::string_view name = arguments.word("the command");
        if (name == "on") {
            const std::string_view wanted = arguments.word("DEVICE");
            const std::optional<std::size_t> found = bus.deviceByName(wanted);
            if (!found) {
                throw CommandError("there is no device \"" + std::string(wanted) + "\"");
            }
            device = *found;
            name = arguments.word("the command");
        }
        const auto found = std::ranges::find(commands(), name, &Entry::name);
        if (found == commands().end()) {
            throw CommandError("there is no command \"" + std::string(name) + "\", try help");
        }
        usage = found->usage;
        Json members = (this->*found->command)(arguments);
        arguments.expectEnd();
        outcome.answer = {{"ok", true}};
        outcome.answer.update(members);
    } catch (const CommandError& error) {
        outcome.wait.reset();
        outcome.answer = {{"ok", false}, {"error", error.what()}};
        if (!usage.empty()) {
            outcome.answer["usage"] = usage;
        }
    }
    bus.settle();
    return std::move(outcome);
}

std::optional<Json> CommandInterpreter::resolve(const Wait& wait) const {
    const std::uint64_t waitedMs = bus.timeMs() - wait.startedAtMs;
    if (wait.holds()) {
        return Json{{"ok", true}, {"waitedMs", waitedMs}};
    }
    if (waitedMs >= wait.timeoutMs) {
        return Json{{"ok", false},
                    {"error", "no " + wait.condition + " within " + std::to_string(wait.timeoutMs) + " ms"},
                    {"seed", bus.faults.currentSeed()}};
    }
    return std::nullopt;
}

void CommandInterpreter::takeDevice(Arguments& arguments) {
    if (const std::optional<std::size_t> named = bus.deviceByName(arguments.peek())) {
        device = *named;
        arguments.word("DEVICE");
    }
}

Json CommandInterpreter::help(Arguments&) {
    return {{"commands", usages()}};
}

Json CommandInterpreter::devices(Arguments&) {
    return {{"seed", bus.faults.currentSeed()}, {"timeMs", bus.timeMs()}, {"devices", describeDevices(bus)}};
}

// The commands below change something, so each takes all its words, and refuses one too many, before it acts.

Json CommandInterpreter::plug(Arguments& arguments) {
    takeDevice(arguments);
    arguments.expectEnd();
    const bool changed = bus.plug(device);
    return {{"device", bus.deviceName(device)}, {"changed", changed}};
}

Json CommandInterpreter::unplug(Arguments& arguments) {
    takeDevice(arguments);
    arguments.expectEnd();
    const bool changed = bus.unplug(device);
    return {{"device", bus.deviceName(device)}, {"changed", changed}};
}

Json CommandInterpreter::permission(Arguments& arguments) {
    const std::string_view word = arguments.word("granted or denied");
    arguments.expectEnd();
    if (word != "granted" && word != "denied") {
        throw CommandError("the last word must be granted or denied");
    }
    bus.setPermission(device, word == "granted");
    return {{"device", bus.deviceName(device)}, {"permission", word}};
}

Json CommandInterpreter::reset(Arguments& arguments) {
    takeDevice(arguments);
    const std::uint64_t awayMs = arguments.atEnd() ? kAwayMs : arguments.number("AWAY_MS", 0, kLongestMs);
    arguments.expectEnd();
    bus.restart(device, awayMs);
    return {{"device", bus.deviceName(device)}};
}

Json CommandInterpreter::state(Arguments& arguments) {
    takeDevice(arguments);
    return describeState(bus, device);
}

Json CommandInterpreter::quit(Arguments& arguments) {
    arguments.expectEnd();
    outcome.quit = true;
    return Json::object();
}

Json CommandInterpreter::dump(Arguments& arguments) {
    std::optional<std::uint64_t> wanted;
    if (!arguments.atEnd()) {
        wanted = arguments.number("MSGID", 0, 0xFFFF);
    }
    Json list = Json::array();
    for (const FrameRecord& record : bus.log.frames().records) {
        if (!wanted || record.frame.messageId == *wanted) {
            list.push_back(describe(bus, record));
        }
    }
    return {{"frames", std::move(list)}, {"lost", bus.log.frames().lost}};
}

Json CommandInterpreter::writes(Arguments& arguments) {
    std::optional<std::uint8_t> wanted;
    if (!arguments.atEnd()) {
        wanted = arguments.attribute();
    }
    Json list = Json::array();
    for (const WriteRecord& record : bus.log.writes().records) {
        if (!wanted || record.attribute == *wanted) {
            list.push_back(describe(bus, record));
        }
    }
    return {{"writes", std::move(list)}, {"lost", bus.log.writes().lost}};
}

Json CommandInterpreter::reports(Arguments& arguments) {
    const std::string_view wanted = arguments.atEnd() ? "to-device" : arguments.word("DIRECTION");
    if (wanted != "both" && wanted != "to-device" && wanted != "to-host") {
        throw CommandError("the direction must be to-device, to-host or both");
    }
    Json list = Json::array();
    for (const ReportRecord& record : bus.log.reports().records) {
        if (wanted == "both" || wanted == directionWord(record.direction)) {
            list.push_back(describe(bus, record));
        }
    }
    return {{"reports", std::move(list)}, {"lost", bus.log.reports().lost}};
}

Json CommandInterpreter::clear(Arguments& arguments) {
    arguments.expectEnd();
    bus.log.clear();
    return Json::object();
}

std::function<bool()> CommandInterpreter::stateCondition(std::string_view name) {
    const auto* const found = std::ranges::find(kStateConditions, name, &StateCondition::name);
    if (found == kStateConditions.end()) {
        return nullptr;
    }
    return [&theBus = std::as_const(bus), index = device, holds = found->holds] {
        return holds(theBus, index);
    };
}

std::function<bool()> CommandInterpreter::condition(Arguments& arguments, std::string_view name) {
    if (std::function<bool()> state = stateCondition(name)) {
        return state;
    }
    const std::size_t index = device;
    VirtualBus& theBus = bus;
    if (name == "attribute") {
        const std::uint8_t id = attributeOfTarget(arguments);
        return [&theBus, index, id] {
            return theBus.log.writesOf(index, id) > 0;
        };
    }
    if (name == "value") {
        const std::uint8_t id = attributeOfTarget(arguments);
        const Bytes value = arguments.values(1);
        if (arguments.atEnd() || value.empty()) {
            throw CommandError("value wants an attribute, its bytes and a time-out");
        }
        return [&theBus, index, id, value] {
            return theBus.device(index).values().at(id) == value;
        };
    }
    if (name == "message") {
        const auto messageId = static_cast<std::uint16_t>(arguments.number("MSGID", 0, 0xFFFF));
        return [&theBus, index, messageId] {
            return theBus.log.framesWith(index, messageId) > 0;
        };
    }
    if (name == "upgrade") {
        const std::string step(arguments.word("STEP"));
        return [&theBus, index, step] {
            return describeFirmware(theBus.device(index)).at("step") == step;
        };
    }
    if (name == "quiet") {
        const std::uint64_t quietMs = arguments.number("MS", 0, kLongestMs);
        return [&theBus, index, quietMs] {
            return theBus.timeMs() - theBus.lastHostFrameMs(index) >= quietMs;
        };
    }
    throw CommandError("there is nothing to wait for that is called \"" + std::string(name) + "\"");
}

Json CommandInterpreter::wait(Arguments& arguments) {
    constexpr std::uint64_t kWaitMs = 5000;
    Wait begun;
    const std::string_view name = arguments.word("what to wait for");
    begun.holds = condition(arguments, name);
    begun.startedAtMs = bus.timeMs();
    begun.timeoutMs = arguments.atEnd() ? kWaitMs : arguments.number("TIMEOUT_MS", 0, kLongestMs);
    begun.condition = name;
    arguments.expectEnd();
    outcome.wait = std::move(begun);
    return Json::object();
}

Json CommandInterpreter::fault(Arguments& arguments) {
    const std::string_view word = arguments.word("KIND");
    const auto kinds = allFaultKinds();
    const auto info = std::ranges::find(kinds, word, &FaultKindInfo::word);
    if (info == kinds.end()) {
        throw CommandError("there is no fault \"" + std::string(word) + "\"");
    }
    FaultSetting setting{.probability = arguments.probability("PROBABILITY"),
                         .amountMs = info->amountMs,
                         .toHost = true,
                         .toDevice = info->toDevice};
    const auto isDirection = [](std::string_view text) {
        return text == "to-host" || text == "to-device" || text == "both";
    };
    if (!arguments.atEnd() && !isDirection(arguments.peek())) {
        const std::uint64_t amountMs = arguments.number("AMOUNT", 0, kLongestMs);
        if (info->amountMs == 0) {
            throw CommandError(std::string(word) + " takes no amount");
        }
        setting.amountMs = static_cast<std::uint32_t>(amountMs);
    }
    if (!arguments.atEnd()) {
        const std::string_view direction = arguments.word("DIRECTION");
        if (!isDirection(direction)) {
            throw CommandError("the direction must be to-host, to-device or both");
        }
        if (!info->toDevice && direction != "to-host") {
            throw CommandError(std::string(word) + " strikes only to-host");
        }
        setting.toHost = direction != "to-device";
        setting.toDevice = direction != "to-host";
    }
    arguments.expectEnd();
    bus.faults.set(info->kind, setting);
    return {{"faults", describeFaults(bus.faults)}};
}

Json CommandInterpreter::faults(Arguments& arguments) {
    if (!arguments.atEnd()) {
        if (arguments.word("off") != "off") {
            throw CommandError("the only word after faults is off");
        }
        arguments.expectEnd();
        bus.faults.off();
    }
    Json happened = Json::object();
    for (const FaultKindInfo& info : allFaultKinds()) {
        if (bus.faults.happened(info.kind) > 0) {
            happened[info.word] = bus.faults.happened(info.kind);
        }
    }
    return {{"faults", describeFaults(bus.faults)},
            {"happened", std::move(happened)},
            {"seed", bus.faults.currentSeed()}};
}

Json CommandInterpreter::seed(Arguments& arguments) {
    const std::uint64_t value = arguments.number("N", 0, ~0ULL);
    arguments.expectEnd();
    bus.reseed(value);
    return {{"seed", value}};
}

} // namespace vexo::emulator
