// Fuzzes what the emulator takes from programs: the frames in HID reports, and the messages that carry the
// reports over a socket. It fails when a sanitizer reports, when what was read does not read the same once it
// is written again, when a sound frame or message is missed in whatever pieces it comes, and when the
// emulator and the tests' own codec disagree about what a frame is.

#include "emulator/HidWire.h"
#include "emulator/LinkFrame.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/support/WireFrame.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace {

using fuzz::Input;
using fuzz::require;
using vexo::emulator::Bytes;
using vexo::emulator::BytesView;
using vexo::emulator::FrameReader;
using vexo::emulator::WireBuffer;
using Frame = vexo::emulator::LinkFrame;

std::vector<Frame> framesIn(FrameReader& reader, BytesView bytes, std::size_t reportSize) {
    std::vector<Frame> frames;
    while (!bytes.empty()) {
        const std::size_t count = std::min(reportSize, bytes.size());
        reader.feed(bytes.first(count), [&frames](Frame&& frame) { frames.push_back(std::move(frame)); });
        bytes = bytes.subspan(count);
    }
    return frames;
}

// Any bytes in reports of one size.
void readReports(Input& input) {
    const std::size_t reportSize = 1 + input.byte() % 64;
    const Bytes bytes = input.bytes(input.left());
    FrameReader reader;
    const std::vector<Frame> frames = framesIn(reader, bytes, reportSize);
    require(reader.counters.frames == frames.size(), "each frame is counted");
    for (const Frame& frame : frames) {
        require(frame.payload.size() <= vexo::emulator::kMaxFramePayload, "a payload keeps its limit");
        const Bytes written = vexo::emulator::encodeFrame(frame);
        require(wireFrame::isFrame(written), "what is read as a frame is one");
        require(std::ranges::search(bytes, written).begin() != bytes.end(), "a frame stands in its bytes");
    }
}

// A sound frame, between bytes that are none.
void readFrame(Input& input) {
    Frame frame;
    frame.kind = input.byte() & 0x0F;
    frame.sequence = input.word();
    frame.source = {input.byte(), input.byte(), input.word()};
    frame.destination = {input.byte(), input.byte(), input.word()};
    frame.messageId = input.word();
    const std::size_t reportSize = 1 + input.byte() % 64;
    frame.payload = input.bytes(std::min<std::size_t>(input.left(), vexo::emulator::kMaxFramePayload));
    Bytes bytes(std::size_t{frame.sequence} % 3, 0);
    const Bytes written = vexo::emulator::encodeFrame(frame);
    require(wireFrame::isFrame(written), "what the emulator writes is a frame");
    bytes.insert(bytes.end(), written.begin(), written.end());
    FrameReader reader;
    const std::vector<Frame> frames = framesIn(reader, bytes, reportSize);
    require(frames.size() == 1 && frames.front() == frame, "a frame reads as it was written");
    require(reader.counters.strayBytes == 0, "padding is not counted");
}

// The body as each kind of message has it.
void readBody(const WireBuffer::Message& message) {
    vexo::emulator::WireReader reader(message.body);
    Bytes written;
    const vexo::emulator::InterfaceInfo info = reader.takeInterface();
    if (reader.ok()) {
        appendInterface(written, info);
        require(written.size() <= message.body.size() &&
                    std::equal(written.begin(), written.end(), message.body.begin()),
                "an interface reads as it was written");
    }
    vexo::emulator::WireReader feature(message.body);
    const std::string path = feature.takeText();
    const BytesView report = feature.takeRest();
    require(!feature.ok() || path.size() + report.size() + 2 == message.body.size(), "nothing is left out");
}

// Messages in pieces of any size.
void readMessages(Input& input) {
    WireBuffer whole;
    WireBuffer pieces;
    const std::size_t pieceSize = 1 + input.byte();
    const Bytes bytes = input.bytes(input.left());
    whole.add(bytes);
    std::vector<WireBuffer::Message> taken;
    for (BytesView rest = bytes; !rest.empty();) {
        const std::size_t count = std::min(pieceSize, rest.size());
        pieces.add(rest.first(count));
        rest = rest.subspan(count);
        while (std::optional<WireBuffer::Message> message = pieces.take()) {
            taken.push_back(std::move(*message));
        }
    }
    std::size_t at = 0;
    for (const WireBuffer::Message& message : taken) {
        const std::optional<WireBuffer::Message> same = whole.take();
        require(same && same->type == message.type && same->body == message.body,
                "the pieces of a message do not matter");
        const Bytes written = wireMessage(message.type, message.body);
        require(std::equal(written.begin(), written.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at)),
                "a message reads as it was written");
        at += written.size();
        readBody(message);
    }
    require(!whole.take(), "no message is missed");
    require(whole.missing() == pieces.missing() && whole.broken() == pieces.broken(), "the rest is the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    Input input(bytes, size);
    switch (input.byte() % 3) {
    case 0:
        readReports(input);
        break;
    case 1:
        readFrame(input);
        break;
    default:
        readMessages(input);
        break;
    }
    return 0;
}
