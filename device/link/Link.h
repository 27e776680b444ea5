#pragma once

// The link stack: frames, peers, requests and messages between this program and a device.
//
// Plain functions over static tables. There is one stack in a process. It makes no calls to the operating
// system, takes no memory from the heap and owns no thread: its user feeds it with bytes (`linkFeed`) and
// ticks (`linkPoll`, then `linkTick(1)`, once a millisecond), and it calls back. All functions belong to one
// thread. A callback may call any of them, `linkPoll` too (a nested event loop does), except `linkInit`; the
// error callback calls none of them.
//
// Times are counts of ticks, not of real time.

#include <cstdint>

// One node's address; on the wire CHID, VID, PID low, PID high. These numbers are no USB ids.
// VID 0 with PID 0 is the broadcast address, whatever the CHID.
struct LinkAddress {
    std::uint8_t chid = 0;
    std::uint8_t vid = 0;
    std::uint16_t pid = 0;

    bool operator==(const LinkAddress&) const = default;
};

// The kind of a frame: the low nibble of its control byte.
inline constexpr std::uint8_t kLinkRequest = 0;      // expects an answer of kind 1 when sent tracked
inline constexpr std::uint8_t kLinkResponse = 1;     // carries the sequence of its request
inline constexpr std::uint8_t kLinkNotification = 2; // no answer
inline constexpr std::uint8_t kLinkFragment = 3;     // a piece of a long message, not its last

// Message ids of the application.
inline constexpr std::uint16_t kLinkMessageName = 1;
inline constexpr std::uint16_t kLinkMessageLogout = 13;
inline constexpr std::uint16_t kLinkMessageLogin = 14;
inline constexpr std::uint16_t kLinkMessageVersion = 16;
inline constexpr std::uint16_t kLinkMessageSerial = 23;
inline constexpr std::uint16_t kLinkMessageSetAttribute = 30;
inline constexpr std::uint16_t kLinkMessageGetAttribute = 31;
inline constexpr std::uint16_t kLinkMessageSetAttributes = 32;
inline constexpr std::uint16_t kLinkMessageGetAttributes = 33;
inline constexpr std::uint16_t kLinkMessageSubscribe = 34; // kind 2: an attribute notification

// Payload bytes of one frame on the wire. A longer message is cut into fragments.
inline constexpr std::uint16_t kLinkMaxPayload = 500;

// One frame. `payload` has `length` bytes and may be null when `length` is 0. It belongs to the caller: the
// stack copies what it keeps. A payload that a callback gets is valid until the callback returns.
struct LinkFrame {
    std::uint8_t kind = kLinkRequest;
    std::uint16_t length = 0;
    std::uint16_t sequence = 0; // filled in by linkSend (see there)
    LinkAddress source{};       // filled in by linkSend
    LinkAddress destination{};
    std::uint16_t messageId = 0;
    const std::uint8_t* payload = nullptr;
};

// What every answer callback gets beside its bytes.
struct LinkInfo {
    std::uint8_t kind = 0;       // of the frame; of the request for a time-out
    LinkAddress address{};       // the sender; for a time-out the peer that was asked
    std::uint16_t messageId = 0; // of the frame
    std::uint16_t length = 0;    // bytes given to the callback (not the length of the frame)
    std::uint8_t status = 0;     // 0 success; 1 a time-out; from a device any value but 0 is a failure
};

// Error codes of the error callback.
inline constexpr int kLinkErrorIncomingTooLong = 1;  // `length` of an incoming frame above 500
inline constexpr int kLinkErrorOutgoingTooLong = 2;  // payload of an outgoing frame above 500
inline constexpr int kLinkErrorChecksum = 3;         // checksum mismatch
inline constexpr int kLinkErrorNoChannel = 7;        // both channels are taken
inline constexpr int kLinkErrorReceiveQueueFull = 8; // a received frame was dropped
inline constexpr int kLinkErrorPeerTableFull = 9;    // a new peer was not registered
inline constexpr int kLinkErrorPoolCorrupt = 11;     // pool records corrupt, the pool was reset
inline constexpr int kLinkErrorOutOfMemory = 12;     // the pool has no room or no record left
inline constexpr int kLinkErrorUnknownBlock = 13;    // release of an unknown block, the pool was reset

// Callbacks. `context` is the pointer given at installation. Results are ignored by the stack. Any of them
// may be null, which is the state after `linkInit`.

// Sends bytes on a channel: one whole frame a call, cut into reports by the transport.
using LinkSendFunction = int (*)(std::uint32_t channel, std::uint32_t length, const std::uint8_t* bytes,
                                 void* context);

// A peer came or went:
//   from 0, type 0   a hello made `address` a peer. It can be sent to from inside the callback
//   from 0, type 1   the peer `address` timed out or logged out; it is still a peer during the callback
//   from 1, type 0   `address` announced itself with message 14
//   from 1, type 1   `address` was logged out by message 13
using LinkLoginCallback = void (*)(std::uint8_t from, std::uint8_t type, const LinkAddress& address,
                                   void* context);

// The answers to name, serial and version queries, each with `info.length` bytes at `bytes`. `bytes` is null
// exactly when `info.length` is 0: for a time-out (status 1) and for an answer with a status other than 0,
// which is passed on in `info.status`.
//   name      the name bytes, not closed by a NUL (a device may count one in). A name length that reaches
//             past the payload is cut to the payload
//   serial    all bytes after the status
//   version   the whole payload, status byte included, at least 11 bytes: major number at offset 9, minor
//             number at offset 10. A shorter payload comes as null bytes
using LinkAnswerCallback = int (*)(const LinkInfo& info, const std::uint8_t* bytes, void* context);

// Attribute values, answers and time-outs of messages 30 to 34; `info.length` bytes of value at `bytes`, null
// exactly when `info.length` is 0.
//   30 answered          one call: attID, length 0, the status
//   31 answered          one call: attID, the value (length 0 when the status is not 0)
//   32 answered          one call for each failed attID, or with attID 0 when none is named: length 0, the
//                        status
//   33 answered          one call for each attribute: attID, the value; or with attID 0, length 0 when none
//                        is named
//   34 answered          one call: attID 0, length 0, the status
//   34 notification      one call: attID, the value, status 0
//   30 to 34 timed out   one call: status 1, length 0; attID of the request for 30 and 31, else 0
// A value of attribute 0 and a value that reaches past its payload are dropped; attID 0 never has bytes.
using LinkAttributeCallback = int (*)(const LinkInfo& info, std::uint16_t attID, const std::uint8_t* bytes,
                                      void* context);

// One of the error codes above and the message id of the frame in question (0 when there is none).
using LinkErrorCallback = void (*)(int code, std::uint16_t messageId, void* context);

// A received frame, or the request that was not answered. For a message longer than 500 bytes a handler sees
// the beginning as frames of kind 3.
using LinkFrameHandler = void (*)(const LinkFrame& frame, void* context);

// Clears all tables, channels, callbacks and the tick counter, seeds rand() and registers the handlers of the
// messages 1, 13, 14, 16, 23 and 30 to 34. Comes first.
void linkInit();

void linkInstallLoginCallback(LinkLoginCallback callback, void* context = nullptr);
void linkInstallNameCallback(LinkAnswerCallback callback, void* context = nullptr);
void linkInstallSerialCallback(LinkAnswerCallback callback, void* context = nullptr);
void linkInstallVersionCallback(LinkAnswerCallback callback, void* context = nullptr);
void linkInstallAttributeCallback(LinkAttributeCallback callback, void* context = nullptr);
void linkInstallErrorCallback(LinkErrorCallback callback, void* context = nullptr);

// Takes the first free of the channels 1 and 2 for a transport. `sendFunction` is not null.
// Returns the channel's number, or 0 with error 7. A channel stays taken until `linkInit`.
[[nodiscard]] std::uint32_t linkOpenChannel(LinkSendFunction sendFunction, void* context = nullptr);

// A new connection of the transport begins: forgets what belongs to the one before it, which is a frame that
// has arrived in part, frames that wait to be processed or sent, peers, and pending requests (without their
// onTimeout). No callback is called. Channels, handlers, callbacks, the host's address and all counters stay,
// so that no answer to a request of the old connection fits one of the new.
void linkForgetConnection();

// The byte parser. Accepts any bytes in any portions: a frame may span portions, a portion may hold several
// frames. Complete frames wait in a queue of 200 for `linkPoll`; only the error callback is called from here.
// Returns 0; 26 for a channel above 2, 27 for a channel that is not open; 45 when a byte 0x55 was followed by
// one whose high nibble is not 1: the rest of `bytes` is then thrown away.
int linkFeed(std::uint32_t channel, std::uint32_t length, const std::uint8_t* bytes);

// The periodic work, one call a tick, before `linkTick(1)`: at most one received frame, at most one queued
// frame to send, ageing of peers, the hello broadcast, the retries.
void linkPoll();

// Adds to the millisecond counter.
void linkTick(std::uint32_t milliseconds);

// The number of coming ticks in which linkPoll has nothing to do, if nothing is fed or sent meanwhile: 0
// while a frame waits, at most 51 (the ageing of peers), at most 50 when linkTick has followed the poll. A
// caller may sleep that long and then count these ticks with one call of linkTick.
[[nodiscard]] std::uint32_t linkIdleTicks();

// Takes the first free of 256 handler entries. Each of the two handlers may be null. Of several handlers for
// one id the first registered is called. Returns 0, or 1 when the table is full.
int linkRegisterMessage(std::uint16_t messageId, LinkFrameHandler onMessage, LinkFrameHandler onTimeout,
                        void* context = nullptr);

// Flags of linkSend.
inline constexpr std::uint32_t kLinkTracked = 1;      // requests: keep, retry 3 times, then call onTimeout
inline constexpr std::uint32_t kLinkKeepSequence = 2; // responses: `sequence` is the caller's
inline constexpr std::uint32_t kLinkCancel = 4;       // with kLinkTracked: cancel instead of sending

// Sends a message to a peer, or on all open channels at once when the destination is the broadcast address.
// `source` is filled in. `sequence` is the next of a 16-bit counter; for a response it is that of the frame
// in dispatch when there is one and kLinkKeepSequence is not set, otherwise the caller's. A message to an
// address that is no peer is dropped silently (a tracked one still times out). A tracked request goes out at
// most 4 times, 1001 ticks apart, until its answer comes. kLinkTracked with kLinkCancel sends nothing: it
// ends a pending request with the same message id and destination, whose onTimeout is called. Returns 0; 1
// when all 200 pending entries are taken and the message went out untracked; 241 with error 12 when there is
// no memory to keep a tracked message, which is then not sent.
int linkSend(std::uint32_t flags, const LinkFrame& frame);

// Tracked queries, answered through the name, serial and version callbacks; the subscription to attribute
// notifications is answered through the attribute callback. For the host's own address the name callback is
// called at once with the host's name, and the serial query does nothing.
void linkQueryName(const LinkAddress& address);
void linkQuerySerial(const LinkAddress& address);
void linkQueryVersion(const LinkAddress& address);
void linkSubscribe(const LinkAddress& address);

// Tracked message 30. A value of more than 200 bytes is dropped silently. `length` has 8 bits: a longer value
// arrives cut to its size modulo 256.
void linkSetAttribute(const LinkAddress& address, std::uint8_t attID, std::uint8_t length,
                      const std::uint8_t* value);

// Tracked message 31.
void linkGetAttribute(const LinkAddress& address, std::uint8_t attID);

// Tracked message 33 for `count` attributes; count 0 (ids may be null) asks for all.
void linkGetAttributes(const LinkAddress& address, std::uint8_t count, const std::uint8_t* ids);
