// The emulator's command line. docs/emulator.md lists the options.

#include "emulator/EmulatorServer.h"
#include "emulator/FriendlyText.h"
#include "emulator/TcpAddress.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

using namespace vexo::emulator;

namespace {

constexpr const char* kUsage =
    "usage: vexo-emulator [--socket PATH] [--tcp PORT] [--seed N] [--prompt] [--plug] [--uhid] [MODEL...]\n"
    "       vexo-emulator [--socket PATH] --send COMMAND [--send COMMAND...]\n"
    "MODEL is r2, m40, t40 or r2-bootloader; none means r2.\n";

struct Options {
    std::string socket;
    // Loopback port to listen on too; 0 is any free one.
    std::optional<std::uint16_t> tcpPort;
    std::uint64_t seed = std::random_device()();
    bool prompt = false;
    bool plug = false;
    bool uhid = false;
    bool help = false;
    std::vector<Model> models;
    std::vector<std::string> commands;
};

int complain(const std::string& sentence) {
    std::cerr << "vexo-emulator: " << sentence << '\n';
    return 1;
}

// Throws a CommandError with a sentence when a word is wrong.
Options parse(std::span<char*> words) {
    Options options;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i];
        const auto following = [&]() -> std::string {
            if (++i == words.size()) {
                throw CommandError(std::string(word) + " wants a word after it");
            }
            return words[i];
        };
        if (word == "--socket") {
            options.socket = following();
        } else if (word == "--tcp") {
            const std::string number = following();
            options.tcpPort = static_cast<std::uint16_t>(Arguments(number).number("the port", 0, 65535));
        } else if (word == "--seed") {
            const std::string number = following();
            options.seed = Arguments(number).number("the seed", 0, ~0ULL);
        } else if (word == "--send") {
            options.commands.push_back(following());
        } else if (word == "--prompt") {
            options.prompt = true;
        } else if (word == "--plug") {
            options.plug = true;
        } else if (word == "--uhid") {
            options.uhid = true;
        } else if (word == "--help" || word == "-h") {
            options.help = true;
        } else if (const std::optional<Model> model = modelByWord(word)) {
            options.models.push_back(*model);
        } else {
            throw CommandError("\"" + std::string(word) + "\" is neither an option nor a model");
        }
    }
    if (options.models.empty()) {
        options.models.push_back(Model::MixdeskR2);
    }
    return options;
}

// Sends commands to the running emulator. Returns 0 when every answer is ok.
int sendCommands(const std::string& path, const std::vector<std::string>& commands) {
    LocalSocket socket = LocalSocket::connectTo(path);
    if (!socket.isOpen()) {
        return complain("no emulator runs at " + path);
    }
    bool allOk = true;
    for (const std::string& command : commands) {
        if (command.find('\n') != std::string::npos ||
            command.find_first_not_of(" \t") == std::string::npos) {
            return complain("a command is one line that is not empty");
        }
        const std::string line = command + "\n";
        BytesView rest(reinterpret_cast<const std::uint8_t*>(line.data()), line.size());
        std::size_t count = 0;
        while (!rest.empty() && socket.send(rest, count) == LocalSocket::Transfer::Done) {
            rest = rest.subspan(count);
        }
        std::string answer;
        std::array<std::uint8_t, 4096> buffer{};
        while (answer.find('\n') == std::string::npos &&
               socket.receive(buffer, count) == LocalSocket::Transfer::Done) {
            answer.append(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(count));
        }
        if (answer.find('\n') == std::string::npos) {
            return complain("the emulator ended before it answered");
        }
        std::cout << answer << std::flush;
        const Json json = Json::parse(answer, nullptr, false);
        allOk = allOk && json.is_object() && json.value("ok", false);
    }
    return allOk ? 0 : 1;
}

// The write end of the pipe that ends the loop.
volatile int stopSignal = -1;

extern "C" void onStopSignal(int) {
    const char byte = 0;
    [[maybe_unused]] const ssize_t written = write(stopSignal, &byte, 1);
}

// Standard input carries commands when it is a pipe, a socket or a file; a terminal does when a prompt is
// wanted.
bool readsStandardInput(bool prompt) {
    struct stat status{};
    if (fstat(STDIN_FILENO, &status) != 0) {
        return false;
    }
    return prompt || S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) || S_ISREG(status.st_mode);
}

// False when there is no pipe for the stop signals.
bool installSignals(std::array<int, 2>& stopPipe) {
    if (pipe2(stopPipe.data(), O_CLOEXEC | O_NONBLOCK) != 0) {
        return false;
    }
    stopSignal = stopPipe[1];
    std::signal(SIGTERM, onStopSignal);
    std::signal(SIGINT, onStopSignal);
    // The reader of our answers may end before us.
    std::signal(SIGPIPE, SIG_IGN);
    return true;
}

// The socket at the path, and the one on TCP when it is wanted. None when one of them fails, with the reason.
std::vector<LocalSocket> openListeners(const Options& options, const std::string& path, std::string& error) {
    std::vector<LocalSocket> listeners;
    listeners.push_back(LocalSocket::listenAt(path, error));
    if (!listeners.front().isOpen()) {
        return {};
    }
    if (options.tcpPort) {
        listeners.push_back(LocalSocket::listenAt(tcpAddressOf(*options.tcpPort), error));
        if (!listeners.back().isOpen()) {
            unlink(path.c_str());
            return {};
        }
    }
    return listeners;
}

void announce(const Options& options, const VirtualBus& bus, const std::string& path,
              const std::string& tcpAddress) {
    std::cerr << "vexo-emulator: seed " << options.seed << '\n';
    if (options.prompt) {
        std::cout << friendlyWelcome(bus, path) << std::flush;
        return;
    }
    Json names = Json::array();
    for (std::size_t i = 0; i < bus.deviceCount(); ++i) {
        names.push_back(bus.deviceName(i));
    }
    Json ready = {{"ok", true},
                  {"ready", true},
                  {"socket", path},
                  {"seed", options.seed},
                  {"devices", std::move(names)}};
    if (!tcpAddress.empty()) {
        ready["tcp"] = tcpAddress;
    }
    std::cout << toLine(ready) << '\n' << std::flush;
}

int serve(const Options& options) {
    if (options.uhid) {
        if (const std::optional<std::string> reason = UhidBridge::whyNot()) {
            return complain(*reason);
        }
    }
    std::array<int, 2> stopPipe{};
    if (!installSignals(stopPipe)) {
        return complain("no pipe can be made");
    }
    const std::string path = socketPath(options.socket);
    std::string error;
    std::vector<LocalSocket> listeners = openListeners(options, path, error);
    if (listeners.empty()) {
        return complain(error);
    }
    const std::string tcpAddress = options.tcpPort ? listeners.back().tcpAddress() : std::string();
    VirtualBus bus(options.models, options.seed);
    if (options.plug) {
        for (std::size_t i = 0; i < bus.deviceCount(); ++i) {
            bus.plug(i);
        }
    }
    std::unique_ptr<UhidBridge> uhid;
    if (options.uhid) {
        uhid = std::make_unique<UhidBridge>(bus);
    }
    const EmulatorServer::Options serverOptions{.standardInput = readsStandardInput(options.prompt),
                                                .prompt = options.prompt};
    EmulatorServer server(bus, std::move(listeners), uhid.get(), stopPipe[0], serverOptions);
    announce(options, bus, path, tcpAddress);
    server.run();
    unlink(path.c_str());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const Options options = parse(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
        if (options.help) {
            std::cout << kUsage;
            return 0;
        }
        return options.commands.empty() ? serve(options)
                                        : sendCommands(socketPath(options.socket), options.commands);
    } catch (const CommandError& error) {
        std::cerr << "vexo-emulator: " << error.what() << '\n' << kUsage;
        return 2;
    } catch (const std::exception& error) {
        return complain(error.what());
    }
}
