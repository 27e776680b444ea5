#include "mixer/InputBuffer.h"

#include <algorithm>
#include <cstring>

void InputBuffer::reset() {
    for (Frame& frame : samples) {
        frame.store({}, std::memory_order_relaxed);
    }
    writePos.store(0, std::memory_order_release); // pairs with the acquire in RingReader::RingReader
    busReadPos.store(0, std::memory_order_relaxed);
    soloReadPos.store(0, std::memory_order_relaxed);
    levelLeft.store(0.0f, std::memory_order_relaxed);
    levelRight.store(0.0f, std::memory_order_relaxed);
}

RingWriter::RingWriter(InputBuffer* target, float gainLinear) : ring(target), gain(gainLinear) {
    if (ring != nullptr) {
        position = ring->writePos.load(std::memory_order_relaxed); // the writer's own
    }
}

void RingWriter::write(std::span<const float> stereo) {
    if (ring == nullptr) {
        return;
    }
    while (!stereo.empty()) {
        const std::size_t floats = std::min<std::size_t>(stereo.size(), InputBuffer::kFloatCount - position);
        InputBuffer::Frame* const to = ring->samples.data() + position / 2;
        const float* const from = stereo.data();
        const float factor = gain;
        std::size_t frame = 0;
        for (; frame + 2 <= floats / 2; frame += 2) {
            FramePair pair;
            std::memcpy(&pair, from + 2 * frame, sizeof(pair));
            storePair(to + frame, pair * factor);
        }
        if (frame < floats / 2) {
            to[frame].store({from[2 * frame] * factor, from[2 * frame + 1] * factor},
                            std::memory_order_relaxed);
        }
        position = (position + static_cast<std::uint32_t>(floats)) % InputBuffer::kFloatCount;
        stereo = stereo.subspan(floats);
    }
}

void RingWriter::skip(std::uint64_t frameCount) {
    position = static_cast<std::uint32_t>((position + 2 * (frameCount % InputBuffer::kFrameCount)) %
                                          InputBuffer::kFloatCount);
}

void RingWriter::publish() {
    if (ring != nullptr) {
        ring->writePos.store(position, std::memory_order_release); // pairs with the acquire in RingReader
    }
}

RingReader::RingReader(const InputBuffer& ring, std::atomic<std::uint32_t>& readPosition,
                       std::uint32_t frameLimit)
    : frames(ring.samples.data()), position(&readPosition) {
    const std::uint32_t from = readPosition.load(std::memory_order_relaxed);     // the reader's own
    const std::uint32_t written = ring.writePos.load(std::memory_order_acquire); // pairs with publish()
    const std::uint32_t readable =
        written >= from ? written - from : written + InputBuffer::kFloatCount - from;
    index = from / 2;
    left = std::min(frameLimit, readable / 2);
}

void RingReader::commit() {
    // A reader gives nothing back to the writer, which never asks; the release keeps its loads before it.
    position->store(index * 2, std::memory_order_release);
}
