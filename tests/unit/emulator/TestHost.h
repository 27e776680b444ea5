// A host for tests of the bus: opens the link interface, sends frames in reports, collects what comes back.
// The test sets the clock. Frames are encoded by the tests' codec, not by the emulator's.
#pragma once

#include "emulator/VirtualBus.h"
#include "tests/support/WireFrame.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace vexo::emulator {

// Makes a failing comparison of bytes readable.
inline Bytes bytes(std::string_view hex) {
    const std::optional<Bytes> parsed = fromHex(hex);
    if (!parsed) {
        ADD_FAILURE() << "not hexadecimal: " << hex;
    }
    return parsed.value_or(Bytes());
}

inline ::LinkAddress onWire(const LinkAddress& address) {
    return {address.channelId, address.vendor, address.product};
}

inline Bytes onWire(const LinkFrame& frame) {
    return wireFrame::encode({frame.kind, frame.sequence, onWire(frame.source), onWire(frame.destination),
                              frame.messageId, frame.payload});
}

class TestHost {
public:
    explicit TestHost(Model deviceModel = Model::MixdeskR2, std::uint64_t seed = 1)
        : bus(std::vector<Model>{deviceModel}, seed), model(modelInfo(deviceModel)) {
        VirtualBus::Listener listener;
        listener.inputReport = [this](VirtualBus::HandleId id, const Bytes& report) {
            EXPECT_EQ(id, handle);
            reports.push_back(report);
            const std::size_t header = std::min(model.reportHeader, report.size());
            reader.feed(BytesView(report).subspan(header),
                        [this](LinkFrame&& frame) { frames.push_back(std::move(frame)); });
            return true;
        };
        listener.unplugged = [this](VirtualBus::HandleId) {
            ++unplugCount;
        };
        bus.setListener(std::move(listener));
        bus.plug(0);
        open();
    }

    void open() {
        const std::optional<VirtualBus::HandleId> opened =
            bus.open(bus.enumerate(model.vendorId, model.productId).front().path);
        EXPECT_TRUE(opened.has_value());
        handle = opened.value_or(0);
    }

    VirtualDevice& device() { return bus.device(0); }
    LinkAddress deviceAddress() { return device().link.settings.address; }

    void advance(std::uint64_t ms) { bus.advance(bus.timeMs() + ms); }

    void writeBytes(BytesView bytes) {
        const auto form =
            model.reportHeader != 0 ? wireFrame::ReportForm::Mixer : wireFrame::ReportForm::Microphone;
        for (Bytes& report : wireFrame::hostReports(form, bytes)) {
            EXPECT_TRUE(bus.write(handle, std::move(report)));
        }
    }

    void sendFrame(const LinkFrame& frame) { writeBytes(onWire(frame)); }

    void send(std::uint8_t kind, std::uint16_t messageId, Bytes payload, std::uint16_t sequence = 7) {
        sendFrame({.kind = kind,
                   .sequence = sequence,
                   .source = address,
                   .destination = messageId == kHello ? kBroadcast : deviceAddress(),
                   .messageId = messageId,
                   .payload = std::move(payload)});
    }

    void sendHello(std::uint16_t maxPayload = 500, std::uint32_t upTimeMs = 0) {
        send(kNotification, kHello,
             wireFrame::helloPayload({.nodeKind = 0, .maxPayload = maxPayload, .upTime = upTimeMs}));
    }

    // Hello, login notice and its answer, subscription.
    void login() {
        sendHello();
        send(kRequest, kLoginNotice, toBytes(deviceAddress()));
        send(kRequest, kAttributeSubscription, {0});
        send(kResponse, kLoginNotice, {0}, last(kLoginNotice, kRequest).sequence);
        clear();
    }

    void clear() {
        reports.clear();
        frames.clear();
    }

    std::vector<LinkFrame> framesOf(std::uint16_t messageId) const {
        std::vector<LinkFrame> found;
        std::ranges::copy_if(frames, std::back_inserter(found),
                             [&](const LinkFrame& frame) { return frame.messageId == messageId; });
        return found;
    }

    bool has(std::uint16_t messageId, std::uint8_t kind) const {
        return std::ranges::any_of(frames, [&](const LinkFrame& frame) {
            return frame.messageId == messageId && frame.kind == kind;
        });
    }

    // The last frame of this sort; a test failure when there is none.
    LinkFrame last(std::uint16_t messageId, std::uint8_t kind) const {
        LinkFrame found;
        EXPECT_TRUE(has(messageId, kind)) << "no frame of message " << messageId << " and kind " << int{kind};
        for (const LinkFrame& frame : frames) {
            if (frame.messageId == messageId && frame.kind == kind) {
                found = frame;
            }
        }
        return found;
    }

    // The payload of the answer to a request that is sent now, as text; "none" without an answer.
    std::string ask(std::uint16_t messageId, Bytes payload) {
        clear();
        send(kRequest, messageId, std::move(payload));
        return has(messageId, kResponse) ? toHex(last(messageId, kResponse).payload) : "none";
    }

    VirtualBus bus;
    const ModelInfo& model;
    LinkAddress address{1, 1, 28};
    VirtualBus::HandleId handle = 0;
    std::vector<Bytes> reports;
    std::vector<LinkFrame> frames;
    FrameReader reader;
    int unplugCount = 0;
};

} // namespace vexo::emulator
