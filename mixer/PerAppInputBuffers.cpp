#include "mixer/PerAppInputBuffers.h"

#include "mixer/AppAudioConfigStore.h"
#include "mixer/DenormalsAreZero.h"
#include "mixer/LockedIds.h"
#include "mixer/MixKernels.h"
#include "mixer/Resampler.h"
#include "mixer/RouterLog.h"
#include "mixer/SampleConversion.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <span>

namespace {

// Frames that are resampled, measured and written together: what a slow rate makes of a packet has no bound.
constexpr std::uint64_t kPieceFrames = 2048;
// Sources for which a bus has room before its list grows.
constexpr std::size_t kExpectedSources = 64;

// Belongs to one thread; several captures share addInputData().
struct PacketScratch {
    std::vector<float> converted;
    std::array<float, 2 * kPieceFrames> piece;
};

PacketScratch& packetScratch() {
    thread_local PacketScratch scratch;
    return scratch;
}

// "{processID}:{bus}": short enough to lie inside the string itself.
std::string ringKey(std::uint32_t processID, std::uint32_t bus) {
    std::string key = std::to_string(processID);
    key += ':';
    key += std::to_string(bus);
    return key;
}

float busGain(const AppAudioConfig& master, std::uint32_t bus) {
    if (bus == 1) {
        return master.input1Muted ? 0.0f : master.input1Volume;
    }
    return master.input2Muted ? 0.0f : master.input2Volume;
}

void storeMeter(InputBuffer& ring, const StereoLevel& raw, float volume) {
    ring.levelLeft.store(std::min(1.0f, raw.left * volume), std::memory_order_relaxed);
    ring.levelRight.store(std::min(1.0f, raw.right * volume), std::memory_order_relaxed);
}

} // namespace

PerAppInputBuffers& PerAppInputBuffers::instance() {
    static auto* const buffers = new PerAppInputBuffers(AppAudioConfigStore::instance());
    return *buffers;
}

PerAppInputBuffers::PerAppInputBuffers(AppAudioConfigStore& configStore)
    : store(configStore), soloBuffer(std::make_shared<InputBuffer>()) {
    for (BusRings& list : ringsByBus) {
        list.reserve(kExpectedSources);
    }
}

void PerAppInputBuffers::addInputData(std::uint32_t processID, const void* data, std::uint32_t byteCount,
                                      const WaveFormat& format) {
    const AppAudioConfig config = store.getConfig(processID);
    if (!config.active) {
        return;
    }
    const DenormalsAreZero mode;
    PacketScratch& scratch = packetScratch();
    const std::span<const float> converted = convertToStereoFloat(data, byteCount, format, scratch.converted);
    if (converted.empty()) {
        return;
    }
    const std::uint32_t rate = format.samplesPerSecond;
    const std::uint64_t frameCount = resampledFrameCount(converted.size() / 2, rate);
    if (frameCount == 0) {
        if (rate == 0) {
            routerLog("[WARNING] Resampling from {} Hz to 48000 Hz returned empty result, skipping packet",
                      rate);
        } else {
            // Never reached: any other rate gives each packet one frame at least, by definition.
            routerLog("[WARNING] Resampling from {} Hz to 48000 Hz resulted in 0 frames", rate);
        }
        return;
    }

    // Both rings of a source are made together, at its first packet.
    const auto [ring1, ring2] = findOrMake(std::array{ringKey(processID, 1), ringKey(processID, 2)});
    RingWriter bus1(config.input1Enabled && !config.input1Muted ? ring1.get() : nullptr, config.input1Volume);
    RingWriter bus2(config.input2Enabled && !config.input2Muted ? ring2.get() : nullptr, config.input2Volume);
    // Bus 1's volume on purpose, whatever Bus 1's switches say: a source muted there can be listened to
    // alone.
    RingWriter solo(config.solo ? soloBuffer.get() : nullptr, config.input1Volume);

    // Only the last frames of a packet that is longer than a ring would outlive it.
    const std::uint64_t unheardFrames =
        frameCount - std::min<std::uint64_t>(frameCount, InputBuffer::kFrameCount);
    for (RingWriter* const ring : {&bus1, &bus2, &solo}) {
        ring->skip(unheardFrames);
    }
    LevelMeter meter;
    for (std::uint64_t done = 0; done < frameCount;) {
        const bool heard = done >= unheardFrames;
        const auto pieceFrames =
            static_cast<std::size_t>(std::min(kPieceFrames, (heard ? frameCount : unheardFrames) - done));
        std::span<const float> piece;
        if (rate == kMixSampleRate) {
            piece = converted.subspan(2 * static_cast<std::size_t>(done), 2 * pieceFrames);
        } else {
            const std::span<float> resampled = std::span(scratch.piece).first(2 * pieceFrames);
            resampleTo48k(converted, rate, done, resampled);
            piece = resampled;
        }
        meter.add(piece);
        if (heard) {
            bus1.write(piece);
            bus2.write(piece);
            solo.write(piece);
        }
        done += pieceFrames;
    }

    const StereoLevel raw = meter.level(frameCount);
    storeMeter(*ring1, raw, config.input1Volume);
    storeMeter(*ring2, raw, config.input2Volume);
    bus1.publish();
    bus2.publish();
    solo.publish();
}

void PerAppInputBuffers::updateBusLevels() {
    const DenormalsAreZero mode;
    const std::lock_guard lock(mutex);
    std::array<StereoLevel, 2> sums;
    for (std::size_t bus = 0; bus < sums.size(); ++bus) {
        for (const BusRing& entry : ringsByBus[bus]) {
            const float left = entry.ring->levelLeft.load(std::memory_order_relaxed);
            const float right = entry.ring->levelRight.load(std::memory_order_relaxed);
            sums[bus].left += left * left;
            sums[bus].right += right * right;
        }
    }
    // The sums are not divided by the count: two equal sources read 1.41 times one.
    const float gain1 = busGain(store.getBusConfig(1), 1);
    const float gain2 = busGain(store.getBusConfig(2), 2);
    bus1Level.left.store(std::sqrt(sums[0].left) * gain1, std::memory_order_relaxed);
    bus1Level.right.store(std::sqrt(sums[0].right) * gain1, std::memory_order_relaxed);
    bus2Level.left.store(std::sqrt(sums[1].left) * gain2, std::memory_order_relaxed);
    bus2Level.right.store(std::sqrt(sums[1].right) * gain2, std::memory_order_relaxed);
}

void PerAppInputBuffers::addBus(const BusRings& busRings,
                                std::atomic<std::uint32_t> InputBuffer::* readPosition, float* output,
                                std::uint32_t frames, float gain, bool scaled) const {
    std::array<RingReader, kReadersAtOnce> readers;
    std::size_t count = 0;
    const auto flush = [&] {
        const std::span<RingReader> group = std::span(readers).first(count);
        if (scaled) {
            addReadersWithGain(group, output, gain);
        } else {
            addReaders(group, output);
        }
        for (RingReader& reader : group) {
            reader.commit();
        }
        count = 0;
    };
    for (const BusRing& entry : busRings) {
        const RingReader reader(*entry.ring, entry.ring->*readPosition, frames);
        if (reader.remaining() == 0) {
            continue;
        }
        readers[count++] = reader;
        if (count == readers.size()) {
            flush();
        }
    }
    flush();
}

void PerAppInputBuffers::mixBus(float* output, std::uint32_t frames, std::uint32_t bus) {
    const DenormalsAreZero mode;
    // The mix grows in the output itself.
    const std::span<float> mix(output, std::size_t{frames} * 2);
    std::ranges::fill(mix, 0.0f);
    const std::lock_guard lock(mutex);
    if (bus == 1 || bus == 2) {
        addBus(ringsByBus[bus - 1], &InputBuffer::busReadPos, output, frames, 1.0f, false);
    }
    applyGainAndLimit(mix, busGain(store.getBusConfig(bus), bus));
}

void PerAppInputBuffers::mixSolo(float* output, std::uint32_t frames) {
    const DenormalsAreZero mode;
    const std::span<float> mix(output, std::size_t{frames} * 2);
    std::ranges::fill(mix, 0.0f);
    const std::lock_guard lock(mutex);
    const AppAudioConfig master1 = store.getBusConfig(1);
    const AppAudioConfig master2 = store.getBusConfig(2);
    if (master1.solo) {
        addBus(ringsByBus[0], &InputBuffer::soloReadPos, output, frames, busGain(master1, 1), true);
    } else if (master2.solo) {
        addBus(ringsByBus[1], &InputBuffer::soloReadPos, output, frames, busGain(master2, 2), true);
    } else {
        RingReader reader(*soloBuffer, soloBuffer->busReadPos, frames);
        copyReader(reader, output);
        reader.commit();
    }
    // The gain went in at the write, or above.
    applyGainAndLimit(mix, 1.0f);
}

StereoLevel PerAppInputBuffers::getProcessLevels(std::uint32_t processID) const {
    const std::lock_guard lock(mutex);
    const auto meterOn = [&](std::uint32_t bus) -> StereoLevel {
        const InputBuffer* const ring = find(processID, bus);
        if (ring == nullptr) {
            return {};
        }
        return {ring->levelLeft.load(std::memory_order_relaxed),
                ring->levelRight.load(std::memory_order_relaxed)};
    };
    const StereoLevel level1 = meterOn(1);
    const StereoLevel level2 = meterOn(2);
    return {std::max(level1.left, level2.left), std::max(level1.right, level2.right)};
}

StereoLevel PerAppInputBuffers::getBus1Levels() const {
    return {bus1Level.left.load(std::memory_order_relaxed), bus1Level.right.load(std::memory_order_relaxed)};
}

StereoLevel PerAppInputBuffers::getBus2Levels() const {
    return {bus2Level.left.load(std::memory_order_relaxed), bus2Level.right.load(std::memory_order_relaxed)};
}

std::set<std::uint32_t> PerAppInputBuffers::collectProcessIds() const {
    const std::vector<std::uint32_t> ids = idsUnderLock(mutex, rings, [](const std::string& key) {
        std::uint32_t processID = 0;
        std::from_chars(key.data(), key.data() + key.find(':'), processID);
        return processID;
    });
    return {ids.begin(), ids.end()};
}

void PerAppInputBuffers::resetProcessBuffers(std::uint32_t processID) {
    const std::lock_guard lock(mutex);
    for (const std::uint32_t bus : {1u, 2u}) {
        if (InputBuffer* const ring = find(processID, bus)) {
            ring->reset();
        }
    }
}

std::shared_ptr<InputBuffer> PerAppInputBuffers::getInputBuffer(std::uint32_t processID, std::uint32_t bus) {
    return findOrMake(std::array{ringKey(processID, bus)})[0];
}

void PerAppInputBuffers::clear() {
    RingMap old; // freed after the lock
    const std::lock_guard lock(mutex);
    for (BusRings& list : ringsByBus) {
        list.clear();
    }
    rings.swap(old);
}

InputBuffer* PerAppInputBuffers::find(std::uint32_t processID, std::uint32_t bus) const {
    const auto found = rings.find(ringKey(processID, bus));
    return found != rings.end() ? found->second.get() : nullptr;
}

// The rings of some keys; when one is missing, all are made, outside of the lock, and those whose key is new
// go into the map.
template <std::size_t kCount>
std::array<std::shared_ptr<InputBuffer>, kCount>
PerAppInputBuffers::findOrMake(const std::array<std::string, kCount>& keys) {
    std::array<std::shared_ptr<InputBuffer>, kCount> result;
    const auto lookUp = [&] {
        std::ranges::transform(keys, result.begin(), [this](const std::string& key) {
            const auto found = rings.find(key);
            return found != rings.end() ? found->second : nullptr;
        });
    };
    {
        const std::lock_guard lock(mutex);
        lookUp();
    }
    if (std::ranges::find(result, nullptr) == result.end()) {
        return result;
    }
    RingMap prepared;
    for (const std::string& key : keys) {
        prepared.emplace(key, std::make_shared<InputBuffer>());
    }
    const std::lock_guard lock(mutex);
    insert(prepared);
    lookUp();
    return result;
}

// Moves the rings whose keys are new into the map and leaves the others, for the caller to free after the
// lock, which render threads wait for. Under the lock.
void PerAppInputBuffers::insert(RingMap& prepared) {
    for (auto next = prepared.begin(); next != prepared.end();) {
        const auto made = next++;
        if (rings.contains(made->first)) {
            continue;
        }
        const auto result = rings.insert(prepared.extract(made));
        const std::string& key = result.position->first;
        for (std::size_t bus = 0; bus < ringsByBus.size(); ++bus) {
            // A ring belongs to the bus whose digit follows its colon.
            if (key.find(bus == 0 ? ":1" : ":2") == std::string::npos) {
                continue;
            }
            BusRings& list = ringsByBus[bus];
            const auto at = std::ranges::lower_bound(
                list, key, {}, [](const BusRing& entry) -> const std::string& { return *entry.key; });
            list.insert(at, {&key, result.position->second.get()});
        }
    }
}
