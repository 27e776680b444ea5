#pragma once

// The link stack on a bench: a virtual clock, a wire that records, callbacks that record.

#include "device/link/Link.h"
#include "device/link/LinkInspection.h"
#include "tests/support/WireFrame.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

using wireFrame::Bytes;
using wireFrame::decode;
using wireFrame::encode;
using wireFrame::HelloFields;
using wireFrame::helloPayload;
using wireFrame::hexOf;
using wireFrame::kHost;
using wireFrame::WireFrame;

inline constexpr LinkAddress kDevice{7, 3, 0x1234};
inline constexpr LinkAddress kEverybody = wireFrame::kBroadcast;

class LinkBench : public ::testing::Test {
public:
    struct Sent {
        std::uint32_t channel;
        std::uint32_t tick;
        Bytes bytes;
        WireFrame frame;
    };
    struct Login {
        std::uint8_t from;
        std::uint8_t type;
        LinkAddress address;
        bool operator==(const Login&) const = default;
    };
    struct Answer {
        LinkInfo info;
        std::optional<Bytes> bytes; // nothing for null
    };
    struct Attribute {
        LinkInfo info;
        std::uint16_t attID;
        std::optional<Bytes> bytes;
    };
    struct Error {
        int code;
        std::uint16_t messageId;
        bool operator==(const Error&) const = default;
    };
    struct Delivered {
        LinkFrame frame; // payload null
        Bytes payload;
    };

    void SetUp() override;

    // One tick as the program makes it: poll, then count.
    void tick(std::uint32_t count = 1);

    // Feeds bytes in one report on the open channel.
    int feed(const Bytes& bytes);
    int feed(const WireFrame& frame) { return feed(encode(frame)); }

    // A hello from a device, processed.
    void hello(const LinkAddress& source, const HelloFields& fields = {}, std::uint32_t onChannel = 1);

    // A peer whose login traffic is over and forgotten: message 14 answered, recordings empty.
    void connect(const LinkAddress& device = kDevice, const HelloFields& fields = {});

    // Feeds a frame from the device to the host and polls until the receive queue is empty.
    void receive(std::uint8_t kind, std::uint16_t messageId, const Bytes& payload,
                 std::uint16_t sequence = 900);

    // Polls without letting time pass, until nothing is waiting to be sent.
    void flush();

    // The frames on the wire with this message id.
    [[nodiscard]] std::vector<WireFrame> sentWith(std::uint16_t messageId) const;

    // Registers handlers that record into `delivered` and `timedOut`.
    int record(std::uint16_t messageId);

    void forget();

    std::uint32_t channel = 0;
    std::vector<Sent> sent;
    std::vector<Login> logins;
    std::vector<Answer> names;
    std::vector<Answer> serials;
    std::vector<Answer> versions;
    std::vector<Attribute> attributes;
    std::vector<Error> errors;
    std::vector<Delivered> delivered;
    std::vector<Delivered> timedOut;

    static Delivered deliveredOf(const LinkFrame& frame);
    static int recordSent(std::uint32_t channel, std::uint32_t length, const std::uint8_t* bytes,
                          void* context);
};
