#include "platform/linux/sound/PlaybackMerge.h"

#include <algorithm>
#include <limits>
#include <utility>

PlaybackMerge::PlaybackMerge(Output mergedOutput) : output(std::move(mergedOutput)) {}

void PlaybackMerge::add(std::uint32_t stream) {
    // Not waited for before its first packet.
    streams.try_emplace(stream).first->second.awaited = false;
}

void PlaybackMerge::remove(std::uint32_t stream) {
    streams.erase(stream);
    deliver();
}

void PlaybackMerge::setPaused(std::uint32_t stream, bool paused) {
    const auto found = streams.find(stream);
    if (found != streams.end() && paused) {
        found->second.awaited = false;
        deliver();
    }
}

void PlaybackMerge::push(std::uint32_t stream, std::span<const float> stereo) {
    const auto found = streams.find(stream);
    if (found == streams.end()) {
        return;
    }
    Stream& from = found->second;
    from.awaited = true;
    if (streams.size() == 1 && from.waiting.empty()) {
        output(stereo); // a stream alone passes without a copy
        return;
    }
    from.waiting.insert(from.waiting.end(), stereo.begin(), stereo.end());
    deliver();
}

// Adds up as many frames as every awaited stream has. A stream that is too far behind is no longer awaited.
void PlaybackMerge::deliver() {
    std::size_t longest = 0;
    for (const auto& [id, stream] : streams) {
        longest = std::max(longest, stream.waiting.size());
    }
    std::size_t count = std::numeric_limits<std::size_t>::max();
    for (auto& [id, stream] : streams) {
        if (stream.awaited && longest - stream.waiting.size() > 2 * kLargestSkewFrames) {
            stream.awaited = false;
        }
        if (stream.awaited) {
            count = std::min(count, stream.waiting.size());
        }
    }
    count = std::min(count, longest);
    if (count == 0) {
        return;
    }
    sum.assign(count, 0.0f);
    for (auto& [id, stream] : streams) {
        const std::size_t taken = std::min(count, stream.waiting.size());
        for (std::size_t at = 0; at < taken; ++at) {
            sum[at] += stream.waiting[at];
        }
        stream.waiting.erase(stream.waiting.begin(),
                             stream.waiting.begin() + static_cast<std::ptrdiff_t>(taken));
    }
    output(sum);
}
