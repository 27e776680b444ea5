#include "emulator/CommandInterpreter.h"
#include "emulator/SignalProcessor.h"
#include "tests/unit/emulator/TestHost.h"

#include <numeric>

namespace vexo::emulator {
namespace {

// A command of the host, as its bytes stand on the wire.
Bytes processorCommand(std::uint8_t group, std::uint8_t index, std::uint8_t command,
                       const Bytes& parameters = {}) {
    Bytes report = bytes("0100AA534E4443");
    report.insert(report.end(), {group, index, command, 0, static_cast<std::uint8_t>(parameters.size())});
    report.insert(report.end(), parameters.begin(), parameters.end());
    report[1] = static_cast<std::uint8_t>(report.size() - 1);
    const unsigned sum = std::accumulate(report.begin() + 2, report.end(), 0U);
    report.push_back(static_cast<std::uint8_t>(256 - sum % 256));
    return report;
}

// Hexadecimal digits of so many bytes.
constexpr std::size_t digits(std::size_t bytes) {
    return bytes * 2;
}

class Processor : public ::testing::Test {
protected:
    SignalProcessor& processor() { return *host.device().processor; }
    std::uint64_t refusals(std::string_view reason) {
        const auto found = processor().refusals().find(reason);
        return found == processor().refusals().end() ? 0 : found->second;
    }
    // The payloads of the reports that come at once, put together.
    std::string say(const Bytes& report) {
        host.reports.clear();
        EXPECT_TRUE(host.bus.write(host.handle, report));
        Bytes whole;
        for (const Bytes& each : host.reports) {
            whole.insert(whole.end(), each.begin() + 2, each.begin() + 2 + each.at(1));
        }
        return toHex(whole);
    }
    void run(std::string_view line) {
        const Json answer = CommandInterpreter(host.bus).execute(line).answer;
        EXPECT_TRUE(answer.value("ok", false)) << answer.dump();
    }
    void begin() { say(processorCommand(0x10, 0, 0x80)); }

    TestHost host;
};

TEST_F(Processor, AnswersACommandWithoutData) {
    EXPECT_EQ(toHex(processorCommand(0, 0, 0x81)), "010BAA534E44430000810000AD");
    EXPECT_EQ(say(bytes("010BAA534E44430000810000AD")), "AA534E4443000001"
                                                        "00002D");
    EXPECT_EQ(say(bytes("010FAA534E4443300087000480BB000038")).substr(0, 16), "AA534E4443300007");
    EXPECT_EQ(host.bus.counters(0).badReports, 0U);
    EXPECT_EQ(processor().answeredCommands(), 2U);
}

TEST_F(Processor, AnswersEachCommandOfItsTableAndNoOther) {
    begin();
    int known = 0;
    for (unsigned group = 0; group < 256; ++group) {
        for (unsigned command = 0; command < 256; ++command) {
            const auto parameters =
                parametersOf(static_cast<std::uint8_t>(group), static_cast<std::uint8_t>(command));
            known += parameters ? 1 : 0;
            const Bytes report =
                processorCommand(static_cast<std::uint8_t>(group), 0, static_cast<std::uint8_t>(command),
                                 Bytes(parameters.value_or(0)));
            EXPECT_EQ(!say(report).empty(), parameters.has_value()) << group << " " << command;
            begin();
        }
    }
    EXPECT_EQ(known, 126);
}

TEST_F(Processor, SendsARecordInReportsOf62Bytes) {
    begin();
    const std::string record = say(processorCommand(0x10, 0, 0x85));
    ASSERT_EQ(host.reports.size(), 6U);
    EXPECT_EQ(toHex(BytesView(host.reports[0]).first(14)), "013EAA534E4443100005440100"
                                                           "01");
    EXPECT_EQ(host.reports[5][1], 25);
    EXPECT_EQ(host.reports[5].size(), 64U);
    EXPECT_EQ(record.size(), digits(335));
    EXPECT_EQ(record.substr(digits(334)), "6E");
    EXPECT_EQ(say(processorCommand(0x10, 1, 0x85)).substr(20, 4), "0101");
    const std::vector<std::pair<std::uint8_t, std::size_t>> sizes{
        {0x81, 99}, {0x82, 43}, {0x83, 47}, {0x87, 335}, {0x88, 115}};
    for (const auto& [command, size] : sizes) {
        EXPECT_EQ(say(processorCommand(0x10, 0, command)).size(), size * 2) << int{command};
    }
}

TEST_F(Processor, TellsTheCountsAndTheRecordsThatItIsGiven) {
    run("sndc counts 2 3");
    run("sndc record dac hex:0102");
    begin();
    EXPECT_EQ(say(processorCommand(0x10, 0, 0x84)), "AA534E44431000040100"
                                                    "0217");
    EXPECT_EQ(say(processorCommand(0x10, 0, 0x86)), "AA534E44431000060100"
                                                    "0314");
    EXPECT_EQ(say(processorCommand(0x10, 0, 0x82)).substr(16, 8), "02000102");
    EXPECT_NE(say(processorCommand(0x10, 2, 0x87)), "");
    EXPECT_EQ(say(processorCommand(0x10, 3, 0x87)), "");
    EXPECT_EQ(refusals("index"), 1U);
}

TEST_F(Processor, RefusesWrongCommands) {
    EXPECT_EQ(say(processorCommand(0x10, 0, 0x81)), "") << "reading was not begun";
    EXPECT_EQ(refusals("order"), 1U);
    EXPECT_EQ(say(bytes("010BAA534E44430000810000AE")), "");
    EXPECT_EQ(refusals("checksum"), 1U);
    EXPECT_EQ(say(bytes("010BAA534E44430000810000")), "");
    EXPECT_EQ(say(bytes("0106AA534E444300")), "");
    EXPECT_EQ(refusals("form"), 2U);
    EXPECT_EQ(say(processorCommand(0, 0, 0x82)), "") << "three parameters are missing";
    EXPECT_EQ(refusals("length"), 1U);
    EXPECT_EQ(say(processorCommand(0, 0, 0x87)), "");
    EXPECT_EQ(refusals("command"), 1U);
}

TEST_F(Processor, KeepsSilentAndLiesAsItIsTold) {
    begin();
    const Bytes ask = processorCommand(0x10, 0, 0x81);
    const std::string right = say(ask);
    run("sndc off");
    EXPECT_EQ(say(ask), "");
    run("sndc lie checksum");
    EXPECT_EQ(say(ask).substr(0, digits(98)), right.substr(0, digits(98)));
    EXPECT_NE(say(ask), right);
    run("sndc lie length");
    EXPECT_EQ(say(ask).substr(16, 4), "FFFF");
    run("sndc lie short");
    EXPECT_EQ(say(ask).size(), digits(55));
    run("sndc lie magic");
    EXPECT_EQ(say(ask).substr(0, 4), "AB53");
    run("sndc lie broken");
    EXPECT_EQ(say(ask).size(), digits(62));
    run("sndc lie talk");
    EXPECT_EQ(say(ask).substr(digits(62), 6), "010203");
    run("sndc lie count");
    EXPECT_EQ(say(processorCommand(0x10, 0, 0x84)).substr(20, 2), "FF");
    run("sndc on");
    EXPECT_EQ(say(ask), right);
}

} // namespace
} // namespace vexo::emulator
