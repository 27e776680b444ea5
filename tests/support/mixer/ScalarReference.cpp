#include "tests/support/mixer/ScalarReference.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace reference {

namespace {

template <typename Sample>
float readAt(const std::uint8_t* data, std::uint64_t byteCount, std::uint64_t offset) {
    Sample sample{};
    if (offset + sizeof(sample) > byteCount) {
        return 0.0f;
    }
    std::memcpy(&sample, data + offset, sizeof(sample));
    return static_cast<float>(sample);
}

float readSample(const std::uint8_t* data, std::uint64_t byteCount, std::uint64_t frame,
                 std::uint64_t channel, const WaveFormat& format) {
    const std::uint64_t at = frame * format.blockAlign;
    if (format.formatTag == 3) {
        return readAt<float>(data, byteCount, at + channel * 4);
    }
    if (format.formatTag == 1 && format.bitsPerSample == 16) {
        return std::clamp(readAt<std::int16_t>(data, byteCount, at + channel * 2) / 32768.0f, -1.0f, 1.0f);
    }
    if (format.formatTag == 1 && format.bitsPerSample == 32) {
        return std::clamp(readAt<std::int32_t>(data, byteCount, at + channel * 4) / 2147483648.0f, -1.0f,
                          1.0f);
    }
    return 0.0f;
}

template <typename Sum>
StereoLevel measureWith(const std::vector<float>& stereo) {
    float raw[2];
    const std::size_t frames = stereo.size() / 2;
    for (std::size_t channel = 0; channel < 2; ++channel) {
        Sum sum = 0;
        float peak = 0.0f;
        for (std::size_t frame = 0; frame < frames; ++frame) {
            const float value = stereo[2 * frame + channel];
            sum += static_cast<Sum>(value) * static_cast<Sum>(value);
            peak = std::max(peak, std::fabs(value));
        }
        const auto rms = static_cast<float>(std::sqrt(sum / static_cast<Sum>(frames)));
        raw[channel] = std::min(1.0f, (0.7f * rms + 0.3f * peak) * 1.5f);
    }
    return {raw[0], raw[1]};
}

} // namespace

std::vector<float> convertToStereoFloat(const std::uint8_t* data, std::uint32_t byteCount,
                                        const WaveFormat& format) {
    const std::uint32_t frames = format.blockAlign == 0 ? 0 : byteCount / format.blockAlign;
    if (format.channels == 0 || frames == 0) {
        return {};
    }
    std::vector<float> result(std::size_t{frames} * 2, 0.0f);
    for (std::size_t frame = 0; frame < frames; ++frame) {
        result[frame * 2] = readSample(data, byteCount, frame, 0, format);
        result[frame * 2 + 1] = readSample(data, byteCount, frame, format.channels >= 2 ? 1 : 0, format);
    }
    return result;
}

std::vector<float> resampleTo48k(const std::vector<float>& input, std::uint32_t rate) {
    if (input.empty() || rate == 0) {
        return {};
    }
    if (rate == 48000) {
        return input;
    }
    const std::uint64_t inFrames = input.size() / 2;
    const float length = static_cast<float>(inFrames) * 48000.0f / static_cast<float>(rate);
    const std::uint64_t outFrames = std::max<std::uint64_t>(1, static_cast<std::uint64_t>(length));
    const float ratio = static_cast<float>(rate) / 48000.0f;
    std::vector<float> output(outFrames * 2);
    for (std::uint64_t i = 0; i < outFrames; ++i) {
        const float pos = static_cast<float>(i) * ratio;
        auto idx = static_cast<std::uint64_t>(pos);
        float t = pos - static_cast<float>(idx);
        if (idx >= inFrames) {
            idx = inFrames - 1;
            t = 0.0f;
        }
        for (std::uint64_t c = 0; c < 2; ++c) {
            float value;
            if (idx + 1 >= inFrames) {
                value = input[idx * 2 + c];
            } else if (idx == 0 || idx + 2 >= inFrames) {
                value = input[idx * 2 + c] * (1.0f - t) + input[(idx + 1) * 2 + c] * t;
            } else {
                const float t2 = t * t;
                const float t3 = t2 * t;
                const float w0 = -0.5f * t3 + t2 - 0.5f * t;
                const float w1 = 1.5f * t3 - 2.5f * t2 + 1.0f;
                const float w2 = -1.5f * t3 + 2.0f * t2 + 0.5f * t;
                const float w3 = 0.5f * t3 - 0.5f * t2;
                value = w0 * input[(idx - 1) * 2 + c] + w1 * input[idx * 2 + c] +
                        w2 * input[(idx + 1) * 2 + c] + w3 * input[(idx + 2) * 2 + c];
            }
            output[i * 2 + c] = value;
        }
    }
    return output;
}

float softLimit(float x) {
    if (x > 0.95f) {
        x = 0.95f + 0.05f * (1.0f - std::exp(-20.0f * (x - 0.95f)));
    }
    if (x < -0.95f) {
        x = -0.95f - 0.05f * (1.0f - std::exp(20.0f * (x + 0.95f)));
    }
    return std::clamp(x, -1.0f, 1.0f);
}

StereoLevel measure(const std::vector<float>& stereo) {
    return measureWith<float>(stereo);
}
StereoLevel measureExactly(const std::vector<float>& stereo) {
    return measureWith<double>(stereo);
}

void Mixer::write(Ring& ring, const std::vector<float>& samples, float volume) {
    std::uint32_t pos = ring.writePos;
    for (const float sample : samples) {
        ring.samples[pos] = sample * volume;
        pos = (pos + 1) % kRingFloats;
    }
    ring.writePos = pos;
}

void Mixer::addInputData(std::uint32_t processID, const std::uint8_t* data, std::uint32_t byteCount,
                         const WaveFormat& format) {
    const AppAudioConfig config = store.getConfig(processID);
    if (!config.active) {
        return;
    }
    std::vector<float> packet = convertToStereoFloat(data, byteCount, format);
    if (packet.empty()) {
        return;
    }
    if (format.samplesPerSecond != 48000) {
        packet = resampleTo48k(packet, format.samplesPerSecond);
        if (packet.empty()) {
            return;
        }
    }
    const StereoLevel raw = measure(packet);
    std::shared_ptr<Ring>& ring1 = rings[std::to_string(processID) + ":1"];
    std::shared_ptr<Ring>& ring2 = rings[std::to_string(processID) + ":2"];
    for (std::shared_ptr<Ring>* ring : {&ring1, &ring2}) {
        if (*ring == nullptr) {
            *ring = std::make_shared<Ring>();
        }
    }
    ring1->levelLeft = std::min(1.0f, raw.left * config.input1Volume);
    ring1->levelRight = std::min(1.0f, raw.right * config.input1Volume);
    ring2->levelLeft = std::min(1.0f, raw.left * config.input2Volume);
    ring2->levelRight = std::min(1.0f, raw.right * config.input2Volume);
    if (config.input1Enabled && !config.input1Muted) {
        write(*ring1, packet, config.input1Volume);
    }
    if (config.input2Enabled && !config.input2Muted) {
        write(*ring2, packet, config.input2Volume);
    }
    if (config.solo) {
        write(solo, packet, config.input1Volume);
    }
}

void Mixer::updateBusLevels() {
    StereoLevel sum1;
    StereoLevel sum2;
    for (const auto& [key, ring] : rings) {
        StereoLevel* const sum = key.find(":1") != std::string::npos   ? &sum1
                                 : key.find(":2") != std::string::npos ? &sum2
                                                                       : nullptr;
        if (sum != nullptr) {
            sum->left += ring->levelLeft * ring->levelLeft;
            sum->right += ring->levelRight * ring->levelRight;
        }
    }
    const AppAudioConfig master1 = store.getBusConfig(1);
    const AppAudioConfig master2 = store.getBusConfig(2);
    const float gain1 = master1.input1Muted ? 0.0f : master1.input1Volume;
    const float gain2 = master2.input2Muted ? 0.0f : master2.input2Volume;
    bus1 = {std::sqrt(sum1.left) * gain1, std::sqrt(sum1.right) * gain1};
    bus2 = {std::sqrt(sum2.left) * gain2, std::sqrt(sum2.right) * gain2};
}

void Mixer::add(std::vector<float>& list, Ring& ring, std::uint32_t& readPos, float gain, bool scaled) {
    const std::uint32_t readable =
        ring.writePos >= readPos ? ring.writePos - readPos : ring.writePos + kRingFloats - readPos;
    const std::size_t n = std::min<std::size_t>(list.size(), readable);
    for (std::size_t i = 0; i < n; ++i) {
        const float sample = ring.samples[(readPos + i) % kRingFloats];
        list[i] += scaled ? sample * gain : sample;
    }
    readPos = static_cast<std::uint32_t>((readPos + n) % kRingFloats);
}

void Mixer::mixBus(float* output, std::uint32_t frames, std::uint32_t bus) {
    std::vector<float> list(std::size_t{frames} * 2, 0.0f);
    for (auto& [key, ring] : rings) {
        if (key.find(":" + std::to_string(bus)) != std::string::npos) {
            add(list, *ring, ring->busReadPos, 1.0f, false);
        }
    }
    const AppAudioConfig master = store.getBusConfig(bus);
    float gain = 0.0f;
    if (bus == 1) {
        gain = master.input1Muted ? 0.0f : master.input1Volume;
    } else {
        gain = master.input2Muted ? 0.0f : master.input2Volume;
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        output[i] = softLimit(list[i] * gain);
    }
}

void Mixer::mixSolo(float* output, std::uint32_t frames) {
    std::vector<float> list(std::size_t{frames} * 2, 0.0f);
    const AppAudioConfig master1 = store.getBusConfig(1);
    const AppAudioConfig master2 = store.getBusConfig(2);
    if (master1.solo || master2.solo) {
        const char* const suffix = master1.solo ? ":1" : ":2";
        float gain = 0.0f;
        if (master1.solo) {
            gain = master1.input1Muted ? 0.0f : master1.input1Volume;
        } else {
            gain = master2.input2Muted ? 0.0f : master2.input2Volume;
        }
        for (auto& [key, ring] : rings) {
            if (key.find(suffix) != std::string::npos) {
                add(list, *ring, ring->soloReadPos, gain, true);
            }
        }
    } else {
        const std::uint32_t readable = solo.writePos >= solo.busReadPos
                                           ? solo.writePos - solo.busReadPos
                                           : solo.writePos + kRingFloats - solo.busReadPos;
        const std::size_t n = std::min<std::size_t>(list.size(), readable);
        for (std::size_t i = 0; i < n; ++i) {
            list[i] = solo.samples[(solo.busReadPos + i) % kRingFloats];
        }
        solo.busReadPos = static_cast<std::uint32_t>((solo.busReadPos + n) % kRingFloats);
    }
    for (std::size_t i = 0; i < list.size(); ++i) {
        output[i] = softLimit(list[i]);
    }
}

StereoLevel Mixer::getProcessLevels(std::uint32_t processID) const {
    StereoLevel levels[2];
    for (std::size_t at = 0; at < 2; ++at) {
        const auto ring = rings.find(std::to_string(processID) + (at == 0 ? ":1" : ":2"));
        if (ring != rings.end()) {
            levels[at] = {ring->second->levelLeft, ring->second->levelRight};
        }
    }
    return {std::max(levels[0].left, levels[1].left), std::max(levels[0].right, levels[1].right)};
}

void Mixer::resetProcessBuffers(std::uint32_t processID) {
    for (const char* const suffix : {":1", ":2"}) {
        const auto ring = rings.find(std::to_string(processID) + suffix);
        if (ring != rings.end()) {
            *ring->second = Ring();
        }
    }
}

} // namespace reference
