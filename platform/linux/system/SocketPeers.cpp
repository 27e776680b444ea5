#include "platform/linux/system/SocketPeers.h"

#include "platform/linux/system/FileDescriptor.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/unix_diag.h>
#include <string_view>
#include <sys/socket.h>
#include <system_error>
#include <vector>

namespace {

// Asks the kernel for all connected local sockets, each with its path and its other end.
bool askForSockets(int descriptor) {
    struct {
        nlmsghdr header;
        unix_diag_req request;
    } question{};
    constexpr std::uint32_t kConnected = 1U << 1U; // bit of TCP_ESTABLISHED, which local sockets use, too
    question.header.nlmsg_len = sizeof(question);
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    question.request.sdiag_family = AF_UNIX;
    question.request.udiag_states = kConnected;
    question.request.udiag_show = UDIAG_SHOW_NAME | UDIAG_SHOW_PEER;
    return send(descriptor, &question, sizeof(question), 0) == static_cast<ssize_t>(sizeof(question));
}

// Adds the other end of a socket of this path.
void addPeer(const nlmsghdr& message, std::string_view path, std::set<std::uint32_t>& peers) {
    const auto* const socket = static_cast<const unix_diag_msg*>(NLMSG_DATA(&message));
    std::string_view name;
    std::uint32_t peer = 0;
    auto length = static_cast<unsigned>(NLMSG_PAYLOAD(&message, sizeof(*socket)));
    for (const auto* attribute = reinterpret_cast<const rtattr*>(socket + 1); RTA_OK(attribute, length);
         attribute = RTA_NEXT(attribute, length)) {
        if (attribute->rta_type == UNIX_DIAG_NAME) {
            name = {static_cast<const char*>(RTA_DATA(attribute)), RTA_PAYLOAD(attribute)};
            name = name.substr(0, name.find('\0'));
        } else if (attribute->rta_type == UNIX_DIAG_PEER && RTA_PAYLOAD(attribute) == sizeof(peer)) {
            std::memcpy(&peer, RTA_DATA(attribute), sizeof(peer));
        }
    }
    if (peer != 0 && name == path) {
        peers.insert(peer);
    }
}

} // namespace

std::set<std::uint32_t> socketsConnectedTo(const std::string& path) {
    std::set<std::uint32_t> peers;
    const FileDescriptor kernel(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    if (!kernel.isOpen() || !askForSockets(kernel.get())) {
        return peers;
    }
    std::vector<nlmsghdr> buffer(4096); // 64 kB, aligned for messages
    while (true) {
        const ssize_t received = recv(kernel.get(), buffer.data(), buffer.size() * sizeof(nlmsghdr), 0);
        if (received <= 0) {
            return peers;
        }
        auto length = static_cast<unsigned>(received);
        for (const nlmsghdr* message = buffer.data(); NLMSG_OK(message, length);
             message = NLMSG_NEXT(message, length)) {
            if (message->nlmsg_type == NLMSG_DONE || message->nlmsg_type == NLMSG_ERROR) {
                return peers;
            }
            addPeer(*message, path, peers);
        }
    }
}

std::set<std::uint32_t> socketsAmong(const std::set<std::uint32_t>& inodes, std::uint32_t processId) {
    constexpr std::string_view kMark = "socket:[";
    std::set<std::uint32_t> held;
    std::error_code error;
    const std::string folder = "/proc/" + std::to_string(processId) + "/fd";
    for (std::filesystem::directory_iterator at(folder, error); at != std::filesystem::directory_iterator();
         at.increment(error)) {
        std::error_code unreadable;
        const std::string target = std::filesystem::read_symlink(at->path(), unreadable).string();
        if (!target.starts_with(kMark)) {
            continue;
        }
        std::uint32_t inode = 0;
        std::from_chars(target.data() + kMark.size(), target.data() + target.size(), inode);
        if (inodes.contains(inode)) {
            held.insert(inode);
        }
    }
    return held;
}
