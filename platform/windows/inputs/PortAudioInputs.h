#pragma once

#include "platform/SoundInputs.h"

#include <mutex>

/// PortAudio's devices, of which those of WASAPI are preferred. A stream is read in blocking mode.
///
/// PortAudio frees its records when it is terminated, and its functions may not meet on two threads: each
/// call but those on an opened stream holds a lock, and what leaves here is a copy.
class PortAudioInputs final : public SoundInputs {
public:
    [[nodiscard]] int initialise() override;
    int terminate() override;
    [[nodiscard]] std::string errorText(int error) override;
    [[nodiscard]] SoundDeviceList devices() override;
    [[nodiscard]] bool isListLive() const override { return false; }
    [[nodiscard]] int checkFormat(const SoundStreamParameters& parameters) override;
    [[nodiscard]] int open(const SoundStreamParameters& parameters, std::uint32_t framesPerBlock,
                           std::unique_ptr<SoundInputStream>& stream) override;
    void awaitBlock(std::chrono::milliseconds) override {}
    void wake() override {}

private:
    class Stream;

    std::mutex libraryMutex;
};
