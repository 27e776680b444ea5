// Who a node is: name, serial number, version, login and logout.

#include "device/link/LinkMessages.h"

#include "device/link/LinkPeers.h"
#include "device/link/LinkState.h"

#include <algorithm>
#include <array>

namespace vexo::link {

namespace {

constexpr std::uint8_t kFromMessage = 1; // the login callback's `from` for messages 13 and 14
constexpr std::uint8_t kAnnounced = 0;
constexpr std::uint8_t kLoggedOut = 1;

constexpr std::uint16_t kVersionLengthRead = 11; // major at offset 9, minor at offset 10

void callAnswer(const Callback<LinkAnswerCallback>& callback, LinkInfo info,
                std::span<const std::uint8_t> bytes) {
    info.length = static_cast<std::uint16_t>(bytes.size());
    if (callback.function != nullptr) {
        callback.function(info, bytes.empty() ? nullptr : bytes.data(), callback.context);
    }
}

// Common to all answers: for a failure the callback gets the status and no bytes.
void callAnswerOf(const LinkFrame& response, const Callback<LinkAnswerCallback>& callback,
                  std::span<const std::uint8_t> bytes) {
    const LinkInfo info{response.kind, response.source, response.messageId, 0, statusOf(response)};
    callAnswer(callback, info, info.status == kStatusSuccess ? bytes : std::span<const std::uint8_t>());
}

void callTimeout(const LinkFrame& request, const Callback<LinkAnswerCallback>& callback) {
    callAnswer(callback, {request.kind, request.destination, request.messageId, 0, kStatusFailed}, {});
}

void answerName(const LinkFrame& request) {
    std::array<std::uint8_t, 22> payload{};
    payload[0] = kStatusSuccess;                                // 0 status
    payload[1] = static_cast<std::uint8_t>(kHostName.size());   // 1 name length
    std::copy(kHostName.begin(), kHostName.end(), &payload[2]); // 2 name, then zeros
    sendResponse(request, payload);
}

void onNameMessage(const LinkFrame& frame, void*) {
    if (frame.kind == kLinkRequest) {
        answerName(frame);
    } else if (frame.kind == kLinkResponse) {
        std::span<const std::uint8_t> name;
        if (frame.length > 2) { // status, name length, name
            const std::size_t present = frame.length - std::size_t{2};
            name = {frame.payload + 2, std::min<std::size_t>(frame.payload[1], present)};
        }
        callAnswerOf(frame, stack().callbacks.name, name);
    }
}

void onNameTimeout(const LinkFrame& request, void*) {
    callTimeout(request, stack().callbacks.name);
}

void onSerialMessage(const LinkFrame& frame, void*) {
    if (frame.kind == kLinkResponse) {
        std::span<const std::uint8_t> serial;
        if (frame.length > 1) { // status, serial
            serial = {frame.payload + 1, frame.length - std::size_t{1}};
        }
        callAnswerOf(frame, stack().callbacks.serial, serial);
    }
}

void onSerialTimeout(const LinkFrame& request, void*) {
    callTimeout(request, stack().callbacks.serial);
}

void answerVersion(const LinkFrame& request) {
    std::array<std::uint8_t, 18> payload{};
    payload[0] = kStatusSuccess;     // 0 status
    writeU32(kHostVid, &payload[1]); // 1 VID
    writeU32(kHostPid, &payload[5]); // 5 PID, then zeros
    sendResponse(request, payload);
}

void onVersionMessage(const LinkFrame& frame, void*) {
    if (frame.kind == kLinkRequest) {
        answerVersion(frame);
    } else if (frame.kind == kLinkResponse) {
        std::span<const std::uint8_t> version;
        if (frame.length >= kVersionLengthRead) {
            version = {frame.payload, frame.length};
        }
        callAnswerOf(frame, stack().callbacks.version, version);
    }
}

void onVersionTimeout(const LinkFrame& request, void*) {
    callTimeout(request, stack().callbacks.version);
}

LinkAddress addressIn(const LinkFrame& frame) {
    return readAddress(frame.payload);
}

void onLoginMessage(const LinkFrame& frame, void*) {
    if (frame.kind == kLinkRequest && frame.length >= kAddressLength) {
        callLogin(kFromMessage, kAnnounced, addressIn(frame));
        sendResponse(frame, std::array{kStatusSuccess});
    }
}

void onLogoutMessage(const LinkFrame& frame, void*) {
    if (frame.kind == kLinkRequest && frame.length >= kAddressLength) {
        const LinkAddress address = addressIn(frame);
        losePeer(address);
        callLogin(kFromMessage, kLoggedOut, address);
    }
}

} // namespace

void registerIdentityMessages() {
    linkRegisterMessage(kLinkMessageName, onNameMessage, onNameTimeout);
    linkRegisterMessage(kLinkMessageLogout, onLogoutMessage, nullptr);
    linkRegisterMessage(kLinkMessageLogin, onLoginMessage, nullptr);
    linkRegisterMessage(kLinkMessageVersion, onVersionMessage, onVersionTimeout);
    linkRegisterMessage(kLinkMessageSerial, onSerialMessage, onSerialTimeout);
}

void sendLoginNotice(const LinkAddress& peer) {
    std::array<std::uint8_t, kAddressLength> payload{};
    writeAddress(hostAddress(), payload.data());
    sendRequest(peer, kLinkMessageLogin, payload);
}

void sendRequest(const LinkAddress& destination, std::uint16_t messageId,
                 std::span<const std::uint8_t> payload) {
    LinkFrame frame;
    frame.kind = kLinkRequest;
    frame.length = static_cast<std::uint16_t>(payload.size());
    frame.destination = destination;
    frame.messageId = messageId;
    frame.payload = payload.data();
    linkSend(kLinkTracked, frame);
}

void sendResponse(const LinkFrame& request, std::span<const std::uint8_t> payload) {
    LinkFrame frame;
    frame.kind = kLinkResponse;
    frame.length = static_cast<std::uint16_t>(payload.size());
    frame.destination = request.source;
    frame.messageId = request.messageId;
    frame.payload = payload.data();
    linkSend(0, frame);
}

std::uint8_t statusOf(const LinkFrame& response) {
    return response.length == 0 ? kStatusFailed : response.payload[0];
}

} // namespace vexo::link

void linkQueryName(const LinkAddress& address) {
    using namespace vexo::link;
    if (address == hostAddress()) {
        std::array<std::uint8_t, kHostName.size()> name{};
        std::copy(kHostName.begin(), kHostName.end(), name.begin());
        callAnswer(stack().callbacks.name, {kLinkResponse, address, kLinkMessageName, 0, kStatusSuccess},
                   name);
    } else {
        sendRequest(address, kLinkMessageName, {});
    }
}

void linkQuerySerial(const LinkAddress& address) {
    if (address != vexo::link::hostAddress()) {
        vexo::link::sendRequest(address, kLinkMessageSerial, std::array<std::uint8_t, 1>{0});
    }
}

void linkQueryVersion(const LinkAddress& address) {
    vexo::link::sendRequest(address, kLinkMessageVersion, {});
}
