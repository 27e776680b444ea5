#include "emulator/LocalSocket.h"
#include "emulator/TcpAddress.h"

#include <cstdlib>
#include <utility>
#include <winsock2.h>

namespace vexo::emulator {
namespace {

// As long as a USB transfer may take before the system aborts it, in milliseconds.
constexpr DWORD kSendTimeoutMs = 5000;

// Winsock's handles are kernel handles, of which 32 bits count.
SOCKET native(int handle) {
    return static_cast<SOCKET>(handle);
}

int fromNative(SOCKET socket) {
    return socket == INVALID_SOCKET ? -1 : static_cast<int>(socket);
}

void startWinsock() {
    // Once for the process, which ends it.
    static const int started = [] {
        WSADATA data{};
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    static_cast<void>(started);
}

// False when it is no address on TCP.
bool fillAddress(const std::string& text, sockaddr_in& address) {
    const std::optional<std::uint16_t> port = portOfTcpAddress(text);
    address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port.value_or(0));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return port.has_value();
}

const sockaddr* generic(const sockaddr_in& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

// A report is sent at once, however short it is.
void sendAtOnce(int handle) {
    const BOOL on = TRUE;
    setsockopt(native(handle), IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&on), sizeof(on));
}

} // namespace

std::string socketPath(const std::string& given) {
    if (!given.empty()) {
        return given;
    }
    const char* const named = std::getenv("VEXO_EMULATOR_SOCKET"); // nobody changes the environment meanwhile
    return named == nullptr ? "" : named;
}

LocalSocket LocalSocket::listenAt(const std::string& text, std::string& error) {
    startWinsock();
    sockaddr_in address;
    if (!fillAddress(text, address)) {
        error = "there is no port in " + text;
        return {};
    }
    LocalSocket listener(fromNative(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)));
    u_long notBlocking = 1;
    if (!listener.isOpen() ||
        ioctlsocket(native(listener.handle), static_cast<long>(FIONBIO), &notBlocking) != 0 ||
        bind(native(listener.handle), generic(address), sizeof(address)) != 0 ||
        listen(native(listener.handle), SOMAXCONN) != 0) {
        error = "cannot listen at " + text + " (" + std::to_string(WSAGetLastError()) + ")";
        return {};
    }
    return listener;
}

LocalSocket LocalSocket::connectTo(const std::string& text) {
    startWinsock();
    sockaddr_in address;
    if (!fillAddress(text, address)) {
        return {};
    }
    LocalSocket connection(fromNative(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)));
    if (!connection.isOpen()) {
        return {};
    }
    setsockopt(native(connection.handle), SOL_SOCKET, SO_SNDTIMEO,
               reinterpret_cast<const char*>(&kSendTimeoutMs), sizeof(kSendTimeoutMs));
    if (connect(native(connection.handle), generic(address), sizeof(address)) != 0) {
        return {};
    }
    sendAtOnce(connection.handle);
    return connection;
}

std::string LocalSocket::tcpAddress() const {
    sockaddr_in address{};
    int size = sizeof(address);
    if (getsockname(native(handle), reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return {};
    }
    return tcpAddressOf(ntohs(address.sin_port));
}

LocalSocket LocalSocket::accept() {
    // The accepted socket does not block either, like its listener.
    LocalSocket connection(fromNative(::accept(native(handle), nullptr, nullptr)));
    if (connection.isOpen()) {
        sendAtOnce(connection.handle);
    }
    return connection;
}

void LocalSocket::close() {
    if (handle >= 0) {
        closesocket(native(std::exchange(handle, -1)));
    }
}

void LocalSocket::shutDown() {
    if (handle >= 0) {
        shutdown(native(handle), SD_BOTH);
    }
}

LocalSocket::Transfer LocalSocket::send(BytesView bytes, std::size_t& count) {
    const int sent = ::send(native(handle), reinterpret_cast<const char*>(bytes.data()),
                            static_cast<int>(bytes.size()), 0);
    count = sent < 0 ? 0 : static_cast<std::size_t>(sent);
    if (sent >= 0) {
        return Transfer::Done;
    }
    return WSAGetLastError() == WSAEWOULDBLOCK ? Transfer::WouldBlock : Transfer::Closed;
}

LocalSocket::Transfer LocalSocket::receive(std::span<std::uint8_t> buffer, std::size_t& count) {
    const int received =
        recv(native(handle), reinterpret_cast<char*>(buffer.data()), static_cast<int>(buffer.size()), 0);
    count = received < 0 ? 0 : static_cast<std::size_t>(received);
    if (received > 0) {
        return Transfer::Done;
    }
    return received < 0 && WSAGetLastError() == WSAEWOULDBLOCK ? Transfer::WouldBlock : Transfer::Closed;
}

LocalSocket::Readiness LocalSocket::waitReadable(int timeoutMs) const {
    WSAPOLLFD entry{.fd = native(handle), .events = POLLRDNORM, .revents = 0};
    const int ready = WSAPoll(&entry, 1, timeoutMs);
    if (ready == 0) {
        return Readiness::TimedOut;
    }
    if (ready < 0 || (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) {
        return Readiness::Closed;
    }
    // The other side's orderly end reads as no bytes.
    char first = 0;
    return recv(native(handle), &first, 1, MSG_PEEK) == 0 ? Readiness::Closed : Readiness::Readable;
}

void waitForAny(std::span<WaitEntry> entries, int timeoutMs) {
    std::vector<WSAPOLLFD> polled(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        polled[i].fd = entries[i].nativeHandle < 0 ? INVALID_SOCKET : native(entries[i].nativeHandle);
        polled[i].events = static_cast<short>(entries[i].wantsWrite ? POLLRDNORM | POLLWRNORM : POLLRDNORM);
    }
    const int ready = WSAPoll(polled.data(), static_cast<ULONG>(polled.size()), timeoutMs);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const short events = ready > 0 ? polled[i].revents : short{0};
        entries[i].readable = (events & (POLLRDNORM | POLLERR | POLLHUP | POLLNVAL)) != 0;
        entries[i].writable = (events & POLLWRNORM) != 0;
    }
}

} // namespace vexo::emulator
