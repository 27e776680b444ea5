#include "emulator/EmulatorServer.h"

#include "emulator/FriendlyText.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <limits>
#include <unistd.h>

namespace vexo::emulator {
namespace {

// As many unread reports as the kernel keeps for a program that has a device open.
constexpr std::size_t kReportQueue = 64;
// How often the conditions of waits are checked.
constexpr int kConditionPeriodMs = 5;
// The longest command line.
constexpr std::size_t kLongestLine = 1U << 16U;
constexpr std::string_view kPrompt = "vexo> ";

Bytes holdMessage(bool held) {
    return wireMessage(WireType::Hold, Bytes{held ? std::uint8_t{1} : std::uint8_t{0}});
}

void print(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

} // namespace

EmulatorServer::EmulatorServer(VirtualBus& virtualBus, std::vector<LocalSocket> listeningSockets,
                               UhidBridge* bridge, int stopHandle, Options serverOptions)
    : bus(virtualBus), interpreter(virtualBus), listeners(std::move(listeningSockets)), uhid(bridge),
      stop(stopHandle), options(serverOptions) {
    connectListeners();
}

void EmulatorServer::connectListeners() {
    const auto clientOf = [this](VirtualBus::HandleId handle) {
        const auto found = std::ranges::find(clients, handle, &Client::handle);
        return found == clients.end() ? nullptr : &*found;
    };
    VirtualBus::Listener busListener;
    busListener.inputReport = [this, clientOf](VirtualBus::HandleId handle, const Bytes& report) {
        if (uhid != nullptr && uhid->inputReport(handle, report)) {
            return true;
        }
        Client* const client = clientOf(handle);
        if (client == nullptr || client->queuedReports >= kReportQueue) {
            return false;
        }
        client->output.push_back(wireMessage(WireType::Input, report));
        ++client->queuedReports;
        return true;
    };
    busListener.unplugged = [this, clientOf](VirtualBus::HandleId handle) {
        if (uhid != nullptr && uhid->unplugged(handle)) {
            return;
        }
        if (Client* const client = clientOf(handle)) {
            client->handle.reset();
            client->socket.close();
        }
    };
    busListener.held = [clientOf](VirtualBus::HandleId handle, bool held) {
        if (Client* const client = clientOf(handle)) {
            client->output.push_back(holdMessage(held));
        }
    };
    bus.setListener(std::move(busListener));
}

std::uint64_t EmulatorServer::clockMs() const {
    using namespace std::chrono;
    static const steady_clock::time_point start = steady_clock::now();
    return static_cast<std::uint64_t>(duration_cast<milliseconds>(steady_clock::now() - start).count());
}

void EmulatorServer::run() {
    if (options.prompt) {
        print(kPrompt);
    }
    while (running) {
        bus.advance(clockMs());
        if (options.standardInput) {
            serveCommands(
                standardInput, standardInputEnded,
                [this](const std::string& line, const Json& answer) { answerOnTerminal(line, answer); });
            running = running && !(standardInputEnded && standardInput.input.empty() && !standardInput.wait);
        }
        for (Client& client : clients) {
            if (client.kind == ClientKind::Command) {
                serveCommands(client.commands, client.inputEnded,
                              [&client](const std::string&, const Json& answer) {
                                  const std::string text = toLine(answer) + "\n";
                                  client.output.emplace_back(text.begin(), text.end());
                              });
            }
        }
        if (uhid != nullptr) {
            uhid->update();
        }
        for (Client& client : clients) {
            flush(client);
        }
        std::erase_if(clients, [](const Client& client) { return !client.socket.isOpen(); });
        if (running) {
            waitForSomething();
        }
    }
    for (Client& client : clients) {
        flush(client);
    }
}

bool EmulatorServer::anyWait() const {
    return standardInput.wait || std::ranges::any_of(clients, [](const Client& client) {
               return client.commands.wait.has_value();
           });
}

void EmulatorServer::waitForSomething() {
    std::vector<WaitEntry> entries;
    entries.push_back({.nativeHandle = stop});
    const bool readsInput = options.standardInput && !standardInputEnded;
    entries.push_back({.nativeHandle = readsInput ? STDIN_FILENO : -1});
    const std::size_t firstListener = entries.size();
    for (const LocalSocket& listener : listeners) {
        entries.push_back({.nativeHandle = listener.nativeHandle()});
    }
    const std::size_t firstUhid = entries.size();
    for (const int nativeHandle : uhid == nullptr ? std::vector<int>() : uhid->nativeHandles()) {
        entries.push_back({.nativeHandle = nativeHandle});
    }
    const std::size_t firstClient = entries.size();
    for (const Client& client : clients) {
        entries.push_back(
            {.nativeHandle = client.inputEnded && client.output.empty() ? -1 : client.socket.nativeHandle(),
             .wantsWrite = !client.output.empty()});
    }

    const std::uint64_t next = bus.nextEventAtMs();
    const std::uint64_t now = clockMs();
    int timeoutMs = -1;
    if (next != std::numeric_limits<std::uint64_t>::max()) {
        constexpr std::uint64_t kLongestSleepMs = 60000;
        timeoutMs = static_cast<int>(std::min(next > now ? next - now : 0, kLongestSleepMs));
    }
    if (anyWait()) {
        timeoutMs = timeoutMs < 0 ? kConditionPeriodMs : std::min(timeoutMs, kConditionPeriodMs);
    }
    waitForAny(entries, timeoutMs);

    bus.advance(clockMs());
    running = !entries[0].readable;
    if (entries[1].readable) {
        readStandardInput();
    }
    for (std::size_t i = firstUhid; i < firstClient; ++i) {
        if (entries[i].readable) {
            uhid->onReadable(entries[i].nativeHandle);
        }
    }
    std::size_t index = firstClient;
    for (Client& client : clients) {
        // A client that an earlier one's message unplugged is closed by now.
        if (entries[index++].readable && client.socket.isOpen()) {
            readClient(client);
        }
    }
    for (std::size_t i = 0; i < listeners.size(); ++i) {
        while (entries[firstListener + i].readable) {
            LocalSocket connection = listeners[i].accept();
            if (!connection.isOpen()) {
                break;
            }
            clients.emplace_back().socket = std::move(connection);
        }
    }
}

void EmulatorServer::readStandardInput() {
    std::array<char, 4096> buffer{};
    const ssize_t count = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count > 0) {
        standardInput.input.append(buffer.data(), static_cast<std::size_t>(count));
    } else {
        standardInputEnded = true;
    }
}

void EmulatorServer::readClient(Client& client) {
    std::array<std::uint8_t, 4096> buffer{};
    std::size_t count = 0;
    const LocalSocket::Transfer transfer = client.socket.receive(buffer, count);
    if (transfer == LocalSocket::Transfer::WouldBlock) {
        return;
    }
    if (transfer == LocalSocket::Transfer::Closed) {
        if (client.kind == ClientKind::Command && !client.inputEnded) {
            client.inputEnded = true;
        } else {
            endClient(client);
        }
        return;
    }
    BytesView bytes = BytesView(buffer).first(count);
    if (client.kind == ClientKind::Unknown) {
        client.kind = bytes[0] == kHidClient ? ClientKind::Hid : ClientKind::Command;
        bytes = client.kind == ClientKind::Hid ? bytes.subspan(1) : bytes;
    }
    if (client.kind == ClientKind::Hid) {
        client.wire.add(bytes);
        serveHid(client);
        return;
    }
    client.commands.input.append(bytes.begin(), bytes.end());
    if (client.commands.input.size() > kLongestLine &&
        client.commands.input.find('\n') == std::string::npos) {
        endClient(client);
    }
}

void EmulatorServer::endClient(Client& client) {
    if (client.handle) {
        bus.close(*client.handle);
        client.handle.reset();
    }
    client.socket.close();
}

void EmulatorServer::serveHid(Client& client) {
    while (const std::optional<WireBuffer::Message> message = client.wire.take()) {
        onWireMessage(client, *message);
        if (!client.socket.isOpen()) {
            return;
        }
    }
    if (client.wire.broken()) {
        endClient(client);
    }
}

void EmulatorServer::onWireMessage(Client& client, const WireBuffer::Message& message) {
    WireReader reader(message.body);
    Bytes answer;
    switch (message.type) {
    case WireType::Enumerate: {
        const std::uint16_t vendorId = reader.takeU16();
        const std::uint16_t productId = reader.takeU16();
        const std::vector<InterfaceInfo> found = bus.enumerate(vendorId, productId);
        appendU16(answer, static_cast<std::uint16_t>(found.size()));
        for (const InterfaceInfo& info : found) {
            appendInterface(answer, info);
        }
        break;
    }
    case WireType::Open: {
        const std::string path = reader.takeText();
        const std::optional<InterfaceInfo> info = bus.interfaceAt(path);
        client.handle = client.handle ? client.handle : bus.open(path);
        if (!info) {
            answer.push_back(static_cast<std::uint8_t>(OpenResult::NoInterface));
        } else if (!client.handle) {
            answer.push_back(static_cast<std::uint8_t>(OpenResult::NoPermission));
        } else {
            answer.push_back(static_cast<std::uint8_t>(OpenResult::Opened));
            appendInterface(answer, *info);
        }
        break;
    }
    case WireType::Write:
        if (client.handle) {
            bus.write(*client.handle, message.body);
        }
        return;
    case WireType::SetFeature: {
        const std::string path = reader.takeText();
        const BytesView report = reader.takeRest();
        answer.push_back(bus.storeFeatureReport(path, Bytes(report.begin(), report.end())) ? 1 : 0);
        break;
    }
    case WireType::GetFeature: {
        const std::string path = reader.takeText();
        const std::optional<Bytes> report = bus.featureReport(path, reader.takeU8());
        answer.push_back(report ? 1 : 0);
        if (report) {
            answer.insert(answer.end(), report->begin(), report->end());
        }
        break;
    }
    default:
        endClient(client);
        return;
    }
    if (!reader.ok()) {
        endClient(client);
        return;
    }
    client.output.push_back(wireMessage(message.type, answer));
    if (message.type == WireType::Open && client.handle && bus.isDeaf(*client.handle)) {
        client.output.push_back(holdMessage(true));
    }
}

void EmulatorServer::serveCommands(
    CommandStream& stream, bool inputEnded,
    const std::function<void(const std::string& line, const Json& answer)>& onAnswer) {
    if (stream.wait) {
        const std::optional<Json> answer = interpreter.resolve(*stream.wait);
        if (!answer) {
            return;
        }
        stream.wait.reset();
        onAnswer("wait", *answer);
    }
    if (inputEnded && !stream.input.empty() && stream.input.back() != '\n') {
        stream.input.push_back('\n');
    }
    while (running && !stream.wait) {
        const std::size_t end = stream.input.find('\n');
        if (end == std::string::npos) {
            return;
        }
        const std::string line = stream.input.substr(0, end);
        stream.input.erase(0, end + 1);
        if (line.find_first_not_of(" \t\r") == std::string::npos) {
            if (options.prompt && &stream == &standardInput) {
                print(kPrompt);
            }
            continue;
        }
        CommandInterpreter::Outcome outcome = interpreter.execute(line);
        running = running && !outcome.quit;
        if (outcome.wait) {
            // A condition that holds already is answered at once.
            if (const std::optional<Json> answer = interpreter.resolve(*outcome.wait)) {
                onAnswer(line, *answer);
            } else {
                stream.wait = std::move(outcome.wait);
            }
        } else {
            onAnswer(line, outcome.answer);
        }
    }
}

void EmulatorServer::answerOnTerminal(const std::string& line, const Json& answer) {
    if (options.prompt) {
        print(friendlyText(line, answer));
        print(running && !standardInputEnded ? kPrompt : "");
    } else {
        print(toLine(answer) + "\n");
    }
}

void EmulatorServer::flush(Client& client) {
    while (client.socket.isOpen() && !client.output.empty()) {
        const Bytes& message = client.output.front();
        std::size_t count = 0;
        const LocalSocket::Transfer transfer =
            client.socket.send(BytesView(message).subspan(client.outputSent), count);
        if (transfer == LocalSocket::Transfer::WouldBlock) {
            return;
        }
        if (transfer == LocalSocket::Transfer::Closed) {
            endClient(client);
            return;
        }
        client.outputSent += count;
        if (client.outputSent == message.size()) {
            client.queuedReports -= message[0] == static_cast<std::uint8_t>(WireType::Input) ? 1U : 0U;
            client.output.pop_front();
            client.outputSent = 0;
        }
    }
    if (client.inputEnded && client.output.empty() && !client.commands.wait &&
        client.commands.input.empty()) {
        endClient(client);
    }
}

} // namespace vexo::emulator
