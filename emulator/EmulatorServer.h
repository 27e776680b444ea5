// The emulator as a process: one loop that brings the bus up to date, serves HID clients and command clients
// on the socket, and takes commands from standard input. One thread.
#pragma once

#include "emulator/CommandInterpreter.h"
#include "emulator/HidWire.h"
#include "emulator/LocalSocket.h"
#include "emulator/UhidBridge.h"

#include <list>

namespace vexo::emulator {

class EmulatorServer {
public:
    struct Options {
        // Commands come from standard input, answers go to standard output.
        bool standardInput = false;
        // Standard input is a person: a prompt, and friendly answers.
        bool prompt = false;
    };

    // The stop handle becomes readable when the loop shall end. The bridge may be null.
    EmulatorServer(VirtualBus& virtualBus, std::vector<LocalSocket> listeningSockets, UhidBridge* bridge,
                   int stopHandle, Options serverOptions);

    // Returns when the stop handle, "quit" or the end of standard input ends it.
    void run();

private:
    // Commands that come as lines from one source.
    struct CommandStream {
        std::string input;
        std::optional<CommandInterpreter::Wait> wait;
    };

    enum class ClientKind { Unknown, Command, Hid };
    struct Client {
        LocalSocket socket;
        ClientKind kind = ClientKind::Unknown;
        CommandStream commands;
        WireBuffer wire;
        std::optional<VirtualBus::HandleId> handle;
        // What is still to be sent, message by message; the first may be sent in part.
        std::deque<Bytes> output;
        std::size_t outputSent = 0;
        // Input reports among them.
        std::size_t queuedReports = 0;
        // No more input; the connection ends when everything is answered and sent.
        bool inputEnded = false;
    };

    void connectListeners();
    void waitForSomething();
    void readClient(Client& client);
    void readStandardInput();
    void serveHid(Client& client);
    void onWireMessage(Client& client, const WireBuffer::Message& message);
    // Carries out the lines that are complete, as far as no wait holds them up.
    void serveCommands(CommandStream& stream, bool inputEnded,
                       const std::function<void(const std::string& line, const Json& answer)>& onAnswer);
    void flush(Client& client);
    void endClient(Client& client);
    void answerOnTerminal(const std::string& line, const Json& answer);
    bool anyWait() const;
    std::uint64_t clockMs() const;

    VirtualBus& bus;
    CommandInterpreter interpreter;
    std::vector<LocalSocket> listeners;
    UhidBridge* uhid;
    int stop;
    Options options;
    std::list<Client> clients;
    CommandStream standardInput;
    bool standardInputEnded = false;
    bool running = true;
};

} // namespace vexo::emulator
