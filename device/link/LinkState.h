#pragma once

// All tables of the link stack, and what every part of it needs: the host's address, the error callback,
// frames whose payload lies in the pool.

#include "device/link/Link.h"
#include "device/link/LinkPool.h"
#include "device/link/LinkQueue.h"

#include <array>
#include <cstdint>

namespace vexo::link {

inline constexpr std::uint32_t kChannelCount = 3; // channel 0 is the stack's own and unused here
inline constexpr std::uint32_t kHandlerCount = 256;
inline constexpr std::uint32_t kPendingCount = 200;
inline constexpr std::uint32_t kQueueLength = 200;
inline constexpr std::uint16_t kPeerCount = 52;

// Sequences count in 16 bits: 0 comes after 65535.
[[nodiscard]] constexpr std::uint16_t sequenceAfter(std::uint16_t sequence) {
    return static_cast<std::uint16_t>(sequence + 1);
}

inline constexpr std::uint8_t kHostVid = 1;
inline constexpr std::uint16_t kHostPid = 28;
inline constexpr std::uint8_t kHostFirstChid = 1;
inline constexpr std::array<char, 6> kHostName = std::to_array("SR-PC"); // its NUL belongs to it
inline constexpr std::uint16_t kHostFrameRate = 0;                       // frames per second, 0 for no limit

// The wire's frame: 16 bytes of header, the payload, one byte of checksum.
inline constexpr std::uint8_t kFrameMagic = 0x55;
inline constexpr std::uint8_t kFrameControl = 0x10; // high nibble of the control byte
inline constexpr std::uint16_t kHeaderLength = 16;
inline constexpr std::uint16_t kChecksumLength = 1;

// A frame that owns its payload in the pool. After a reset of the pool the payload is lost: such a frame is
// neither sent nor processed, and its release does nothing.
struct StoredFrame {
    LinkFrame frame;
    std::uint32_t poolGeneration = 0;
};

// The parser of one channel. `state` is the offset that the next byte belongs to; 16 stands for the payload
// and 17 for the checksum.
struct ParserState {
    std::uint32_t state = 0;
    std::uint8_t sum = 0;
    std::uint16_t payloadIndex = 0;
    std::array<std::uint8_t, kHeaderLength> header{};
    StoredFrame frame;
    std::uint8_t* payload = nullptr; // the writable side of frame.payload
};

struct Channel {
    bool used = false;
    LinkSendFunction sendFunction = nullptr;
    void* context = nullptr;
    ParserState parser;
};

struct Handler {
    bool used = false;
    std::uint16_t messageId = 0;
    LinkFrameHandler onMessage = nullptr;
    LinkFrameHandler onTimeout = nullptr;
    void* context = nullptr;
};

struct PendingRequest {
    bool used = false;
    std::uint32_t sentAt = 0;
    std::int32_t retriesLeft = 0;
    StoredFrame request;
};

struct ReceivedFrame {
    std::uint32_t channel = 0;
    StoredFrame stored;
};

struct FrameToSend {
    std::uint32_t channel = 0;
    std::uint32_t pacingIntervalMs = 0;
    StoredFrame stored;
};

inline constexpr std::uint8_t kPeerFree = 0;
inline constexpr std::uint8_t kPeerUsed = 1;
// A login callback for the entry is running. A nested event loop may poll the stack meanwhile: ageing stops
// at this entry, and the entry is not removed during the callback.
inline constexpr std::uint8_t kPeerChanging = 2;

struct Peer {
    std::uint8_t used = kPeerFree;
    std::int32_t timeLeft = 0; // ms
    std::uint32_t channel = 0;
    std::uint32_t otherChannel = 0; // a different channel that the same address was heard on, 0 if none
    LinkAddress address;
    std::uint8_t nodeKind = 0;
    std::uint16_t maxPayload = 0;
    std::uint16_t frameRate = 0; // frames per second, 0 for no limit
    std::array<std::uint8_t, kLinkMaxPayload> reassembly{};
    std::uint16_t reassembledLength = 0;
    std::uint16_t lastMessageId = 0;
    std::uint16_t firstSequence = 0;
    std::uint16_t sequenceSum = 0;
    std::uint32_t upTime = 0; // ms
    std::uint8_t protocolA = 0;
    std::uint8_t protocolB = 0;
    std::uint8_t hops = 0;
    std::uint16_t next = 0; // slot of the next peer, 0 at the list's end
};

template <typename Function>
struct Callback {
    Function function = nullptr;
    void* context = nullptr;
};

struct Callbacks {
    Callback<LinkLoginCallback> login;
    Callback<LinkAnswerCallback> name;
    Callback<LinkAnswerCallback> serial;
    Callback<LinkAnswerCallback> version;
    Callback<LinkAttributeCallback> attribute;
    Callback<LinkErrorCallback> error;
};

struct RequestCounters {
    std::uint64_t started = 0;
    std::uint64_t answered = 0;
    std::uint64_t timedOut = 0;
    std::uint64_t cancelled = 0;
};

struct Stack {
    explicit constexpr Stack(Pool& memory) : pool(memory) {}

    std::uint32_t now = 0; // ticks; every time below is a value of it
    std::uint32_t lastSendAt = 0;
    std::uint32_t pacingIntervalMs = 0; // in force since the last frame of the send queue
    std::uint32_t lastAgeingAt = 0;
    std::uint32_t lastHelloAt = 0;
    std::uint16_t sequence = 0;      // of the last message sent
    std::uint16_t helloSequence = 0; // of the last hello sent
    bool isDispatching = false;
    std::uint16_t dispatchedSequence = 0;
    std::uint8_t hostChid = 0; // kHostFirstChid from linkInit on
    Callbacks callbacks;
    RequestCounters requestCounters;
    std::array<Channel, kChannelCount> channels{};
    std::array<Handler, kHandlerCount> handlers{};
    std::array<PendingRequest, kPendingCount> pending{};
    std::uint32_t pendingEnd = 0; // behind the last entry of `pending` in use
    LinkQueue<ReceivedFrame, kQueueLength> receiveQueue;
    LinkQueue<FrameToSend, kQueueLength> sendQueue;
    std::array<Peer, kPeerCount + 1> peers{}; // slot 0 is the list's head and no peer
    Pool& pool;
};

// The one stack of the process.
[[nodiscard]] Stack& stack();
// Makes it as new, but for the pool's bytes: they are most of it and need not be cleared.
void resetStack();

[[nodiscard]] LinkAddress hostAddress();

// The ticks from now to the first tick more than `pause` ticks after `since`; 0 when that tick is now or has
// passed.
[[nodiscard]] inline std::uint32_t ticksUntilOver(std::uint32_t since, std::uint32_t pause) {
    const std::uint32_t passed = stack().now - since;
    return passed > pause ? 0 : pause - passed + 1;
}

[[nodiscard]] constexpr bool isBroadcast(const LinkAddress& address) {
    return address.vid == 0 && address.pid == 0;
}

void reportError(int code, std::uint16_t messageId);

// Takes `byteCount` bytes from the pool; null with error 12 reported for `messageId`.
[[nodiscard]] std::uint8_t* takeMemory(std::uint32_t byteCount, std::uint16_t messageId);
// Releases memory of pool generation `generation`; does nothing for null and for another generation.
void releaseMemory(const std::uint8_t* memory, std::uint32_t generation, std::uint16_t messageId);

// Copies a frame, payload included. False with error 12 reported when there is no memory.
[[nodiscard]] bool storeFrame(const LinkFrame& frame, StoredFrame& stored);
void releaseFrame(StoredFrame& stored);
// False when the payload was lost in a reset of the pool.
[[nodiscard]] bool isIntact(const StoredFrame& stored);

// Address as on the wire: CHID, VID, PID low, PID high.
inline constexpr std::uint16_t kAddressLength = 4;
[[nodiscard]] LinkAddress readAddress(const std::uint8_t* bytes);
void writeAddress(const LinkAddress& address, std::uint8_t* bytes);

[[nodiscard]] inline std::uint16_t readU16(const std::uint8_t* bytes) {
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}
inline void writeU16(std::uint16_t value, std::uint8_t* bytes) {
    bytes[0] = static_cast<std::uint8_t>(value);
    bytes[1] = static_cast<std::uint8_t>(value >> 8);
}
[[nodiscard]] inline std::uint32_t readU32(const std::uint8_t* bytes) {
    return readU16(bytes) | static_cast<std::uint32_t>(readU16(bytes + 2)) << 16;
}
inline void writeU32(std::uint32_t value, std::uint8_t* bytes) {
    writeU16(static_cast<std::uint16_t>(value), bytes);
    writeU16(static_cast<std::uint16_t>(value >> 16), bytes + 2);
}

} // namespace vexo::link
