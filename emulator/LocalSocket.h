// The transport between the emulator, the drop-in hidapi and the senders of commands: a byte stream on this
// machine. This header is all that the rest knows of it; LocalSocketUnix.cpp is its body for unix domain
// sockets and loopback TCP, LocalSocketWindows.cpp for loopback TCP alone.
//
// An address is the path of a unix domain socket, or "tcp:" and a port of 127.0.0.1.
//
// An object belongs to one thread, but for shutDown(), which may be called from any while the object lives.
#pragma once

#include "emulator/Bytes.h"

namespace vexo::emulator {

// Where the socket is: the given address if there is one, else VEXO_EMULATOR_SOCKET, else vexo-emulator.sock
// in XDG_RUNTIME_DIR, else in the folder for temporary files; on Windows nowhere else than the first two say.
std::string socketPath(const std::string& given = {});

class LocalSocket {
public:
    enum class Readiness { TimedOut, Readable, Closed };
    enum class Transfer { Done, WouldBlock, Closed };

    LocalSocket() = default;
    LocalSocket(LocalSocket&& other) noexcept;
    LocalSocket& operator=(LocalSocket&& other) noexcept;
    ~LocalSocket() { close(); }

    // Listens, and takes the place of a socket file that nobody answers behind; port 0 is any free one. On
    // failure an unopened object and a sentence in error.
    static LocalSocket listenAt(const std::string& address, std::string& error);
    // Connects; an unopened object when nobody listens there. The socket blocks, sends for at most five
    // seconds.
    static LocalSocket connectTo(const std::string& address);
    // Of a listener on TCP: its address, with the port that it has; otherwise empty.
    std::string tcpAddress() const;
    // The next connection, not blocking; an unopened object when there is none.
    LocalSocket accept();

    bool isOpen() const { return handle >= 0; }
    // For waitForAny.
    int nativeHandle() const { return handle; }
    void close();
    // Ends both directions: whoever waits on the socket wakes up and finds it closed.
    void shutDown();

    // Sends what it can; count says how much went out.
    Transfer send(BytesView bytes, std::size_t& count);
    // Receives up to the buffer's size.
    Transfer receive(std::span<std::uint8_t> buffer, std::size_t& count);
    // Waits for bytes. Closed as soon as the other side has gone, bytes or not. -1 waits for ever.
    Readiness waitReadable(int timeoutMs) const;

private:
    explicit LocalSocket(int nativeHandle) : handle(nativeHandle) {}

    int handle = -1;
};

// One handle that is waited for.
struct WaitEntry {
    int nativeHandle = -1;
    bool wantsWrite = false;
    bool readable = false;
    bool writable = false;
};

// Waits until one of them is ready (which includes its end), or the time is over; -1 waits for ever.
void waitForAny(std::span<WaitEntry> entries, int timeoutMs);

} // namespace vexo::emulator
