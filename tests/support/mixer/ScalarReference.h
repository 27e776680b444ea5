#pragma once

// The mixer as it is defined, to the letter: one sample at a time, a modulo for every ring access, a list for
// every step. What the mixer's results are compared with bit for bit, and what the benchmarks measure
// against. Where the mixer departs from the definition on purpose, the tests say so, not this. One thread.

#include "mixer/AppAudioConfigStore.h"
#include "mixer/WaveFormat.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace reference {

inline constexpr std::uint32_t kRingFloats = 57600;

[[nodiscard]] std::vector<float> convertToStereoFloat(const std::uint8_t* data, std::uint32_t byteCount,
                                                      const WaveFormat& format);
[[nodiscard]] std::vector<float> resampleTo48k(const std::vector<float>& input, std::uint32_t rate);
[[nodiscard]] float softLimit(float x);
/// The raw level of a packet, its squares added up in order.
[[nodiscard]] StereoLevel measure(const std::vector<float>& stereo);
/// The same with the sum in double precision. No part of the definition: for tests with packets so long that
/// a float sum loses digits.
[[nodiscard]] StereoLevel measureExactly(const std::vector<float>& stereo);

struct Ring {
    std::vector<float> samples = std::vector<float>(kRingFloats, 0.0f);
    std::uint32_t writePos = 0;
    std::uint32_t busReadPos = 0;
    std::uint32_t soloReadPos = 0;
    float levelLeft = 0.0f;
    float levelRight = 0.0f;
};

class Mixer {
public:
    explicit Mixer(const AppAudioConfigStore& configStore) : store(configStore) {}

    void addInputData(std::uint32_t processID, const std::uint8_t* data, std::uint32_t byteCount,
                      const WaveFormat& format);
    void updateBusLevels();
    void mixBus(float* output, std::uint32_t frames, std::uint32_t bus);
    void mixSolo(float* output, std::uint32_t frames);
    [[nodiscard]] StereoLevel getProcessLevels(std::uint32_t processID) const;
    [[nodiscard]] StereoLevel getBus1Levels() const { return bus1; }
    [[nodiscard]] StereoLevel getBus2Levels() const { return bus2; }
    void resetProcessBuffers(std::uint32_t processID);

    /// By "{processID}:{bus}".
    [[nodiscard]] std::map<std::string, std::shared_ptr<Ring>>& ringMap() { return rings; }

private:
    void write(Ring& ring, const std::vector<float>& samples, float volume);
    void add(std::vector<float>& list, Ring& ring, std::uint32_t& readPos, float gain, bool scaled);

    const AppAudioConfigStore& store;
    std::map<std::string, std::shared_ptr<Ring>> rings;
    Ring solo;
    StereoLevel bus1;
    StereoLevel bus2;
};

} // namespace reference
