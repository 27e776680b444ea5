#pragma once

// What with_sound.py arranged around a test program: endpoints with names, and what the sinks played.

#include "mixer/AppAudioConfigStore.h"
#include "mixer/PerAppInputBuffers.h"
#include "platform/windows/routerAudio/CoreAudioEndpoints.h"
#include "platform/windows/routerAudio/WasapiOutputStream.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

/// Waits until the condition holds; false when it does not within the limit.
[[nodiscard]] bool comesTrue(const std::function<bool()>& condition,
                             std::chrono::milliseconds limit = std::chrono::seconds(15));

/// The sound of one sink, as its recorder has written it so far.
class RecordedSink {
public:
    explicit RecordedSink(const std::string& name, std::uint32_t channelCount = 2, double sampleRate = 48000);

    /// The last `seconds` of one channel; shorter while there is less.
    [[nodiscard]] std::vector<float> latest(std::uint32_t channel, double seconds) const;
    /// How much has been recorded.
    [[nodiscard]] double seconds() const;
    /// Amplitude of a frequency in the last tenth of a second of one channel.
    [[nodiscard]] double amplitude(std::uint32_t channel, double frequency) const;

private:
    std::string path;
    std::uint32_t channels;
    double rate;
};

/// Amplitude of one frequency in a signal, by a windowed projection.
[[nodiscard]] double amplitudeOf(const std::vector<float>& signal, double frequency, double sampleRate);

/// Lets the launcher remove a sink or a microphone from the system, and waits until it has; false when that
/// takes too long.
[[nodiscard]] bool unload(const std::string& name);

/// Feeds a source with a tone, 10 ms every 10 ms, from a thread of its own, until destroyed. One frequency on
/// the left, another on the right.
class TonePlayer {
public:
    TonePlayer(PerAppInputBuffers& buffers, std::uint32_t processId, double leftHz, double rightHz,
               float amplitude);
    ~TonePlayer();
    TonePlayer(const TonePlayer&) = delete;
    TonePlayer& operator=(const TonePlayer&) = delete;

private:
    std::atomic<bool> running{true};
    std::thread thread;
};

/// A store with buffers, and this thread in the multithreaded apartment.
struct SoundScene {
    SoundScene();
    ~SoundScene();
    SoundScene(const SoundScene&) = delete;
    SoundScene& operator=(const SoundScene&) = delete;

    /// A source on both buses and in the solo ring, at full volume.
    void addSource(std::uint32_t processId);

    AppAudioConfigStore store;
    PerAppInputBuffers buffers{store};
};

/// Makes this process a program that plays, silence to the default output, until destroyed. Throws when that
/// output does not open.
class ProgramThatPlays {
public:
    ProgramThatPlays();
    ~ProgramThatPlays();
    ProgramThatPlays(const ProgramThatPlays&) = delete;
    ProgramThatPlays& operator=(const ProgramThatPlays&) = delete;

private:
    WasapiOutputStream stream;
    std::atomic<bool> running{true};
    std::thread thread;
};

/// The active endpoint with this in its friendly name; null when there is none.
[[nodiscard]] AudioEndpointPointer endpointNamed(EndpointFlow flow, const std::string& part);
