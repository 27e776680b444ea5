// Fuzzes the link stack as its user drives it. The input is a small program: reports of any bytes and of 0 to
// 65 bytes, frames with a correct checksum, polls, ticks, requests, handlers that poll again. It fails when a
// sanitizer reports, when an invalid frame is sent, when the pool is damaged, and when something is left over
// after a long silence on the wire.

#include "device/link/Link.h"
#include "device/link/LinkInspection.h"
#include "tests/fuzz/FuzzProgram.h"
#include "tests/support/WireFrame.h"

#include <algorithm>
#include <cstdint>

namespace {

using fuzz::frameFrom;
using fuzz::Program;
using fuzz::require;
using wireFrame::Bytes;

int checkSent(std::uint32_t channel, std::uint32_t length, const std::uint8_t* bytes, void*) {
    require(channel == 1 || channel == 2, "a frame is sent on an open channel");
    require(length >= 17 && length <= 517, "a sent frame has 17 to 517 bytes");
    require(wireFrame::isFrame({bytes, length}), "a sent frame has its magic, control, length and checksum");
    return 1;
}

// Touches all bytes, so that the sanitizers see a wrong pointer or length.
void touch(const std::uint8_t* bytes, std::uint16_t length) {
    std::uint32_t sum = 0;
    for (std::uint16_t index = 0; index < length; ++index) {
        sum += bytes[index];
    }
    require(sum <= 255U * length, "bytes are bytes");
}

int takeAnswer(const LinkInfo& info, const std::uint8_t* bytes, void*) {
    require((bytes == nullptr) == (info.length == 0), "bytes are null exactly when the length is 0");
    touch(bytes, info.length);
    return 0;
}

int takeVersion(const LinkInfo& info, const std::uint8_t* bytes, void*) {
    require(bytes == nullptr || info.length >= 11, "a version holds its numbers");
    return takeAnswer(info, bytes, nullptr);
}

int takeAttribute(const LinkInfo& info, std::uint16_t attID, const std::uint8_t* bytes, void*) {
    require(attID != 0 || bytes == nullptr, "attribute 0 has no value");
    return takeAnswer(info, bytes, nullptr);
}

void login(std::uint8_t from, std::uint8_t, const LinkAddress& address, void*) {
    if (from != 1 && address.chid != 0) {
        linkQueryName(address);
        linkQuerySerial(address);
        linkQueryVersion(address);
        linkSubscribe(address);
    }
}

void tick(std::uint32_t count, std::uint32_t milliseconds) {
    for (std::uint32_t done = 0; done < count; ++done) {
        linkPoll();
        linkTick(milliseconds);
    }
}

// Ticks of a millisecond, of which the idle ones are counted at once, as the program does.
void pass(std::uint32_t milliseconds) {
    while (milliseconds > 0) {
        linkPoll();
        const std::uint32_t counted = std::min(milliseconds, 1 + linkIdleTicks());
        linkTick(counted);
        milliseconds -= counted;
    }
}

int pollDepth = 0;

// A handler with a nested event loop in it.
void pollAgain(const LinkFrame& frame, void*) {
    touch(frame.payload, frame.length);
    if (pollDepth < 3) {
        ++pollDepth;
        pass(60);
        --pollDepth;
    }
}

// In reports of one size.
void feedFrame(Program& program, std::uint32_t channel) {
    const Bytes frame = frameFrom(program);
    const std::size_t reportSize = 1 + program.byte() % 65;
    for (std::size_t offset = 0; offset < frame.size(); offset += reportSize) {
        const std::size_t count = std::min(reportSize, frame.size() - offset);
        linkFeed(channel, static_cast<std::uint32_t>(count), frame.data() + offset);
    }
}

void sendMessage(Program& program, bool withPayload) {
    const Bytes payload = program.bytes(program.word() % 1200);
    LinkFrame frame;
    frame.kind = program.byte() & 0x0F;
    frame.length = static_cast<std::uint16_t>(payload.size());
    frame.destination = program.address();
    frame.messageId = program.messageId();
    frame.payload = withPayload ? payload.data() : nullptr;
    linkSend(program.byte() % 8, frame);
}

void step(Program& program) {
    const std::uint8_t code = program.byte();
    const std::uint32_t channel = (code & 0x80) == 0 ? 1 : 2;
    switch (code & 0x0F) {
    case 0:
    case 1:
    case 2: {
        const Bytes report = program.bytes(program.byte() % 66);
        linkFeed(channel, static_cast<std::uint32_t>(report.size()), report.data());
        break;
    }
    case 3:
    case 4:
    case 5:
    case 6:
        feedFrame(program, channel);
        linkPoll();
        break;
    case 7:
        pass(program.byte());
        break;
    case 8:
        tick(1 + program.byte() % 8, program.word());
        break;
    case 9: {
        const LinkAddress address = program.address();
        const std::uint8_t attID = program.byte();
        const Bytes value = program.bytes(program.byte());
        linkSetAttribute(address, attID, static_cast<std::uint8_t>(value.size()), value.data());
        break;
    }
    case 10: {
        const LinkAddress address = program.address();
        const Bytes ids = program.bytes(program.byte());
        linkGetAttributes(address, static_cast<std::uint8_t>(ids.size()), ids.data());
        break;
    }
    case 11: {
        const LinkAddress address = program.address();
        linkQueryName(address);
        linkQuerySerial(address);
        linkGetAttribute(address, program.byte());
        break;
    }
    case 12:
        sendMessage(program, (code & 0x40) == 0);
        break;
    case 13:
        linkRegisterMessage(program.messageId(), pollAgain, (code & 0x40) == 0 ? pollAgain : nullptr);
        break;
    case 14:
        (void)linkOpenChannel(checkSent);
        break;
    default:
        linkPoll();
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    linkInit();
    linkInstallLoginCallback(login);
    linkInstallNameCallback(takeAnswer);
    linkInstallSerialCallback(takeAnswer);
    linkInstallVersionCallback(takeVersion);
    linkInstallAttributeCallback(takeAttribute);
    linkInstallErrorCallback([](int code, std::uint16_t, void*) {
        require(code != kLinkErrorPoolCorrupt && code != kLinkErrorUnknownBlock, "the pool is sound");
    });
    (void)linkOpenChannel(checkSent);
    linkRegisterMessage(0x8002, pollAgain, pollAgain);

    Program program(bytes, size);
    while (!program.isOver()) {
        step(program);
    }

    const auto isQuiet = [](const LinkInspection& seen) {
        return seen.pendingCount == 0 && seen.receiveQueueLength == 0 && seen.sendQueueLength == 0;
    };
    for (int count = 0; count < 3000 && !isQuiet(linkInspect()); ++count) {
        tick(1, 1001);
    }
    const LinkInspection seen = linkInspect();
    require(isQuiet(seen), "everything ends");
    require(seen.pendingStarted == seen.pendingAnswered + seen.pendingTimedOut + seen.pendingCancelled,
            "every request ends once");
    require(seen.poolBlocksInUse <= 2, "only frames under construction hold memory"); // one for each channel
    return 0;
}
