#pragma once

// The processes behind the clients of the sound server, as this system numbers them.
//
// A client names its process itself, and one in a pid namespace, as every program in a sandbox, knows it by
// the number that it has in there: 2, mostly, which stands for another process out here. So the word of the
// server counts before that of the client, and that of /proc tells which process is meant by a number. Where
// several processes with one number and one program could be meant, each gets as many clients as it has
// connections to the server: the oldest process the oldest clients, and a client that comes later the process
// whose connection has come. Which of them plays first does not matter.
//
// Belongs to the server's thread. What is found is kept; a program in a sandbox costs some milliseconds at
// its first sound, and all those of one list together no more.

#include "mixer/AppAudioConfig.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What is said of a client's process.
struct ClientClaim {
    std::uint32_t processId = 0; ///< by the client; 0: nothing
    std::string binary;          ///< by the client: the file name of its program
    std::uint32_t peerProcess =
        0; ///< by the server: the process at the other end of the connection; 0: nothing

    bool operator==(const ClientClaim&) const = default;
};

class ClientProcesses {
public:
    /// Ids below this are those of inputs in the mixer, and never stand for a process.
    static constexpr std::uint32_t kFirstProcessId = kFirstCapturedProcessId;

    /// Path of the server's socket, whose connections are counted; empty: they are not.
    void setServerPath(const std::string& path) { serverPath = path; }

    void put(std::uint32_t client, ClientClaim claim);
    void remove(std::uint32_t client) { clients.erase(client); }
    void clear() {
        clients.clear();
        forgetRead();
    }

    /// The process of a client that has a stream about which the claim is made, at least kFirstProcessId; 0
    /// when that is not known. A stream that names no process is its client's, and so is each stream of a
    /// client that the server vouches for. What is read of /proc for it is used again until forgetRead().
    [[nodiscard]] std::uint32_t processOf(std::uint32_t client, const ClientClaim& ofStream);
    /// A list, or a single answer of the server, is at its end: what comes next may speak of new processes.
    void forgetRead() { namespaced.reset(); }

private:
    // A connection that a client may be; the socket is 0 where connections cannot be seen.
    struct Place {
        std::uint32_t process = 0;
        std::uint32_t socket = 0;

        bool operator==(const Place&) const = default;
    };
    struct Client {
        ClientClaim claim;
        std::optional<Place> place; // found already
        std::map<std::pair<std::uint32_t, std::string>, std::uint32_t>
            ofStreams; // the same of streams, by the id and the program that they name
    };

    [[nodiscard]] std::vector<std::uint32_t> candidatesOf(const ClientClaim& claim);
    [[nodiscard]] std::uint32_t processNamedIn(const ClientClaim& claim);
    void placeClients(const ClientClaim& claim);
    [[nodiscard]] std::vector<Place> placesOf(const std::vector<std::uint32_t>& candidates) const;

    std::map<std::uint32_t, Client> clients;
    std::string serverPath;
    std::optional<std::map<std::uint32_t, std::vector<std::uint32_t>>> namespaced; // read of /proc
};
