#include "emulator/LinkNode.h"

#include <algorithm>
#include <utility>

namespace vexo::emulator {
namespace {

// A request that is not answered is sent again after more than this, this many times.
constexpr std::uint64_t kRetryAfterMs = 1001;
constexpr int kRetries = 3;
// A peer is lost after this many of its hello intervals, or after a fixed time when it names no protocol.
constexpr std::uint64_t kLostWithoutProtocolMs = 3000;

// The hello record: node kind u8, max payload u16, hops u8, protocol A u8, protocol B u8, up-time u32,
// frame rate u16, interval code u8.
constexpr std::size_t kHelloSize = 13;
constexpr std::uint8_t kNodeKindDevice = 1;
constexpr std::uint8_t kProtocolA = 1;
constexpr std::uint8_t kProtocolB = 10;

} // namespace

std::uint64_t helloIntervalMs(std::uint8_t intervalCode) {
    return static_cast<std::uint64_t>(intervalCode & 0x0FU) << (4U * (intervalCode >> 4U));
}

LinkNode::LinkNode(LinkSettings initial, Transmit transmitFunction, Draw drawFunction)
    : settings(initial), transmit(std::move(transmitFunction)), draw(std::move(drawFunction)) {}

void LinkNode::powerOn(std::uint64_t nowMs) {
    now = nowMs;
    poweredOnAtMs = nowMs;
    helloAtMs = nowMs + helloIntervalMs(settings.intervalCode);
    hosts.clear();
    lastSequence = 0;
    helloSequence = 0;
}

std::uint32_t LinkNode::upTimeMs() const {
    return static_cast<std::uint32_t>(now - poweredOnAtMs) + settings.upTimeOffsetMs;
}

LinkNode::Host* LinkNode::findHost(const LinkAddress& address) {
    const auto found = std::ranges::find(hosts, address, &Host::address);
    return found == hosts.end() ? nullptr : &*found;
}

std::optional<LinkFrame> LinkNode::receive(const LinkFrame& frame, std::uint64_t nowMs) {
    now = nowMs;
    if (frame.messageId == kHello) {
        onHello(frame);
        return std::nullopt;
    }
    if (frame.source == settings.address ||
        (frame.destination != settings.address && !frame.destination.isBroadcast())) {
        return std::nullopt;
    }
    Host* const host = findHost(frame.source);
    std::optional<LinkFrame> message = host == nullptr
                                           ? (frame.kind == kFragment ? std::nullopt : std::optional(frame))
                                           : reassemble(frame, *host);
    if (!message) {
        return std::nullopt;
    }
    if (message->messageId == kLoginNotice) {
        onLoginNotice(*message, host);
    } else if (message->messageId == kLogout && message->kind == kRequest && message->payload.size() >= 4) {
        const LinkAddress leaving = readAddress(message->payload, 0);
        std::erase_if(hosts, [&](const Host& each) { return each.address == leaving; });
    }
    return message;
}

std::optional<LinkFrame> LinkNode::reassemble(const LinkFrame& frame, Host& host) {
    if (frame.kind == kFragment) {
        if (host.reassembled.empty()) {
            host.firstSequence = static_cast<std::uint16_t>(frame.sequence - 1);
            host.sequenceSum = host.firstSequence;
        }
        host.sequenceSum = static_cast<std::uint16_t>(host.sequenceSum + frame.sequence);
        host.reassemblyMessageId = frame.messageId;
        host.reassembled.insert(host.reassembled.end(), frame.payload.begin(), frame.payload.end());
        if (host.reassembled.size() > kMaxFramePayload) {
            host.reassembled.clear();
        }
        return std::nullopt;
    }
    if (host.reassembled.empty()) {
        return frame;
    }
    Bytes begun = std::exchange(host.reassembled, {});
    if (frame.sequence != host.sequenceSum || frame.messageId != host.reassemblyMessageId ||
        begun.size() + frame.payload.size() > kMaxFramePayload) {
        // The rest of the message was lost, and with it this frame if it was its last piece.
        return frame.messageId == host.reassemblyMessageId ? std::nullopt : std::optional(frame);
    }
    LinkFrame whole = frame;
    whole.sequence = host.firstSequence;
    begun.insert(begun.end(), frame.payload.begin(), frame.payload.end());
    whole.payload = std::move(begun);
    return whole;
}

void LinkNode::onHello(const LinkFrame& frame) {
    if (frame.payload.size() < kHelloSize) {
        return;
    }
    const std::uint32_t theirUpTimeMs = readU32(frame.payload, 6);
    if (frame.source == settings.address) {
        // Two nodes have one address: the younger one takes another.
        if (theirUpTimeMs > upTimeMs()) {
            moveToFreeAddress();
            helloSequence = sequenceAfter(helloSequence);
            sendHello(kBroadcast, kNotification, helloSequence);
        }
        return;
    }
    const bool namesProtocol = frame.payload[4] != 0 && frame.payload[5] != 0;
    const std::uint64_t aliveForMs = namesProtocol
                                         ? settings.patienceIntervals * helloIntervalMs(frame.payload[12])
                                         : kLostWithoutProtocolMs;
    Host* host = findHost(frame.source);
    const bool isNew = host == nullptr;
    if (isNew) {
        host = &hosts.emplace_back();
        host->address = frame.source;
    }
    host->maxPayload = readU16(frame.payload, 1);
    host->expiresAtMs = std::max(host->expiresAtMs, now + aliveForMs);
    if (frame.kind == kRequest && frame.destination == settings.address) {
        sendHello(host->address, kResponse, frame.sequence);
    }
    if (isNew) {
        sendHello(host->address, kNotification, takeSequence());
        host->notice = {.kind = kRequest,
                        .sequence = takeSequence(),
                        .source = settings.address,
                        .destination = host->address,
                        .messageId = kLoginNotice,
                        .payload = toBytes(settings.address)};
        host->noticePending = true;
        host->noticeSentAtMs = now;
        host->noticeRetriesLeft = kRetries;
        sendMessage(*host, host->notice);
    }
}

void LinkNode::onLoginNotice(const LinkFrame& message, Host* host) {
    if (host == nullptr) {
        return;
    }
    if (message.kind == kResponse) {
        host->noticePending = host->noticePending && message.sequence != host->notice.sequence;
    } else if (message.kind == kRequest) {
        host->login = true;
        if (settings.login != Answering::Off) {
            answer(message, {settings.login == Answering::On ? std::uint8_t{0} : std::uint8_t{1}});
        }
    }
}

void LinkNode::moveToFreeAddress() {
    LinkAddress candidate = settings.address;
    const auto taken = [&](const LinkAddress& address) {
        return address == settings.address || findHost(address) != nullptr;
    };
    while (taken(candidate)) {
        candidate.channelId = static_cast<std::uint8_t>(1 + draw(255));
    }
    settings.address = candidate;
}

void LinkNode::sendHello(const LinkAddress& destination, std::uint8_t kind, std::uint16_t sequence) {
    if (settings.hello != Answering::On) {
        return;
    }
    LinkFrame frame{.kind = kind,
                    .sequence = sequence,
                    .source = settings.address,
                    .destination = destination,
                    .messageId = kHello,
                    .payload = {}};
    frame.payload.push_back(kNodeKindDevice);
    appendU16(frame.payload, settings.maxPayload);
    frame.payload.push_back(0); // hops
    frame.payload.push_back(kProtocolA);
    frame.payload.push_back(kProtocolB);
    appendU32(frame.payload, upTimeMs());
    appendU16(frame.payload, settings.frameRate);
    frame.payload.push_back(settings.intervalCode);
    transmit({std::move(frame)});
}

std::uint16_t LinkNode::takeSequence() {
    lastSequence = sequenceAfter(lastSequence);
    return lastSequence;
}

void LinkNode::sendMessage(const Host& host, LinkFrame message) {
    const std::size_t pieceSize = std::min({kMaxFramePayload, static_cast<std::size_t>(host.maxPayload),
                                            static_cast<std::size_t>(settings.maxPayload)});
    if (pieceSize == 0) {
        return;
    }
    // The fragments count up from the message's sequence; the last piece, which keeps the message's kind,
    // carries the message's sequence plus the sum of theirs.
    std::vector<LinkFrame> pieces;
    std::uint16_t sequence = message.sequence;
    std::uint16_t lastPieceSequence = message.sequence;
    BytesView rest = message.payload;
    while (rest.size() > pieceSize) {
        LinkFrame piece = message;
        piece.kind = kFragment;
        sequence = sequenceAfter(sequence);
        piece.sequence = sequence;
        lastPieceSequence = static_cast<std::uint16_t>(lastPieceSequence + sequence);
        piece.payload.assign(rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(pieceSize));
        rest = rest.subspan(pieceSize);
        pieces.push_back(std::move(piece));
    }
    LinkFrame last = message;
    last.sequence = lastPieceSequence;
    last.payload.assign(rest.begin(), rest.end());
    pieces.push_back(std::move(last));
    transmit(std::move(pieces));
}

void LinkNode::answer(const LinkFrame& request, Bytes payload) {
    const Host* const host = findHost(request.source);
    if (host == nullptr) {
        return;
    }
    sendMessage(*host, {.kind = kResponse,
                        .sequence = request.sequence,
                        .source = settings.address,
                        .destination = request.source,
                        .messageId = request.messageId,
                        .payload = std::move(payload)});
}

std::size_t LinkNode::sendToHosts(std::uint8_t kind, std::uint16_t messageId, const Bytes& payload) {
    for (const Host& host : hosts) {
        sendMessage(host, {.kind = kind,
                           .sequence = takeSequence(),
                           .source = settings.address,
                           .destination = host.address,
                           .messageId = messageId,
                           .payload = payload});
    }
    return hosts.size();
}

std::size_t LinkNode::notifySubscribers(std::uint16_t messageId, const Bytes& payload) {
    std::size_t notified = 0;
    for (const Host& host : hosts) {
        if (host.subscribed) {
            sendMessage(host, {.kind = kNotification,
                               .sequence = takeSequence(),
                               .source = settings.address,
                               .destination = host.address,
                               .messageId = messageId,
                               .payload = payload});
            ++notified;
        }
    }
    return notified;
}

void LinkNode::subscribe(const LinkAddress& host, bool subscribed) {
    if (Host* const found = findHost(host)) {
        found->subscribed = subscribed;
    }
}

void LinkNode::advance(std::uint64_t nowMs) {
    now = nowMs;
    std::erase_if(hosts, [&](const Host& host) { return host.expiresAtMs <= now; });
    if (helloAtMs <= now) {
        helloSequence = sequenceAfter(helloSequence);
        sendHello(kBroadcast, kNotification, helloSequence);
        // An interval of 0 would repeat the hello without end.
        helloAtMs = now + std::max<std::uint64_t>(1, helloIntervalMs(settings.intervalCode));
    }
    for (Host& host : hosts) {
        if (!host.noticePending || host.noticeSentAtMs + kRetryAfterMs > now) {
            continue;
        }
        if (host.noticeRetriesLeft == 0) {
            host.noticePending = false;
            continue;
        }
        --host.noticeRetriesLeft;
        host.noticeSentAtMs = now;
        sendMessage(host, host.notice);
    }
}

std::uint64_t LinkNode::nextEventAtMs() const {
    std::uint64_t next = helloAtMs;
    for (const Host& host : hosts) {
        next = std::min(next, host.expiresAtMs);
        if (host.noticePending) {
            next = std::min(next, host.noticeSentAtMs + kRetryAfterMs);
        }
    }
    return next;
}

} // namespace vexo::emulator
