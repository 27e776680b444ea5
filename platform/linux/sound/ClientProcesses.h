#pragma once

// The processes behind the clients of the sound server, as this system numbers them.
//
// A client names its process itself, and one in a pid namespace, as every program in a sandbox, knows it by
// the number that it has in there: 2, mostly, which stands for another process out here. So the word of the
// server counts before that of the client, and that of /proc tells which process is meant by a number. Where
// several processes with one number and one program could be meant, each gets as many clients as it has
// connections to the server, the oldest process the oldest clients.
//
// Belongs to the server's thread. A program in a sandbox costs some milliseconds at its first sound.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
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
    static constexpr std::uint32_t kFirstProcessId = 10;

    /// Path of the server's socket, whose connections are counted; empty: they are not.
    void setServerPath(const std::string& path) { serverPath = path; }

    void put(std::uint32_t client, ClientClaim claim);
    void remove(std::uint32_t client) { clients.erase(client); }
    void clear() { clients.clear(); }

    /// The process of a client that has a stream about which the claim is made, at least kFirstProcessId; 0
    /// when that is not known. A stream that names no process is its client's.
    [[nodiscard]] std::uint32_t processOf(std::uint32_t client, const ClientClaim& ofStream);

private:
    struct Found {
        ClientClaim claim;
        std::uint32_t process = 0;
    };
    struct Client {
        ClientClaim claim;
        std::optional<std::uint32_t> process; // found already
        std::vector<Found> others;            // found already: in whose name it plays, too
    };

    [[nodiscard]] std::uint32_t processOfOther(Client& client, const ClientClaim& ofStream) const;
    [[nodiscard]] std::uint32_t find(const ClientClaim& claim) const;
    [[nodiscard]] std::uint32_t chooseFor(const ClientClaim& claim,
                                          const std::vector<std::uint32_t>& candidates) const;
    [[nodiscard]] std::size_t clientsOf(std::uint32_t process, const ClientClaim& claim) const;

    std::map<std::uint32_t, Client> clients;
    std::string serverPath;
};
