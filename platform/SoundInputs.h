#pragma once

// The sound system's inputs, as the capture service reads them. On Windows they are PortAudio's, on Linux the
// sound server's own sources.
//
// What the functions return is 0 when it went well, and else a number of the body's own, of which errorText()
// tells the text. Some numbers mean the same in every body; they are those of PortAudio.
//
// open() and awaitBlock(), and the streams, belong to one thread, between its initialise() and its
// terminate(). All else belongs to any thread. Where the list is not live, other threads may also call
// initialise() and, once for each, terminate().

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

inline constexpr int kInputDone = 0;
inline constexpr int kInputNotInitialised = -10000;
inline constexpr int kInputInvalidRate = -9997; ///< the device has another rate
inline constexpr int kInputOverflowed = -9981;  ///< something is lost before a block that has been read

/// One device.
struct SoundDeviceRecord {
    std::int32_t index = -1;         ///< by which it is opened
    std::optional<std::string> name; ///< 8-bit text, as people see it; none: the system has none
    bool isPreferred = false;        ///< wins over a device of the same name that is not
    std::string hostApi;             ///< the name of the interface to it
    std::int32_t maxInputChannels = 0;
    std::int32_t maxOutputChannels = 0;
    double lowInputLatency = 0.0;   ///< seconds
    double lowOutputLatency = 0.0;  ///< seconds
    double defaultSampleRate = 0.0; ///< Hz
};

struct SoundDeviceList {
    std::vector<SoundDeviceRecord> records; ///< those that can be described, in the system's order
    std::int32_t deviceCount = 0;           ///< of all devices; negative: the list is not there
    std::int32_t defaultInput = -1;         ///< an index; -1: none
    std::int32_t defaultOutput = -1;

    /// Null where the list has no such device.
    [[nodiscard]] const SoundDeviceRecord* find(std::int32_t index) const {
        const auto found = std::ranges::find(records, index, &SoundDeviceRecord::index);
        return found != records.end() ? &*found : nullptr;
    }
};

/// What a stream is opened with: 32-bit float, interleaved.
struct SoundStreamParameters {
    std::int32_t device = -1;
    bool isOutput = false;
    std::int32_t channels = 0;
    double latency = 0.0;    ///< seconds
    double sampleRate = 0.0; ///< Hz
};

/// One opened input. Its end closes it.
class SoundInputStream {
public:
    SoundInputStream() = default;
    virtual ~SoundInputStream() = default;
    SoundInputStream(const SoundInputStream&) = delete;
    SoundInputStream& operator=(const SoundInputStream&) = delete;

    [[nodiscard]] virtual int start() = 0;
    virtual void stop() = 0;
    /// 1: it records; 0: it does not, since its device has gone; negative: an error.
    [[nodiscard]] virtual int activity() = 0;
    /// Whether a block may be read. A body whose read() waits for its block has one at any time.
    [[nodiscard]] virtual bool hasBlock() = 0;
    /// Reads one block, of as many frames as the stream was opened for.
    [[nodiscard]] virtual int read(float* block) = 0;
};

class SoundInputs {
public:
    SoundInputs() = default;
    virtual ~SoundInputs() = default;
    SoundInputs(const SoundInputs&) = delete;
    SoundInputs& operator=(const SoundInputs&) = delete;

    [[nodiscard]] virtual int initialise() = 0;
    virtual int terminate() = 0;
    [[nodiscard]] virtual std::string errorText(int error) = 0;

    /// A copy of the list of devices: as initialise() found it, or as it is now where isListLive().
    [[nodiscard]] virtual SoundDeviceList devices() = 0;
    /// Whether the list follows the devices as they come and go, and a stream that is closed and opened again
    /// before awaitBlock() loses nothing. Then nothing has to be initialised again for a new device, and none
    /// of the service's waits around that is needed.
    [[nodiscard]] virtual bool isListLive() const = 0;

    /// Whether a stream of these parameters would open; changes nothing.
    [[nodiscard]] virtual int checkFormat(const SoundStreamParameters& parameters) = 0;
    /// Opens an input for blocks of so many frames. The stream may stay null although all went well.
    [[nodiscard]] virtual int open(const SoundStreamParameters& parameters, std::uint32_t framesPerBlock,
                                   std::unique_ptr<SoundInputStream>& stream) = 0;

    /// Waits until a stream has a block or goes, until wake(), and `limit` at most. Returns at once where
    /// read() waits.
    virtual void awaitBlock(std::chrono::milliseconds limit) = 0;
    /// Ends the wait of awaitBlock() that is under way, or else the next one: a call that finds a block at
    /// once leaves it to a later one. Any thread.
    virtual void wake() = 0;
};

/// The inputs of this system, one for the process.
[[nodiscard]] SoundInputs& systemSoundInputs();
