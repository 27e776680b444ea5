#pragma once

#include "platform/SoundInputs.h"
#include "platform/linux/inputs/PulseInputRecording.h"
#include "platform/linux/sound/PulseHandles.h"
#include "platform/linux/sound/PulseServer.h"
#include "platform/linux/sound/RealTimeThread.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

/// The sound server's sources, under the names that people see. The list is the picture that PulseServer
/// keeps; the server is asked for nothing, and nothing waits for it. The streams live on a main loop that
/// awaitBlock() runs, on the thread of its caller, which runs in real time from then on to terminate()
/// where the system grants that.
///
/// A stream is active for as long as its source is there; while the server makes it, or is silent, it only
/// has no block. One that is closed goes on until awaitBlock(), so that it can be opened again without a gap.
///
/// The shortest names come first: a name that is asked for as it is comes before longer ones that hold it.
class PulseInputs final : public SoundInputs {
public:
    PulseInputs();

    [[nodiscard]] int initialise() override;
    int terminate() override;
    [[nodiscard]] std::string errorText(int error) override;
    [[nodiscard]] SoundDeviceList devices() override;
    [[nodiscard]] bool isListLive() const override { return true; }
    [[nodiscard]] int checkFormat(const SoundStreamParameters& parameters) override;
    [[nodiscard]] int open(const SoundStreamParameters& parameters, std::uint32_t framesPerBlock,
                           std::unique_ptr<SoundInputStream>& stream) override;
    void awaitBlock(std::chrono::milliseconds limit) override;
    void wake() override;

private:
    class Stream;

    void followSources();
    [[nodiscard]] bool hasNews();

    PulseMainloopHandle mainloop;
    std::shared_ptr<PulseServer> server;    // from initialise() to terminate()
    std::optional<RealTimeThread> realTime; // from the first awaitBlock() to terminate()
    std::uint64_t followedChanges = 0;
    std::atomic<bool> woken{false};
    std::vector<std::shared_ptr<PulseInputRecording>> recordings; // a stream that is open holds its own, too
};
