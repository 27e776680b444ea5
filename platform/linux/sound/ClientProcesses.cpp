#include "platform/linux/sound/ClientProcesses.h"

#include "platform/linux/system/ProcessInfo.h"
#include "platform/linux/system/SocketPeers.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace {

// Remembered of one client, which may name new ones for ever.
constexpr std::size_t kMostOthers = 32;

// Whether the process may run the program of this file name; an image that may not be read is known by the
// name that the kernel keeps of it, which is cut.
bool mayRun(std::uint32_t process, const std::string& binary) {
    const std::string path = processImagePath(process);
    if (!path.empty()) {
        return std::filesystem::path(path).filename() == binary;
    }
    const std::string name = processFileName(process);
    return !name.empty() && binary.starts_with(name);
}

std::uint32_t checked(std::uint32_t process) {
    return process >= ClientProcesses::kFirstProcessId ? process : 0;
}

} // namespace

void ClientProcesses::put(std::uint32_t client, ClientClaim claim) {
    Client& kept = clients[client];
    if (kept.claim != claim) {
        kept = {.claim = std::move(claim), .process = std::nullopt, .others = {}};
    }
}

std::uint32_t ClientProcesses::processOf(std::uint32_t client, const ClientClaim& ofStream) {
    const auto found = clients.find(client);
    if (found == clients.end()) {
        return find(ofStream);
    }
    Client& known = found->second;
    // A client may play in the name of another process.
    if (ofStream.processId != 0 && known.claim.processId != 0 &&
        ofStream.processId != known.claim.processId) {
        return processOfOther(known, ofStream);
    }
    if (!known.process) {
        known.process =
            find(known.claim.processId != 0 || known.claim.peerProcess != 0 ? known.claim : ofStream);
    }
    return *known.process;
}

// The server tells of each change of a stream, as of its volume, and a search takes milliseconds.
std::uint32_t ClientProcesses::processOfOther(Client& client, const ClientClaim& ofStream) const {
    const auto before = std::ranges::find(client.others, ofStream, &Found::claim);
    if (before != client.others.end()) {
        return before->process;
    }
    if (client.others.size() == kMostOthers) {
        client.others.clear();
    }
    return client.others.emplace_back(ofStream, find(ofStream)).process;
}

std::uint32_t ClientProcesses::find(const ClientClaim& claim) const {
    if (claim.peerProcess != 0) {
        return checked(claim.peerProcess);
    }
    if (claim.processId == 0) {
        return 0;
    }
    // As it mostly is: the client lives where we do.
    if (namespaceIds(claim.processId).size() == 1 && mayRun(claim.processId, claim.binary)) {
        return checked(claim.processId);
    }
    std::vector<std::uint32_t> candidates = processesWithOwnId(claim.processId);
    std::erase_if(candidates, [&claim](std::uint32_t process) {
        return process < kFirstProcessId || !mayRun(process, claim.binary);
    });
    return candidates.empty() ? checked(claim.processId) : chooseFor(claim, candidates);
}

std::uint32_t ClientProcesses::chooseFor(const ClientClaim& claim,
                                         const std::vector<std::uint32_t>& candidates) const {
    if (candidates.size() == 1) {
        return candidates.front();
    }
    const std::set<std::uint32_t> sockets = socketsConnectedTo(serverPath);
    std::map<std::uint32_t, std::size_t> connections;
    std::size_t all = 0;
    for (const std::uint32_t process : candidates) {
        all += connections[process] = countOfSockets(process, sockets);
    }
    for (const std::uint32_t process : candidates) {
        // Where connections cannot be seen, each process counts as one client.
        const std::size_t room = all > 0 ? connections[process] : 1;
        if (clientsOf(process, claim) < room) {
            return process;
        }
    }
    return candidates.back();
}

std::size_t ClientProcesses::clientsOf(std::uint32_t process, const ClientClaim& claim) const {
    return static_cast<std::size_t>(std::ranges::count_if(clients, [&](const auto& entry) {
        return entry.second.process == process && entry.second.claim == claim;
    }));
}
