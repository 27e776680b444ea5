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
#include <string_view>
#include <utility>

namespace {

// Frames that are resampled, measured and written together: what a slow rate makes of a packet has no bound.
constexpr std::uint64_t kPieceFrames = 2048;
// Sources for which there is room before the list of the mix grows.
constexpr std::size_t kExpectedSources = 64;
// What Solo plays when it is neither of the buses.
constexpr std::uint32_t kSoloRing = 3;

// Belongs to one thread; several captures share addInputData().
struct PacketScratch {
    std::vector<float> converted;
    std::array<float, 2 * kPieceFrames> piece;
};

PacketScratch& packetScratch() {
    thread_local PacketScratch scratch;
    return scratch;
}

// Whether a source is added up before another one.
bool mixedBefore(std::uint32_t first, std::uint32_t second) {
    struct Key {
        explicit Key(std::uint32_t processID) {
            char* const end = std::to_chars(text.data(), text.data() + text.size() - 1, processID).ptr;
            *end = ':';
            length = static_cast<std::size_t>(end - text.data()) + 1;
        }
        [[nodiscard]] std::string_view view() const { return {text.data(), length}; }

        std::array<char, 11> text; // ten digits and the colon
        std::size_t length = 0;
    };
    return Key(first).view() < Key(second).view();
}

float busGain(const AppAudioConfig& master, std::uint32_t bus) {
    if (bus == 1) {
        return master.input1Muted ? 0.0f : master.input1Volume;
    }
    return master.input2Muted ? 0.0f : master.input2Volume;
}

// Frames of a packet of stereo float at 48000 Hz, from `first` on. `room` takes them where the rate is
// another.
std::span<const float> framesAt48k(std::span<const float> packet, std::uint32_t rate, std::uint64_t first,
                                   std::size_t frames, std::span<float> room) {
    if (rate == kMixSampleRate) {
        return packet.subspan(2 * static_cast<std::size_t>(first), 2 * frames);
    }
    const std::span<float> resampled = room.first(2 * frames);
    resampleTo48k(packet, rate, first, resampled);
    return resampled;
}

void storeMeter(InputBuffer& ring, const StereoLevel& raw, float volume) {
    ring.levelLeft.store(std::min(1.0f, raw.left * volume), std::memory_order_relaxed);
    ring.levelRight.store(std::min(1.0f, raw.right * volume), std::memory_order_relaxed);
}

// Of a packet nothing is left at 48000 Hz.
void logEmptyPacket(std::uint32_t rate) {
    if (rate == 0) {
        routerLog("[WARNING] Resampling from {} Hz to 48000 Hz returned empty result, skipping packet", rate);
    } else {
        // Never reached: any other rate gives each packet one frame at least, by definition.
        routerLog("[WARNING] Resampling from {} Hz to 48000 Hz resulted in 0 frames", rate);
    }
}

} // namespace

PerAppInputBuffers& PerAppInputBuffers::instance() {
    static auto* const buffers = new PerAppInputBuffers(AppAudioConfigStore::instance());
    return *buffers;
}

PerAppInputBuffers::PerAppInputBuffers(AppAudioConfigStore& configStore)
    : store(configStore), soloBuffer(std::make_shared<InputBuffer>()) {
    mixOrder.reserve(kExpectedSources);
}

void PerAppInputBuffers::correctDrift(bool on) {
    auto next = on ? std::make_unique<const Interpolator>() : nullptr; // the earlier one goes after the lock
    const std::lock_guard lock(mutex);
    interpolator.swap(next);
    soloDrift.forget();
    for (Source* const source : mixOrder) {
        source->forgetDrifts();
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
        logEmptyPacket(rate);
        return;
    }

    const SourcePointer source = findOrMake(processID);
    auto& [ring1, ring2] = source->rings;
    RingWriter bus1(config.input1Enabled && !config.input1Muted ? &ring1 : nullptr, config.input1Volume);
    RingWriter bus2(config.input2Enabled && !config.input2Muted ? &ring2 : nullptr, config.input2Volume);
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
        const std::span<const float> piece = framesAt48k(converted, rate, done, pieceFrames, scratch.piece);
        meter.add(piece);
        if (heard) {
            bus1.write(piece);
            bus2.write(piece);
            solo.write(piece);
        }
        done += pieceFrames;
    }

    const StereoLevel raw = meter.level(frameCount);
    storeMeter(ring1, raw, config.input1Volume);
    storeMeter(ring2, raw, config.input2Volume);
    bus1.publish();
    bus2.publish();
    solo.publish();
    // Last: a reset in the midst of this packet does not spare the next one its work.
    source->used.store(true, std::memory_order_release); // pairs with the exchange in resetProcessBuffers()
}

void PerAppInputBuffers::updateBusLevels() {
    const DenormalsAreZero mode;
    const std::lock_guard lock(mutex);
    std::array<StereoLevel, kBusCount> sums;
    for (const Source* const source : mixOrder) {
        for (std::size_t bus = 0; bus < kBusCount; ++bus) {
            const float left = source->rings[bus].levelLeft.load(std::memory_order_relaxed);
            const float right = source->rings[bus].levelRight.load(std::memory_order_relaxed);
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

void PerAppInputBuffers::addBus(std::uint32_t bus, Reader user, float* output, std::uint32_t frames,
                                float gain) const {
    std::array<RingReader, kReadersAtOnce> readers;
    std::size_t count = 0;
    const auto flush = [&] {
        const std::span<RingReader> group = std::span(readers).first(count);
        if (user == Reader::Solo) {
            addReadersWithGain(group, output, gain);
        } else {
            addReaders(group, output);
        }
        for (RingReader& reader : group) {
            reader.commit();
        }
        count = 0;
    };
    const Interpolator* const between = interpolator.get(); // null: all rings are read exactly
    const auto readPosition = user == Reader::Solo ? &InputBuffer::soloReadPos : &InputBuffer::busReadPos;
    for (Source* const source : mixOrder) {
        InputBuffer& ring = source->rings[bus - 1];
        RingReader reader(ring, ring.*readPosition, between != nullptr ? InputBuffer::kFrameCount : frames);
        if (between != nullptr) {
            DriftCorrection& drift = (*source->drifts)[bus - 1][static_cast<std::size_t>(user)];
            if (drift.isDue(reader.remaining(), frames)) {
                flush(); // the sum keeps its order
                drift.addTo(output, frames, gain, ring, ring.*readPosition, reader.remaining(), *between);
                continue;
            }
            reader.limitTo(frames);
        }
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

void PerAppInputBuffers::addSoloRing(float* output, std::uint32_t frames) {
    RingReader reader(*soloBuffer, soloBuffer->busReadPos, interpolator ? InputBuffer::kFrameCount : frames);
    if (interpolator && soloDrift.isDue(reader.remaining(), frames)) {
        soloDrift.addTo(output, frames, 1.0f, *soloBuffer, soloBuffer->busReadPos, reader.remaining(),
                        *interpolator);
        return;
    }
    reader.limitTo(frames);
    copyReader(reader, output);
    reader.commit();
}

void PerAppInputBuffers::chooseForSolo(std::uint32_t choice) {
    const std::uint32_t before = std::exchange(soloChoice, choice);
    if (before == choice || before == 0) {
        return;
    }
    if (choice == kSoloRing) {
        soloDrift.beginAnew();
        return;
    }
    for (Source* const source : mixOrder) {
        (*source->drifts)[choice - 1][static_cast<std::size_t>(Reader::Solo)].beginAnew();
    }
}

void PerAppInputBuffers::mixBus(float* output, std::uint32_t frames, std::uint32_t bus) {
    const DenormalsAreZero mode;
    // The mix grows in the output itself.
    const std::span<float> mix(output, std::size_t{frames} * 2);
    std::ranges::fill(mix, 0.0f);
    const std::lock_guard lock(mutex);
    if (bus == 1 || bus == 2) {
        addBus(bus, Reader::Bus, output, frames, 1.0f);
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
    const std::uint32_t choice = master1.solo ? 1 : master2.solo ? 2 : kSoloRing;
    chooseForSolo(choice);
    if (choice == kSoloRing) {
        addSoloRing(output, frames);
    } else {
        addBus(choice, Reader::Solo, output, frames, busGain(choice == 1 ? master1 : master2, choice));
    }
    // The gain went in at the write, or above.
    applyGainAndLimit(mix, 1.0f);
}

StereoLevel PerAppInputBuffers::getProcessLevels(std::uint32_t processID) const {
    const std::lock_guard lock(mutex);
    const Source* const source = find(processID);
    if (source == nullptr) {
        return {};
    }
    const auto& [ring1, ring2] = source->rings;
    return {std::max(ring1.levelLeft.load(std::memory_order_relaxed),
                     ring2.levelLeft.load(std::memory_order_relaxed)),
            std::max(ring1.levelRight.load(std::memory_order_relaxed),
                     ring2.levelRight.load(std::memory_order_relaxed))};
}

StereoLevel PerAppInputBuffers::getBus1Levels() const {
    return {bus1Level.left.load(std::memory_order_relaxed), bus1Level.right.load(std::memory_order_relaxed)};
}

StereoLevel PerAppInputBuffers::getBus2Levels() const {
    return {bus2Level.left.load(std::memory_order_relaxed), bus2Level.right.load(std::memory_order_relaxed)};
}

std::set<std::uint32_t> PerAppInputBuffers::collectProcessIds() const {
    const std::vector<std::uint32_t> ids = idsUnderLock(mutex, sources);
    return {ids.begin(), ids.end()};
}

void PerAppInputBuffers::resetProcessBuffers(std::uint32_t processID) {
    const std::lock_guard lock(mutex);
    Source* const source = find(processID);
    if (source == nullptr || !source->used.exchange(false, std::memory_order_acquire)) {
        return;
    }
    for (InputBuffer& ring : source->rings) {
        ring.reset();
    }
    source->forgetDrifts();
}

std::shared_ptr<InputBuffer> PerAppInputBuffers::getInputBuffer(std::uint32_t processID, std::uint32_t bus) {
    const SourcePointer source = findOrMake(processID);
    return {source, &source->rings.at(bus - 1)};
}

void PerAppInputBuffers::clear() {
    std::map<std::uint32_t, SourcePointer> old; // freed after the lock
    const std::lock_guard lock(mutex);
    mixOrder.clear();
    sources.swap(old);
}

void PerAppInputBuffers::Source::forgetDrifts() {
    for (auto& ofRing : *drifts) {
        for (DriftCorrection& drift : ofRing) {
            drift.forget();
        }
    }
}

PerAppInputBuffers::Source* PerAppInputBuffers::find(std::uint32_t processID) const {
    const auto found = sources.find(processID);
    return found != sources.end() ? found->second.get() : nullptr;
}

PerAppInputBuffers::SourcePointer PerAppInputBuffers::findOrMake(std::uint32_t processID) {
    {
        const std::lock_guard lock(mutex);
        if (const auto known = sources.find(processID); known != sources.end()) {
            return known->second;
        }
    }
    // Made outside of the lock, which render threads wait for; one that another thread made meanwhile is
    // left for the end of this function to free.
    std::map<std::uint32_t, SourcePointer> prepared;
    prepared.emplace(processID, std::make_shared<Source>(processID));
    const std::lock_guard lock(mutex);
    const auto added = sources.insert(prepared.extract(processID));
    if (!added.inserted) {
        return added.position->second;
    }
    Source* const source = added.position->second.get();
    mixOrder.insert(std::ranges::upper_bound(mixOrder, processID, mixedBefore, &Source::processID), source);
    return added.position->second;
}
