#include "LinkBench.h"

namespace {

std::optional<Bytes> copyOf(const std::uint8_t* bytes, std::uint16_t length) {
    if (bytes == nullptr) {
        return std::nullopt;
    }
    return Bytes(bytes, bytes + length);
}

} // namespace

LinkBench::Delivered LinkBench::deliveredOf(const LinkFrame& frame) {
    Delivered one{frame, frame.length == 0 ? Bytes() : Bytes(frame.payload, frame.payload + frame.length)};
    one.frame.payload = nullptr;
    return one;
}

void LinkBench::SetUp() {
    linkInit();
    linkInstallErrorCallback(
        [](int code, std::uint16_t messageId, void* context) {
            static_cast<LinkBench*>(context)->errors.push_back({code, messageId});
        },
        this);
    linkInstallLoginCallback(
        [](std::uint8_t from, std::uint8_t type, const LinkAddress& address, void* context) {
            static_cast<LinkBench*>(context)->logins.push_back({from, type, address});
        },
        this);
    linkInstallNameCallback(
        [](const LinkInfo& info, const std::uint8_t* bytes, void* context) {
            static_cast<LinkBench*>(context)->names.push_back({info, copyOf(bytes, info.length)});
            return 0;
        },
        this);
    linkInstallSerialCallback(
        [](const LinkInfo& info, const std::uint8_t* bytes, void* context) {
            static_cast<LinkBench*>(context)->serials.push_back({info, copyOf(bytes, info.length)});
            return 0;
        },
        this);
    linkInstallVersionCallback(
        [](const LinkInfo& info, const std::uint8_t* bytes, void* context) {
            static_cast<LinkBench*>(context)->versions.push_back({info, copyOf(bytes, info.length)});
            return 0;
        },
        this);
    linkInstallAttributeCallback(
        [](const LinkInfo& info, std::uint16_t attID, const std::uint8_t* bytes, void* context) {
            static_cast<LinkBench*>(context)->attributes.push_back({info, attID, copyOf(bytes, info.length)});
            return 0;
        },
        this);
    channel = linkOpenChannel(recordSent, this);
    ASSERT_EQ(channel, 1U);
}

int LinkBench::recordSent(std::uint32_t channel, std::uint32_t length, const std::uint8_t* bytes,
                          void* context) {
    const Bytes copy(bytes, bytes + length);
    const std::optional<WireFrame> frame = decode(copy);
    EXPECT_TRUE(frame.has_value()) << "not a frame:\n" << hexOf(copy);
    static_cast<LinkBench*>(context)->sent.push_back(
        {channel, linkInspect().tickCount, copy, frame.value_or(WireFrame{})});
    return 1;
}

void LinkBench::tick(std::uint32_t count) {
    for (std::uint32_t done = 0; done < count; ++done) {
        linkPoll();
        linkTick(1);
    }
}

int LinkBench::feed(const Bytes& bytes) {
    return linkFeed(channel, static_cast<std::uint32_t>(bytes.size()), bytes.data());
}

void LinkBench::hello(const LinkAddress& source, const HelloFields& fields, std::uint32_t onChannel) {
    const Bytes bytes = wireFrame::hello(source, fields);
    ASSERT_EQ(linkFeed(onChannel, static_cast<std::uint32_t>(bytes.size()), bytes.data()), 0);
    linkPoll();
}

void LinkBench::connect(const LinkAddress& device, const HelloFields& fields) {
    hello(device, fields);
    flush();
    const std::vector<WireFrame> notices = sentWith(14);
    ASSERT_FALSE(notices.empty());
    feed({1, notices.back().sequence, device, kHost, 14, {0}});
    linkPoll();
    ASSERT_EQ(linkInspect().pendingCount, 0U);
    forget();
}

void LinkBench::receive(std::uint8_t kind, std::uint16_t messageId, const Bytes& payload,
                        std::uint16_t sequence) {
    ASSERT_EQ(feed({kind, sequence, kDevice, kHost, messageId, payload}), 0);
    while (linkInspect().receiveQueueLength > 0) {
        linkPoll();
    }
}

void LinkBench::flush() {
    for (int polls = 0; polls < 1000 && linkInspect().sendQueueLength > 0; ++polls) {
        linkPoll();
    }
    ASSERT_EQ(linkInspect().sendQueueLength, 0U);
}

std::vector<WireFrame> LinkBench::sentWith(std::uint16_t messageId) const {
    std::vector<WireFrame> frames;
    for (const Sent& one : sent) {
        if (one.frame.messageId == messageId) {
            frames.push_back(one.frame);
        }
    }
    return frames;
}

int LinkBench::record(std::uint16_t messageId) {
    return linkRegisterMessage(
        messageId,
        [](const LinkFrame& frame, void* context) {
            static_cast<LinkBench*>(context)->delivered.push_back(deliveredOf(frame));
        },
        [](const LinkFrame& frame, void* context) {
            static_cast<LinkBench*>(context)->timedOut.push_back(deliveredOf(frame));
        },
        this);
}

void LinkBench::forget() {
    sent.clear();
    logins.clear();
    names.clear();
    serials.clear();
    versions.clear();
    attributes.clear();
    errors.clear();
    delivered.clear();
    timedOut.clear();
}
