#include "emulator/LocalSocket.h"
#include "emulator/TcpAddress.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace vexo::emulator {
namespace {

constexpr const char* kFileName = "vexo-emulator.sock";
// As long as a USB transfer may take before the kernel aborts it.
constexpr timeval kSendTimeout{.tv_sec = 5, .tv_usec = 0};
// Small, so that reports queue up in the sender, where they are counted, and not in the kernel.
constexpr int kSendBufferBytes = 4096;

bool fillAddress(const std::string& path, sockaddr_un& address) {
    address = {};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof(address.sun_path)) {
        return false;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    return true;
}

template <typename Address>
const sockaddr* generic(const Address& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

std::string withReason(const std::string& sentence) {
    return sentence + " (" + std::strerror(errno) + ")";
}

// False when what stands behind the prefix is no port.
bool fillTcpAddress(const std::string& text, sockaddr_in& address) {
    const std::optional<std::uint16_t> port = portOfTcpAddress(text);
    address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port.value_or(0));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return port.has_value();
}

// A report is sent at once, however short it is.
void sendAtOnce(int handle) {
    const int on = 1;
    setsockopt(handle, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
}

} // namespace

std::string socketPath(const std::string& given) {
    if (!given.empty()) {
        return given;
    }
    const auto environment = [](const char* name) {
        const char* const value = std::getenv(name); // nobody changes the environment while this runs
        return std::string(value == nullptr ? "" : value);
    };
    if (const std::string named = environment("VEXO_EMULATOR_SOCKET"); !named.empty()) {
        return named;
    }
    if (const std::string runtime = environment("XDG_RUNTIME_DIR"); !runtime.empty()) {
        return (std::filesystem::path(runtime) / kFileName).string();
    }
    std::error_code error;
    return (std::filesystem::temp_directory_path(error) / kFileName).string();
}

LocalSocket LocalSocket::listenAt(const std::string& path, std::string& error) {
    if (isTcpAddress(path)) {
        sockaddr_in tcp{};
        if (!fillTcpAddress(path, tcp)) {
            error = "there is no port in " + path;
            return {};
        }
        LocalSocket listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (!listener.isOpen() || bind(listener.handle, generic(tcp), sizeof(tcp)) != 0 ||
            listen(listener.handle, SOMAXCONN) != 0) {
            error = withReason("cannot listen at " + path);
            return {};
        }
        return listener;
    }
    sockaddr_un address;
    if (!fillAddress(path, address)) {
        error = "the socket's path is empty or longer than " + std::to_string(sizeof(address.sun_path) - 1) +
                " bytes: " + path;
        return {};
    }
    if (connectTo(path).isOpen()) {
        error = "another emulator listens at " + path;
        return {};
    }
    struct stat status{};
    if (lstat(path.c_str(), &status) == 0) {
        if (!S_ISSOCK(status.st_mode)) {
            error = "there is something else than a socket at " + path;
            return {};
        }
        // Left behind by an emulator that was killed.
        unlink(path.c_str());
    }
    LocalSocket listener(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const mode_t formerMask = umask(S_IRWXG | S_IRWXO);
    const bool bound = listener.isOpen() && bind(listener.handle, generic(address), sizeof(address)) == 0;
    umask(formerMask);
    if (!bound || listen(listener.handle, SOMAXCONN) != 0) {
        error = withReason("cannot listen at " + path);
        return {};
    }
    return listener;
}

LocalSocket LocalSocket::connectTo(const std::string& path) {
    sockaddr_un address;
    sockaddr_in tcp;
    const bool overTcp = isTcpAddress(path);
    if (overTcp ? !fillTcpAddress(path, tcp) : !fillAddress(path, address)) {
        return {};
    }
    LocalSocket connection(socket(overTcp ? AF_INET : AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!connection.isOpen()) {
        return {};
    }
    setsockopt(connection.handle, SOL_SOCKET, SO_SNDTIMEO, &kSendTimeout, sizeof(kSendTimeout));
    if ((overTcp ? connect(connection.handle, generic(tcp), sizeof(tcp))
                 : connect(connection.handle, generic(address), sizeof(address))) != 0) {
        return {};
    }
    if (overTcp) {
        sendAtOnce(connection.handle);
    }
    return connection;
}

std::string LocalSocket::tcpAddress() const {
    sockaddr_in address{};
    socklen_t size = sizeof(address);
    if (getsockname(handle, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
        address.sin_family != AF_INET) {
        return {};
    }
    return tcpAddressOf(ntohs(address.sin_port));
}

LocalSocket LocalSocket::accept() {
    LocalSocket connection(accept4(handle, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (connection.isOpen()) {
        // Refused for a unix domain socket, which sends at once anyway.
        sendAtOnce(connection.handle);
        setsockopt(connection.handle, SOL_SOCKET, SO_SNDBUF, &kSendBufferBytes, sizeof(kSendBufferBytes));
    }
    return connection;
}

void LocalSocket::close() {
    if (handle >= 0) {
        ::close(std::exchange(handle, -1));
    }
}

void LocalSocket::shutDown() {
    if (handle >= 0) {
        shutdown(handle, SHUT_RDWR);
    }
}

LocalSocket::Transfer LocalSocket::send(BytesView bytes, std::size_t& count) {
    ssize_t sent = -1;
    do {
        sent = ::send(handle, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    } while (sent < 0 && errno == EINTR);
    count = sent < 0 ? 0 : static_cast<std::size_t>(sent);
    if (sent >= 0) {
        return Transfer::Done;
    }
    return errno == EAGAIN ? Transfer::WouldBlock : Transfer::Closed;
}

LocalSocket::Transfer LocalSocket::receive(std::span<std::uint8_t> buffer, std::size_t& count) {
    ssize_t received = -1;
    do {
        received = recv(handle, buffer.data(), buffer.size(), 0);
    } while (received < 0 && errno == EINTR);
    count = received < 0 ? 0 : static_cast<std::size_t>(received);
    if (received > 0) {
        return Transfer::Done;
    }
    return received < 0 && errno == EAGAIN ? Transfer::WouldBlock : Transfer::Closed;
}

LocalSocket::Readiness LocalSocket::waitReadable(int timeoutMs) const {
    pollfd entry{.fd = handle, .events = POLLIN | POLLRDHUP, .revents = 0};
    const int ready = poll(&entry, 1, timeoutMs);
    if (ready == 0 || (ready < 0 && errno == EINTR)) {
        return Readiness::TimedOut;
    }
    if (ready < 0 || (entry.revents & (POLLERR | POLLHUP | POLLRDHUP | POLLNVAL)) != 0) {
        return Readiness::Closed;
    }
    return Readiness::Readable;
}

void waitForAny(std::span<WaitEntry> entries, int timeoutMs) {
    std::vector<pollfd> polled(entries.size());
    for (std::size_t i = 0; i < entries.size(); ++i) {
        polled[i].fd = entries[i].nativeHandle;
        polled[i].events = static_cast<short>(entries[i].wantsWrite ? POLLIN | POLLOUT : POLLIN);
    }
    const int ready = poll(polled.data(), polled.size(), timeoutMs);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const short events = ready > 0 ? polled[i].revents : short{0};
        entries[i].readable = (events & (POLLIN | POLLERR | POLLHUP | POLLNVAL)) != 0;
        entries[i].writable = (events & POLLOUT) != 0;
    }
}

} // namespace vexo::emulator
