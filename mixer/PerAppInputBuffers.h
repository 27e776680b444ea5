#pragma once

// Where sources and outputs meet. Producers are the captures of applications, and the capture service with a
// stream index in place of a process id. Their packets, of any format, become 48000 Hz stereo float, are
// measured, and are kept in two rings for each source, one for each bus. Consumers are the render threads,
// which ask for mixed, limited frames. The level thread reads the meters.
//
// Samples are written without a lock. One mutex guards the map of sources; consumers hold it for the mix of
// one block, producers for a look-up. The record store's mutex is taken inside it, never the other way round.
//
// Denormal numbers count as 0.0 here (see DenormalsAreZero.h), or fading sound would cost ten times as much
// as any other. Otherwise the results are those of the kernels. A meter's sum of squares is taken in lanes
// and lies within a millionth of the exact one for packets of any length.
//
// mixBus() and mixSolo() neither allocate nor log and make no system call but those of the two mutexes.
// addInputData() allocates at a source's first packet, and when a packet to convert is larger than any before
// on this thread. Resampling works in pieces of 2048 frames. Of more than 28,800 frames only the last 28,800
// are written.

#include "mixer/AppAudioConfig.h"
#include "mixer/DriftCorrection.h"
#include "mixer/InputBuffer.h"
#include "mixer/Interpolator.h"
#include "mixer/WaveFormat.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

class AppAudioConfigStore;

class PerAppInputBuffers {
public:
    using InputBuffer = ::InputBuffer;

    /// The buffers of the process, over the store of the process; made at first use and alive to its end.
    static PerAppInputBuffers& instance();

    /// Reads its records from `store`, which outlives it.
    explicit PerAppInputBuffers(AppAudioConfigStore& store);
    PerAppInputBuffers(const PerAppInputBuffers&) = delete;
    PerAppInputBuffers& operator=(const PerAppInputBuffers&) = delete;

    /// From now on each reader of a ring keeps the delay that it has when its source begins, though the
    /// source's clock and the output's are up to 300 millionths apart: it goes through the ring a little
    /// faster or slower when the delay has changed by more than some milliseconds, and exactly otherwise.
    /// Off at first and with `on` false: then all rings are read exactly, and the drift fills or empties
    /// them. Any thread but a render callback.
    void correctDrift(bool on);

    /// Adds one packet of a source: `byteCount` bytes at `data` in `format`. Dropped when the source has no
    /// active record. A packet of unknown format is silence; one without channels or frames is ignored; one
    /// whose rate leaves no frames is logged and dropped. Any number of threads, each with its own sources.
    void addInputData(std::uint32_t processID, const void* data, std::uint32_t byteCount,
                      const WaveFormat& format);

    /// Brings the bus meters up to date with those of the sources. Producers, after each packet.
    void updateBusLevels();

    /// Writes `frames` frames of the bus (1 or 2; any other has no sources) to `output`, interleaved left and
    /// right: the sum of its sources, times the master's gain, limited to -1.0 ... 1.0. A source that runs
    /// short is missing from the rest. The bus's render thread.
    void mixBus(float* output, std::uint32_t frames, std::uint32_t bus);

    /// The same for Solo: all of Bus 1 if its master record carries solo, else all of Bus 2 if its does, else
    /// the sources that carry solo. Solo's render thread.
    void mixSolo(float* output, std::uint32_t frames);

    /// The larger of the source's two meters, where 0.0 stands for a ring that does not exist. Below 0.0 when
    /// both volumes are negative. Any thread.
    [[nodiscard]] StereoLevel getProcessLevels(std::uint32_t processID) const;
    /// As of the last updateBusLevels(), not clamped: several loud sources exceed 1.0. Any thread.
    [[nodiscard]] StereoLevel getBus1Levels() const;
    [[nodiscard]] StereoLevel getBus2Levels() const;

    /// The ids that have rings. Any thread. Takes the lock of the map for a walk over its keys, since a first
    /// packet of another source may change it meanwhile.
    [[nodiscard]] std::set<std::uint32_t> collectProcessIds() const;

    /// Empties the rings of a source, which stay in the map. Any thread. Takes the lock of the map, since
    /// render threads read the rings under it. Where no packet came since the last reset it costs a look-up.
    ///
    /// The source's capture has stopped. The streams of the capture service (ids below 10) have none and go
    /// on. A packet of theirs that is being written meanwhile sets the ring's write position as if there had
    /// been no reset. Then up to 600 ms of silence around that packet become readable, and the source keeps
    /// that delay.
    void resetProcessBuffers(std::uint32_t processID);

    /// The ring of a source on a bus (1 or 2). A source that is not known yet is made with both of its rings.
    /// Any thread but a render callback.
    [[nodiscard]] std::shared_ptr<InputBuffer> getInputBuffer(std::uint32_t processID, std::uint32_t bus);

    /// Removes all sources, at the end of routing. The solo ring and the bus meters stay as they are.
    void clear();

private:
    static constexpr std::size_t kBusCount = 2;

    // Who reads a source's ring: its bus, or Solo when it plays the whole bus.
    enum class Reader : std::uint8_t { Bus, Solo };
    static constexpr std::size_t kReaderCount = 2;

    // One source: its rings on Bus 1 and Bus 2, which are made together.
    struct Source {
        explicit Source(std::uint32_t id) : processID(id) {}
        void forgetDrifts();

        const std::uint32_t processID;
        std::array<InputBuffer, kBusCount> rings;
        // Of each ring's readers, under the lock; apart, since most of the time the rings alone are touched.
        using Drifts = std::array<std::array<DriftCorrection, kReaderCount>, kBusCount>;
        const std::unique_ptr<Drifts> drifts = std::make_unique<Drifts>();
        // Whether a packet or its meters went in since the last reset.
        std::atomic<bool> used{false};
    };
    using SourcePointer = std::shared_ptr<Source>;
    struct BusLevel {
        std::atomic<float> left{0.0f};
        std::atomic<float> right{0.0f};
    };

    // Under the lock, which the source is alive for; null when there is none.
    [[nodiscard]] Source* find(std::uint32_t processID) const;
    [[nodiscard]] SourcePointer findOrMake(std::uint32_t processID);
    // Under the lock. The mix of a bus is not multiplied by `gain`, which is 1.0 there.
    void addBus(std::uint32_t bus, Reader reader, float* output, std::uint32_t frames, float gain) const;
    void addSoloRing(float* output, std::uint32_t frames);
    // Under the lock: what Solo plays from now on, 1 or 2 for all of a bus, 3 for the solo ring.
    void chooseForSolo(std::uint32_t choice);

    AppAudioConfigStore& store;
    mutable std::mutex mutex;
    std::map<std::uint32_t, SourcePointer> sources;
    // The same sources in the order in which they are added up. A sum of floats depends on its order, which
    // is kept: that of the ids as decimal text with a colon at its end, so that 100 stands before 10.
    std::vector<Source*> mixOrder;
    const std::shared_ptr<InputBuffer> soloBuffer; // written by every source with solo: one, by use
    DriftCorrection soloDrift;
    std::uint32_t soloChoice = 0;                     // 0: none so far
    std::unique_ptr<const Interpolator> interpolator; // null while drift is not corrected
    BusLevel bus1Level;
    BusLevel bus2Level;
};
