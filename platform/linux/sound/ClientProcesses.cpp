#include "platform/linux/sound/ClientProcesses.h"

#include "platform/linux/system/ProcessInfo.h"
#include "platform/linux/system/SocketPeers.h"

#include <algorithm>
#include <cstddef>
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
        kept = {.claim = std::move(claim), .place = std::nullopt, .ofStreams = {}};
    }
    forgetRead();
}

std::uint32_t ClientProcesses::processOf(std::uint32_t client, const ClientClaim& ofStream) {
    const auto found = clients.find(client);
    if (found == clients.end()) {
        return processNamedIn(ofStream);
    }
    Client& known = found->second;
    if (known.claim.peerProcess != 0) {
        return checked(known.claim.peerProcess);
    }
    // A client may play in the name of another process.
    const bool named = known.claim.processId != 0;
    if (named && (ofStream.processId == 0 || ofStream.processId == known.claim.processId)) {
        if (!known.place) {
            placeClients(known.claim);
        }
        return known.place ? known.place->process : 0;
    }
    // The server tells of each change of a stream, as of its volume, and a search takes milliseconds.
    if (known.ofStreams.size() >= kMostOthers) {
        known.ofStreams.clear();
    }
    const auto [at, isNew] = known.ofStreams.try_emplace({ofStream.processId, ofStream.binary}, 0);
    if (isNew) {
        at->second = processNamedIn(ofStream);
    }
    return at->second;
}

// What lives where we do is known at once. Else all processes are candidates that know themselves by the
// number and may run the program, the oldest first.
std::vector<std::uint32_t> ClientProcesses::candidatesOf(const ClientClaim& claim) {
    if (claim.processId == 0) {
        return {};
    }
    if (namespaceIds(claim.processId).size() == 1 && mayRun(claim.processId, claim.binary)) {
        return {claim.processId};
    }
    if (!namespaced) {
        namespaced = namespacedProcesses();
    }
    const auto found = namespaced->find(claim.processId);
    std::vector<std::uint32_t> candidates =
        found != namespaced->end() ? found->second : std::vector<std::uint32_t>();
    std::erase_if(candidates, [&claim](std::uint32_t process) {
        return process < kFirstProcessId || !mayRun(process, claim.binary);
    });
    return candidates;
}

std::uint32_t ClientProcesses::processNamedIn(const ClientClaim& claim) {
    const std::vector<std::uint32_t> candidates = candidatesOf(claim);
    return checked(candidates.empty() ? claim.processId : candidates.front());
}

// All clients with one claim at once, in the order in which they connected, whichever plays first. Those that
// have a place keep it.
void ClientProcesses::placeClients(const ClientClaim& claim) {
    const std::vector<std::uint32_t> candidates = candidatesOf(claim);
    std::vector<Place> places = placesOf(candidates);
    for (const auto& [index, client] : clients) {
        if (client.claim == claim && client.place) {
            std::erase(places, *client.place);
        }
    }
    auto next = places.begin();
    for (auto& [index, client] : clients) {
        if (client.claim != claim || client.place) {
            continue;
        }
        if (next != places.end()) {
            client.place = *next++;
        } else {
            client.place = Place{.process = checked(candidates.empty() ? claim.processId : candidates.back()),
                                 .socket = 0};
        }
    }
}

// The kernel gives out the numbers of sockets in blocks for each processor: they tell the order in one
// process, and not among several.
std::vector<ClientProcesses::Place>
ClientProcesses::placesOf(const std::vector<std::uint32_t>& candidates) const {
    std::vector<Place> places;
    if (candidates.size() > 1) {
        const std::set<std::uint32_t> connected = socketsConnectedTo(serverPath);
        for (const std::uint32_t process : candidates) {
            for (const std::uint32_t socket : socketsAmong(connected, process)) {
                places.push_back({.process = process, .socket = socket});
            }
        }
    }
    if (places.empty()) {
        // Where connections cannot be seen, each process counts as one client.
        for (const std::uint32_t process : candidates) {
            places.push_back({.process = process, .socket = 0});
        }
    }
    return places;
}
