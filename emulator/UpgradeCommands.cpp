// The commands around a new firmware: how the device takes it, what it holds, where its power is cut.

#include "emulator/CommandInterpreter.h"

#include <algorithm>
#include <array>

namespace vexo::emulator {
namespace {

struct ReplyWord {
    std::string_view word;
    BootLoader::Reply reply;
};
constexpr std::array kReplyWords{
    ReplyWord{"right", BootLoader::Reply::Right}, ReplyWord{"silent", BootLoader::Reply::Silent},
    ReplyWord{"wrong", BootLoader::Reply::Wrong}, ReplyWord{"twice", BootLoader::Reply::Twice},
    ReplyWord{"long", BootLoader::Reply::Long}};

struct LieWord {
    std::string_view word;
    SignalProcessor::Answers answers;
};
constexpr std::array kLieWords{LieWord{"checksum", SignalProcessor::Answers::Checksum},
                               LieWord{"length", SignalProcessor::Answers::Length},
                               LieWord{"short", SignalProcessor::Answers::Short},
                               LieWord{"magic", SignalProcessor::Answers::Magic},
                               LieWord{"broken", SignalProcessor::Answers::Broken},
                               LieWord{"talk", SignalProcessor::Answers::Talk},
                               LieWord{"count", SignalProcessor::Answers::Count}};

// What a cut can wait for, beside reports.
constexpr std::array<std::string_view, 11> kCutWords{"cm_vsrc", "cm_rest", "cm_vcrc", "cm_code",
                                                     "erase",   "packet",  "cm_upgd", "cm_fnsh",
                                                     "ask",     "block",   "verdict"};

std::optional<std::uint64_t> backMsOf(Arguments& arguments) {
    std::optional<std::uint64_t> backMs;
    if (!arguments.atEnd()) {
        backMs = arguments.number("BACK_MS", 0, kLongestMs);
    }
    arguments.expectEnd();
    return backMs;
}

// The last word: a number, or the word that stands for none.
std::optional<std::uint64_t> lastNumberOr(Arguments& arguments, std::string_view none,
                                          std::uint64_t highest) {
    std::optional<std::uint64_t> value;
    if (arguments.peek() == none) {
        arguments.word(none);
    } else {
        value = arguments.number("N", 0, highest);
    }
    arguments.expectEnd();
    return value;
}

std::uint64_t lastNumber(Arguments& arguments, std::string_view what, std::uint64_t highest) {
    const std::uint64_t value = arguments.number(what, 0, highest);
    arguments.expectEnd();
    return value;
}

} // namespace

MicrophoneFlash& CommandInterpreter::targetUpgrade() {
    if (!target().upgrade) {
        throw CommandError(bus.deviceName(device) + " is no microphone");
    }
    return *target().upgrade;
}

BootLoader& CommandInterpreter::targetLoader() {
    if (!target().loader) {
        throw CommandError(bus.deviceName(device) + " has no loader");
    }
    return *target().loader;
}

Json CommandInterpreter::upgrade(Arguments& arguments) {
    MicrophoneFlash::Settings& settings = targetUpgrade().settings;
    const std::string_view what = arguments.word("WHAT");
    if (what == "status") {
        settings.status = static_cast<std::uint8_t>(lastNumber(arguments, "N", 255));
    } else if (what == "block") {
        const std::uint64_t size = arguments.number("N", 1, 0xFFFF);
        arguments.expectEnd();
        settings.blockSize = static_cast<std::uint16_t>(size);
    } else if (what == "size") {
        settings.imageSize = lastNumberOr(arguments, "auto", kLargestFirmware);
    } else if (what == "verdict") {
        settings.verdict = lastNumberOr(arguments, "auto", 255);
    } else if (what == "pace") {
        settings.paceMs = lastNumber(arguments, "MS", kLongestMs);
    } else if (what == "stall") {
        settings.stallAfter = lastNumberOr(arguments, "off", ~0ULL);
    } else {
        throw CommandError("an upgrade has no \"" + std::string(what) + "\"");
    }
    return {{"device", bus.deviceName(device)}};
}

Json CommandInterpreter::upgradeAcknowledge(Arguments& arguments) {
    MicrophoneFlash& flash = targetUpgrade();
    flash.settings.acknowledges = arguments.lastIsOn();
    return {{"device", bus.deviceName(device)}, {"acknowledges", flash.settings.acknowledges}};
}

Json CommandInterpreter::upgradeRequest(Arguments& arguments) {
    MicrophoneFlash& flash = targetUpgrade();
    const auto address = static_cast<std::uint32_t>(arguments.number("ADDRESS", 0, 0xFFFFFFFF));
    const auto length = static_cast<std::uint16_t>(arguments.number("LENGTH", 0, 0xFFFF));
    flash.requestBlock(address, length, static_cast<std::uint8_t>(lastNumber(arguments, "PROGRESS", 255)));
    return {{"device", bus.deviceName(device)}};
}

Json CommandInterpreter::loader(Arguments& arguments) {
    BootLoader::Settings& settings = targetLoader().settings;
    const std::string_view what = arguments.word("WHAT");
    if (what == "return") {
        settings.returnMs = lastNumber(arguments, "MS", kLongestMs);
    } else if (what == "erase") {
        settings.eraseMs = lastNumber(arguments, "MS", kLongestMs);
    } else if (what == "program") {
        const std::uint64_t programMs = arguments.number("MS", 0, kLongestMs);
        settings.queueDepth = lastNumber(arguments, "DEPTH", 0xFFFF);
        settings.programMs = programMs;
    } else if (what == "version") {
        std::array<std::uint8_t, 3> version{};
        for (std::uint8_t& number : version) {
            number = static_cast<std::uint8_t>(arguments.number("NUMBER", 0, 255));
        }
        arguments.expectEnd();
        settings.version = version;
    } else if (what == "reply") {
        const std::string command(arguments.word("WORD"));
        const std::string_view how = arguments.word("HOW");
        arguments.expectEnd();
        const auto* const found = std::ranges::find(kReplyWords, how, &ReplyWord::word);
        if (found == kReplyWords.end()) {
            throw CommandError("a reply is right, silent, wrong, twice or long");
        }
        if (std::ranges::find(kCutWords, command) == kCutWords.end()) {
            throw CommandError("the loader has no command \"" + command + "\"");
        }
        settings.replies[command] = found->reply;
    } else if (what == "boot") {
        arguments.expectEnd();
        bus.loseFirmware(device);
    } else {
        throw CommandError("the loader has no \"" + std::string(what) + "\"");
    }
    return {{"device", bus.deviceName(device)}};
}

Json CommandInterpreter::flash(Arguments& arguments) {
    const Bytes& image = target().flash();
    Json answer{{"device", bus.deviceName(device)},
                {"size", image.size()},
                {"crc", crc16(image, 0)},
                {"confirmed", target().firmwareIsConfirmed()}};
    if (arguments.atEnd()) {
        return answer;
    }
    const std::uint64_t offset = arguments.number("OFFSET", 0, image.size());
    const std::uint64_t length = lastNumber(arguments, "LENGTH", image.size() - offset);
    answer["bytes"] = toHex(BytesView(image).subspan(offset, length));
    return answer;
}

Json CommandInterpreter::cut(Arguments& arguments) {
    const std::string_view where = arguments.word("to-device, to-host, step or off");
    if (where == "off") {
        arguments.expectEnd();
        bus.cancelCut(device);
    } else if (where == "step") {
        const std::string_view word = arguments.word("WORD");
        const std::string_view side = arguments.word("before or after");
        if (std::ranges::find(kCutWords, word) == kCutWords.end()) {
            throw CommandError("no device takes a step \"" + std::string(word) + "\"");
        }
        if (side != "before" && side != "after") {
            throw CommandError("a cut is before or after the step");
        }
        bus.cutAtStep(device, word, side == "before", backMsOf(arguments));
    } else if (where == "to-device" || where == "to-host") {
        const std::uint64_t count = arguments.number("N", 1, ~0ULL);
        bus.cutAtReport(device, where == "to-host" ? Direction::ToHost : Direction::ToDevice, count,
                        backMsOf(arguments));
    } else {
        throw CommandError("the first word must be to-device, to-host, step or off");
    }
    return {{"device", bus.deviceName(device)}, {"pending", bus.cutIsPending(device)}};
}

Json CommandInterpreter::signalProcessor(Arguments& arguments) {
    targetLoader();
    SignalProcessor& processor = *target().processor;
    const std::string_view what = arguments.word("WHAT");
    if (what == "on" || what == "off") {
        arguments.expectEnd();
        processor.answers = what == "on" ? SignalProcessor::Answers::Right : SignalProcessor::Answers::Off;
    } else if (what == "lie") {
        const std::string_view how = arguments.word("HOW");
        arguments.expectEnd();
        const auto* const found = std::ranges::find(kLieWords, how, &LieWord::word);
        if (found == kLieWords.end()) {
            throw CommandError("there is no lie \"" + std::string(how) + "\"");
        }
        processor.answers = found->answers;
    } else if (what == "record") {
        const std::string_view kind = arguments.word("KIND");
        const std::optional<ProcessorRecord> record = processorRecordByWord(kind);
        if (!record) {
            throw CommandError("a record is adc, dac, i2s, spk-eq, mic-eq or alg");
        }
        Bytes data = arguments.values();
        if (data.size() > 0xFFFF) {
            throw CommandError("a record has at most 65535 bytes");
        }
        processor.setRecord(*record, std::move(data));
    } else if (what == "counts") {
        const auto spk = static_cast<std::uint8_t>(arguments.number("SPK", 0, 255));
        processor.micEqCount = static_cast<std::uint8_t>(lastNumber(arguments, "MIC", 255));
        processor.spkEqCount = spk;
    } else {
        throw CommandError("the signal processor has no \"" + std::string(what) + "\"");
    }
    return {{"device", bus.deviceName(device)}, {"answered", processor.answeredCommands()}};
}

} // namespace vexo::emulator
