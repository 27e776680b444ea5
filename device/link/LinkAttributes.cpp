// The attribute messages: one 8-bit id and a short value per attribute.

#include "device/link/LinkMessages.h"
#include "device/link/LinkState.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace vexo::link {

namespace {

constexpr std::uint8_t kLongestValue = 200;
constexpr std::uint8_t kNoAttribute = 0;
constexpr std::uint8_t kSubscribe = 0;

using Bytes = std::span<const std::uint8_t>;

void callAttribute(LinkInfo info, std::uint8_t attID, Bytes value) {
    const auto& attribute = stack().callbacks.attribute;
    info.length = static_cast<std::uint16_t>(value.size());
    if (attribute.function != nullptr) {
        attribute.function(info, attID, value.empty() ? nullptr : value.data(), attribute.context);
    }
}

LinkInfo infoOf(const LinkFrame& frame, std::uint8_t status) {
    return {frame.kind, frame.source, frame.messageId, 0, status};
}

// Calls back with the value of the record (attID, length, value) at the beginning of `records` and returns
// what follows it. A record that reaches past the end is dropped, and nothing follows it.
Bytes callForRecord(const LinkInfo& info, Bytes records) {
    constexpr std::size_t kRecordHeader = 2;
    if (records.size() < kRecordHeader || records.size() - kRecordHeader < records[1]) {
        return {};
    }
    const std::uint8_t attID = records[0];
    const Bytes value = records.subspan(kRecordHeader, records[1]);
    if (attID != kNoAttribute) {
        callAttribute(info, attID, value);
    }
    return records.subspan(kRecordHeader + value.size());
}

Bytes payloadOf(const LinkFrame& frame) {
    return {frame.payload, frame.length};
}

void onSetAttributeMessage(const LinkFrame& frame, void*) {
    if (frame.kind == kLinkRequest && frame.length >= 1) {
        // The host has no attributes of its own: the value is accepted and ignored.
        sendResponse(frame, std::array<std::uint8_t, 2>{kStatusSuccess, frame.payload[0]});
    } else if (frame.kind == kLinkResponse) {
        const std::uint8_t attID = frame.length >= 2 ? frame.payload[1] : kNoAttribute;
        callAttribute(infoOf(frame, statusOf(frame)), attID, {});
    }
}

void onGetAttributeMessage(const LinkFrame& frame, void*) {
    if (frame.kind != kLinkResponse) {
        return;
    }
    const std::uint8_t status = statusOf(frame);
    if (status == kStatusSuccess) {
        callForRecord(infoOf(frame, status), payloadOf(frame).subspan(1));
    } else {
        const std::uint8_t attID = frame.length >= 2 ? frame.payload[1] : kNoAttribute;
        callAttribute(infoOf(frame, status), attID, {});
    }
}

// Status, then the ids that failed.
void onSetAttributesMessage(const LinkFrame& frame, void*) {
    if (frame.kind != kLinkResponse) {
        return;
    }
    const LinkInfo info = infoOf(frame, statusOf(frame));
    if (frame.length < 2) {
        callAttribute(info, kNoAttribute, {});
        return;
    }
    for (const std::uint8_t attID : payloadOf(frame).subspan(1)) {
        callAttribute(info, attID, {});
    }
}

// Status, then the values.
void onGetAttributesMessage(const LinkFrame& frame, void*) {
    if (frame.kind != kLinkResponse) {
        return;
    }
    const LinkInfo info = infoOf(frame, statusOf(frame));
    if (info.status != kStatusSuccess || frame.length < 2) {
        callAttribute(info, kNoAttribute, {});
        return;
    }
    Bytes records = payloadOf(frame).subspan(1);
    while (!records.empty()) {
        records = callForRecord(info, records);
    }
}

void onSubscribeMessage(const LinkFrame& frame, void*) {
    if (frame.kind == kLinkResponse) {
        callAttribute(infoOf(frame, statusOf(frame)), kNoAttribute, {});
    } else if (frame.kind == kLinkNotification) {
        callForRecord(infoOf(frame, kStatusSuccess), payloadOf(frame));
    }
}

void callTimeout(const LinkFrame& request, std::uint8_t attID) {
    callAttribute({request.kind, request.destination, request.messageId, 0, kStatusFailed}, attID, {});
}

void onAttributeTimeout(const LinkFrame& request, void*) {
    callTimeout(request, request.length >= 1 ? request.payload[0] : kNoAttribute);
}

void onAttributesTimeout(const LinkFrame& request, void*) {
    callTimeout(request, kNoAttribute);
}

} // namespace

void registerAttributeMessages() {
    linkRegisterMessage(kLinkMessageSetAttribute, onSetAttributeMessage, onAttributeTimeout);
    linkRegisterMessage(kLinkMessageGetAttribute, onGetAttributeMessage, onAttributeTimeout);
    linkRegisterMessage(kLinkMessageSetAttributes, onSetAttributesMessage, onAttributesTimeout);
    linkRegisterMessage(kLinkMessageGetAttributes, onGetAttributesMessage, onAttributesTimeout);
    linkRegisterMessage(kLinkMessageSubscribe, onSubscribeMessage, onAttributesTimeout);
}

} // namespace vexo::link

void linkSubscribe(const LinkAddress& address) {
    vexo::link::sendRequest(address, kLinkMessageSubscribe, std::array{vexo::link::kSubscribe});
}

void linkSetAttribute(const LinkAddress& address, std::uint8_t attID, std::uint8_t length,
                      const std::uint8_t* value) {
    using namespace vexo::link;
    if (length > kLongestValue) {
        return;
    }
    std::array<std::uint8_t, 2 + kLongestValue> payload{attID, length};
    std::copy_n(value, length, &payload[2]);
    sendRequest(address, kLinkMessageSetAttribute, Bytes(payload).first(std::size_t{2} + length));
}

void linkGetAttribute(const LinkAddress& address, std::uint8_t attID) {
    vexo::link::sendRequest(address, kLinkMessageGetAttribute, std::array{attID});
}

void linkGetAttributes(const LinkAddress& address, std::uint8_t count, const std::uint8_t* ids) {
    using namespace vexo::link;
    std::array<std::uint8_t, 256> payload{count};
    std::copy_n(ids, count, &payload[1]);
    sendRequest(address, kLinkMessageGetAttributes, Bytes(payload).first(std::size_t{1} + count));
}
