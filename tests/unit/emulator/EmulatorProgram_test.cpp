// The emulator's command line and sockets, as a process.

#include "emulator/LocalSocket.h"
#include "tests/unit/emulator/EmulatorProcess.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace vexo::emulator {
namespace {

ProgramResult emulator(std::vector<std::string> words, const std::string& input = {},
                       const std::vector<std::string>& variables = {}) {
    words.insert(words.begin(), VEXO_EMULATOR_PROGRAM);
    return runProgram(words, input, variables);
}

std::vector<Json> linesOf(const std::string& text) {
    std::vector<Json> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = text.find('\n', begin);
        lines.push_back(Json::parse(text.substr(begin, end - begin), nullptr, false));
        begin = end == std::string::npos ? text.size() : end + 1;
    }
    return lines;
}

// Sends lines and collects this many answers.
std::string talk(LocalSocket& socket, std::string_view lines, std::size_t answerCount) {
    std::size_t count = 0;
    const BytesView bytes(reinterpret_cast<const std::uint8_t*>(lines.data()), lines.size());
    EXPECT_EQ(socket.send(bytes, count), LocalSocket::Transfer::Done);
    EXPECT_EQ(count, lines.size());
    std::string answers;
    std::array<std::uint8_t, 4096> buffer{};
    while (static_cast<std::size_t>(std::ranges::count(answers, '\n')) < answerCount &&
           socket.receive(buffer, count) == LocalSocket::Transfer::Done) {
        answers.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
    }
    return answers;
}

TEST(EmulatorProgram, SaysThatItIsReadyAndWithWhichSeed) {
    EmulatorProcess process({"--seed", "77", "r2", "m40", "m40"});
    EXPECT_EQ(process.ready.at("seed"), 77);
    EXPECT_EQ(process.ready.at("socket"), process.socket);
    EXPECT_EQ(process.ready.at("devices"), Json({"r2", "m40", "m40-2"}));
    EXPECT_EQ(process.command("devices").at("seed"), 77);
}

TEST(EmulatorProgram, DevicesStartUnpluggedUnlessAskedOtherwise) {
    EmulatorProcess unplugged({});
    EXPECT_EQ(unplugged.command("devices").at("devices")[0].at("plugged"), false);
    EmulatorProcess plugged({"--plug"});
    EXPECT_EQ(plugged.command("devices").at("devices")[0].at("plugged"), true);
}

TEST(EmulatorProgram, EndsAtTheEndOfItsInputAfterTheLastAnswer) {
    const TestFolder folder;
    // The last line has no end, and a wait comes before it.
    const ProgramResult result =
        emulator({"--socket", folder.file("s"), "--seed", "4"}, "plug\n\nwait login 50\nget mute");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "vexo-emulator: seed 4\n");
    const std::vector<Json> answers = linesOf(result.output);
    ASSERT_EQ(answers.size(), 4U) << result.output;
    EXPECT_EQ(answers[1].at("changed"), true);
    EXPECT_EQ(answers[2].at("ok"), false);
    EXPECT_EQ(answers[3].at("bytes"), "00");
    EXPECT_FALSE(std::filesystem::exists(folder.file("s")));
}

TEST(EmulatorProgram, WithoutInputItRunsUntilItIsTerminated) {
    EmulatorProcess process({"--plug"}, EmulatorProcess::Input::Null);
    EXPECT_EQ(emulator({"--socket", process.socket, "--send", "devices"}).status, 0);
    process.signal(SIGTERM);
    EXPECT_EQ(process.waitForEnd(), 0);
    EXPECT_FALSE(std::filesystem::exists(process.socket));
}

TEST(EmulatorProgram, QuitEndsItWithAnAnswer) {
    EmulatorProcess process({});
    const ProgramResult result = emulator({"--socket", process.socket, "--send", "quit"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "{\"ok\":true}\n");
    EXPECT_EQ(process.waitForEnd(), 0);
}

TEST(EmulatorProgram, SendPrintsAnswersAndFailsWhenOneIsNotOk) {
    EmulatorProcess process({});
    const ProgramResult good = emulator({"--socket", process.socket, "--send", "plug", "--send", "get mute"});
    EXPECT_EQ(good.status, 0);
    EXPECT_EQ(linesOf(good.output).size(), 2U);
    const ProgramResult bad = emulator({"--socket", process.socket, "--send", "dance", "--send", "get mute"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(linesOf(bad.output).size(), 2U);
    EXPECT_EQ(emulator({"--socket", process.socket, "--send", " "}).status, 1);
}

TEST(EmulatorProgram, SendWithoutAnEmulatorSaysSo) {
    const TestFolder folder;
    const ProgramResult result = emulator({"--socket", folder.file("s"), "--send", "plug"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors, "vexo-emulator: no emulator runs at " + folder.file("s") + "\n");
}

TEST(EmulatorProgram, RefusesASocketThatAnotherOneHas) {
    EmulatorProcess process({});
    const ProgramResult second = emulator({"--socket", process.socket});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.errors, "vexo-emulator: another emulator listens at " + process.socket + "\n");
    EXPECT_EQ(process.command("devices").at("ok"), true);
}

TEST(EmulatorProgram, TakesTheSocketOfOneThatWasKilled) {
    const TestFolder folder;
    EmulatorProcess process({});
    process.signal(SIGKILL);
    process.waitForEnd();
    ASSERT_TRUE(std::filesystem::exists(process.socket));
    EXPECT_EQ(emulator({"--socket", process.socket}).status, 0);
}

TEST(EmulatorProgram, LeavesAFileInItsPlaceAlone) {
    const TestFolder folder;
    std::ofstream(folder.file("s")) << "precious";
    const ProgramResult result = emulator({"--socket", folder.file("s")});
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.errors.find("something else than a socket"), std::string::npos);
    std::string content;
    std::ifstream(folder.file("s")) >> content;
    EXPECT_EQ(content, "precious");
}

TEST(EmulatorProgram, ExplainsPathsThatCannotBeUsed) {
    const ProgramResult missing = emulator({"--socket", "/no/such/folder/s"});
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.errors.find("cannot listen at /no/such/folder/s (No such file"), std::string::npos);
    const ProgramResult tooLong = emulator({"--socket", "/" + std::string(200, 'x')});
    EXPECT_EQ(tooLong.status, 1);
    EXPECT_NE(tooLong.errors.find("longer than 107 bytes"), std::string::npos);
}

TEST(EmulatorProgram, ExplainsWordsThatMakeNoSense) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"r3"}, {"--seed"}, {"--seed", "x"}, {"--bogus"}}) {
        const ProgramResult result = emulator(words);
        EXPECT_EQ(result.status, 2) << words[0];
        EXPECT_NE(result.errors.find("usage:"), std::string::npos);
    }
    EXPECT_EQ(emulator({"--help"}).status, 0);
}

TEST(EmulatorProgram, WithoutUhidInTheKernelItSaysSoInOneSentence) {
    if (std::filesystem::exists("/dev/uhid")) {
        GTEST_SKIP() << "this kernel has /dev/uhid";
    }
    const TestFolder folder;
    const ProgramResult result = emulator({"--socket", folder.file("s"), "--uhid", "--plug"});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.errors,
              "vexo-emulator: /dev/uhid cannot be opened (No such file or directory): load the "
              "kernel's uhid module and start as root, or leave --uhid out.\n");
    EXPECT_EQ(result.output, "");
}

TEST(EmulatorProgram, ThePromptTalksToAPerson) {
    const TestFolder folder;
    const ProgramResult result =
        emulator({"--socket", folder.file("s"), "--prompt"}, "plug\nset loudness 3\nquit\n");
    EXPECT_EQ(result.status, 0);
    EXPECT_NE(result.output.find("r2, a VEXO Mixdesk R2, not plugged in"), std::string::npos);
    EXPECT_NE(result.output.find("vexo> Done.\n  device: r2\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("Not done: there is no attribute \"loudness\"."), std::string::npos);
    EXPECT_EQ(result.output.find('{'), std::string::npos) << "no JSON";
}

TEST(EmulatorProgram, AWaitHoldsUpItsOwnConnectionOnly) {
    EmulatorProcess process({});
    LocalSocket waiting = LocalSocket::connectTo(process.socket);
    LocalSocket other = LocalSocket::connectTo(process.socket);
    ASSERT_TRUE(waiting.isOpen() && other.isOpen());
    const std::string_view lines = "wait plugged 20000\nget mute\n";
    std::size_t count = 0;
    waiting.send(BytesView(reinterpret_cast<const std::uint8_t*>(lines.data()), lines.size()), count);
    EXPECT_EQ(linesOf(talk(other, "devices\n", 1))[0].at("devices")[0].at("plugged"), false);
    EXPECT_EQ(waiting.waitReadable(0), LocalSocket::Readiness::TimedOut);
    talk(other, "plug\n", 1);
    const std::vector<Json> answers = linesOf(talk(waiting, "seed 1\n", 3));
    ASSERT_EQ(answers.size(), 3U);
    EXPECT_TRUE(answers[0].contains("waitedMs"));
    EXPECT_EQ(answers[1].at("attribute"), "mute");
}

TEST(EmulatorProgram, ListensOnLoopbackTooWhenAsked) {
    EmulatorProcess process({"--tcp", "0", "--plug"});
    const std::string address = process.ready.at("tcp").get<std::string>();
    LocalSocket overTcp = LocalSocket::connectTo(address);
    ASSERT_TRUE(overTcp.isOpen()) << address;
    EXPECT_EQ(linesOf(talk(overTcp, "unplug\n", 1))[0].at("ok"), true);
    // Both ways lead to the same devices.
    EXPECT_EQ(process.command("devices").at("devices")[0].at("plugged"), false);
    EXPECT_FALSE(EmulatorProcess({}).ready.contains("tcp"));
    process.signal(SIGTERM);
    process.waitForEnd();
    EXPECT_EQ(overTcp.waitReadable(10000), LocalSocket::Readiness::Closed);
}

TEST(EmulatorProgram, PortThatIsTakenOrIsNoneIsSaid) {
    EmulatorProcess first({"--tcp", "0"});
    const std::string port = first.ready.at("tcp").get<std::string>().substr(4);
    const TestFolder folder;
    const ProgramResult taken = emulator({"--socket", folder.file("other.sock"), "--tcp", port});
    EXPECT_EQ(taken.status, 1);
    EXPECT_NE(taken.errors.find("cannot listen at tcp:" + port), std::string::npos) << taken.errors;
    EXPECT_FALSE(std::filesystem::exists(folder.file("other.sock")));
    EXPECT_EQ(emulator({"--tcp", "65536"}).status, 2);
    EXPECT_EQ(emulator({"--tcp", "many"}).status, 2);
    EXPECT_FALSE(LocalSocket::connectTo("tcp:").isOpen());
    EXPECT_FALSE(LocalSocket::connectTo("tcp:1x").isOpen());
}

TEST(EmulatorProgram, NonsenseOnTheSocketEndsOnlyThatConnection) {
    EmulatorProcess process({"--plug"});
    const auto isEnded = [](LocalSocket& socket) {
        std::array<std::uint8_t, 64> buffer{};
        std::size_t count = 0;
        return socket.receive(buffer, count) == LocalSocket::Transfer::Closed;
    };
    for (const Bytes& nonsense : {Bytes{0xD1, 99, 0, 0, 0, 0},            // no such type
                                  Bytes{0xD1, 2, 1, 0, 0, 0, 9},          // a text that is cut
                                  Bytes{0xD1, 1, 0xFF, 0xFF, 0xFF, 0xFF}, // far too long
                                  Bytes(200000, 'x')}) {                  // a line without end
        LocalSocket socket = LocalSocket::connectTo(process.socket);
        ASSERT_TRUE(socket.isOpen());
        BytesView rest = nonsense;
        std::size_t count = 0;
        while (!rest.empty() && socket.send(rest, count) == LocalSocket::Transfer::Done) {
            rest = rest.subspan(count);
        }
        EXPECT_TRUE(isEnded(socket));
    }
    EXPECT_EQ(process.command("devices").at("ok"), true);
}

class SocketPath : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* const name : {"VEXO_EMULATOR_SOCKET", "XDG_RUNTIME_DIR", "TMPDIR"}) {
            const char* const value = std::getenv(name);
            former.emplace_back(name, value == nullptr ? std::nullopt : std::optional<std::string>(value));
            unsetenv(name);
        }
    }
    void TearDown() override {
        for (const auto& [name, value] : former) {
            value ? setenv(name, value->c_str(), 1) : unsetenv(name);
        }
    }

    std::vector<std::pair<const char*, std::optional<std::string>>> former;
};

TEST_F(SocketPath, IsTheFirstOfOptionVariableRuntimeFolderAndTemporaryFolder) {
    const TestFolder folder;
    setenv("TMPDIR", folder.path.c_str(), 1);
    EXPECT_EQ(socketPath(), folder.file("vexo-emulator.sock"));
    setenv("XDG_RUNTIME_DIR", "/run/here", 1);
    EXPECT_EQ(socketPath(), "/run/here/vexo-emulator.sock");
    setenv("VEXO_EMULATOR_SOCKET", "/named", 1);
    EXPECT_EQ(socketPath(), "/named");
    EXPECT_EQ(socketPath("/given"), "/given");
}

} // namespace
} // namespace vexo::emulator
