// Fuzzes the emulator's command channel beside its wire: lines of commands, and between them reports of a
// host and time. A line that begins with "<" holds a report, one with "+" as many milliseconds as it has
// further bytes. It fails when a sanitizer reports, when an answer is no line of JSON that says whether it
// went well, when a refusal has no reason, and when the same lines have another answer the second time.

#include "emulator/CommandInterpreter.h"
#include "emulator/FriendlyText.h"
#include "tests/fuzz/FuzzInput.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace {

using fuzz::Input;
using fuzz::require;
using vexo::emulator::Bytes;
using vexo::emulator::CommandInterpreter;
using vexo::emulator::friendlyText;
using vexo::emulator::Json;
using vexo::emulator::Model;
using vexo::emulator::toLine;
using vexo::emulator::VirtualBus;

constexpr std::size_t kLongestInput = 256;
// One input of so many is read twice.
constexpr std::size_t kReadTwice = 8;
constexpr std::uint64_t kSeed = 7;

std::string checkedLine(const std::string& command, const Json& answer) {
    require(answer.is_object() && answer.contains("ok") && answer["ok"].is_boolean(), "an answer says ok");
    require(answer["ok"].get<bool>() || !answer.value("error", "").empty(), "a refusal has a reason");
    const std::string line = toLine(answer);
    require(line.find('\n') == std::string::npos, "an answer is one line");
    if (line.size() % kReadTwice == 0) {
        require(Json::accept(line), "an answer is JSON");
        require(friendlyText(command, answer).ends_with('\n'), "a person's answer is whole lines");
    }
    return line;
}

// All answers, one a line.
std::string transcript(Input input) {
    constexpr std::array kModels{Model::MixdeskR2, Model::VoxmicT40};
    VirtualBus bus(kModels, kSeed);
    bus.setListener({.inputReport = [](VirtualBus::HandleId, const Bytes&) { return true; },
                     .unplugged = [](VirtualBus::HandleId) {},
                     .held =
                         [](VirtualBus::HandleId, bool) {
                         }});
    CommandInterpreter interpreter(bus);
    std::string answers;
    std::uint64_t nowMs = 0;
    while (!input.isOver()) {
        const std::string line = input.line();
        if (line.starts_with('+')) {
            nowMs += line.size();
            bus.advance(nowMs);
        } else if (line.starts_with('<')) {
            const auto interfaces = bus.enumerate(0, 0);
            for (const auto& found : interfaces) {
                if (const auto handle = bus.open(found.path)) {
                    (void)bus.write(*handle, Bytes(line.begin() + 1, line.end()));
                    if (line.size() % 2 == 0) {
                        bus.close(*handle);
                    }
                }
            }
        } else {
            const CommandInterpreter::Outcome outcome = interpreter.execute(line);
            if (!outcome.wait) {
                answers += checkedLine(line, outcome.answer) + '\n';
            } else if (const std::optional<Json> answer = interpreter.resolve(*outcome.wait)) {
                answers += checkedLine("wait", *answer) + '\n';
            }
        }
    }
    return answers;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    if (size > kLongestInput) {
        return -1;
    }
    const Input input(bytes, size);
    const std::string answers = transcript(input);
    if (size % kReadTwice == 0) {
        require(transcript(input) == answers, "the same lines have the same answers");
    }
    return 0;
}
