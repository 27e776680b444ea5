// A device's node on the link: its hello, the hosts that it knows, the login notice, sequence numbers,
// fragments. Knows nothing of names and attributes; VirtualDevice does.
//
// Times are milliseconds of the caller's clock and never go back. One thread.
#pragma once

#include "emulator/LinkFrame.h"

#include <functional>

namespace vexo::emulator {

// How a device treats a question.
enum class Answering { On, Off, Fail };

struct LinkSettings {
    LinkAddress address;
    // Longest payload that the device takes, and the most that it puts in one frame.
    std::uint16_t maxPayload = kMaxFramePayload;
    // The hello interval as a small float: low nibble shifted left by four times the high nibble; 0x24 is
    // 1024.
    std::uint8_t intervalCode = 0x24;
    // Frames a second that the device asks for, 0 for no limit.
    std::uint16_t frameRate = 0;
    // A host is forgotten after this many of its own hello intervals without a hello.
    std::uint16_t patienceIntervals = 3;
    // Added to the time since power-on in the hello record.
    std::uint32_t upTimeOffsetMs = 0;
    Answering hello = Answering::On;
    Answering login = Answering::On;
};

// Milliseconds that an interval code means.
std::uint64_t helloIntervalMs(std::uint8_t intervalCode);

class LinkNode {
public:
    struct Host {
        LinkAddress address;
        std::uint16_t maxPayload = 0;
        std::uint64_t expiresAtMs = 0;
        // The host has sent its login notice.
        bool login = false;
        bool subscribed = false;

        // Reassembly of a message that comes in fragments.
        Bytes reassembled;
        std::uint16_t reassemblyMessageId = 0;
        std::uint16_t firstSequence = 0;
        std::uint16_t sequenceSum = 0;

        // The device's own login notice while it is not answered.
        LinkFrame notice;
        std::uint64_t noticeSentAtMs = 0;
        int noticeRetriesLeft = 0;
        bool noticePending = false;
    };

    // The frames of one message, in order.
    using Transmit = std::function<void(std::vector<LinkFrame> pieces)>;
    // A number from 0 to bound - 1.
    using Draw = std::function<std::uint64_t(std::uint64_t bound)>;

    LinkNode(LinkSettings initial, Transmit transmitFunction, Draw drawFunction);

    // Power on: no hosts, sequences from 1, up-time 0, hello after one interval.
    void powerOn(std::uint64_t nowMs);

    // Takes one frame. The result is the message that it completes, for the device to act upon: with
    // fragments the payload is put together and the sequence is that of the first. Nothing for a hello, a
    // fragment that is not the last, a frame for somebody else.
    std::optional<LinkFrame> receive(const LinkFrame& frame, std::uint64_t nowMs);

    // Sends what is due.
    void advance(std::uint64_t nowMs);
    // When advance has something to do next.
    std::uint64_t nextEventAtMs() const;

    // Answers a request with its sequence. Dropped when the asking host is unknown.
    void answer(const LinkFrame& request, Bytes payload);
    // Sends a message of the device's own; the result says to how many hosts.
    std::size_t sendToHosts(std::uint8_t kind, std::uint16_t messageId, const Bytes& payload);
    std::size_t notifySubscribers(std::uint16_t messageId, const Bytes& payload);

    void subscribe(const LinkAddress& host, bool subscribed);
    const std::vector<Host>& knownHosts() const { return hosts; }
    std::uint32_t upTimeMs() const;

    LinkSettings settings;

private:
    Host* findHost(const LinkAddress& address);
    void onHello(const LinkFrame& frame);
    void onLoginNotice(const LinkFrame& message, Host* host);
    std::optional<LinkFrame> reassemble(const LinkFrame& frame, Host& host);
    void sendHello(const LinkAddress& destination, std::uint8_t kind, std::uint16_t sequence);
    void sendMessage(const Host& host, LinkFrame message);
    std::uint16_t takeSequence();
    void moveToFreeAddress();

    Transmit transmit;
    Draw draw;
    std::vector<Host> hosts;
    std::uint64_t now = 0;
    std::uint64_t poweredOnAtMs = 0;
    std::uint64_t helloAtMs = 0;
    std::uint16_t lastSequence = 0;
    std::uint16_t helloSequence = 0;
};

} // namespace vexo::emulator
