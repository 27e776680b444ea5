// A microphone's firmware, which the device pulls from the host block by block over its link.
//
// A message is AA 55, a CRC u16 of what follows it, command u8, data length u16, data. The host asks with
// command 0x80; the device answers with its status, then it requests blocks with 0x81 (address u32, length
// u16, percentage u8), the host sends them with 0x81 (address, length, bytes), and the device ends with its
// verdict, 0x82.
//
// The host sends each block as a request, so its answer carries the next request or the verdict. A block that
// is not the one that was requested is requested again, three times in a row at most. A block that the device
// has already is answered with nothing in it: another request would double every block from there on.
//
// Times are milliseconds of the caller's clock and never go back. One thread.
#pragma once

#include "emulator/FirmwareImage.h"
#include "emulator/LinkFrame.h"

#include <map>

namespace vexo::emulator {

class MicrophoneFlash {
public:
    enum class Step { Idle, Asked, Transferring, Finished, Refused };

    struct Settings {
        // What the host is answered when it asks; 0 lets it go on.
        std::uint8_t status = 0;
        std::uint16_t blockSize = 480;
        // Size of an image that does not say it itself.
        std::optional<std::uint32_t> imageSize;
        // The verdict whatever comes; without it the device judges.
        std::optional<std::uint8_t> verdict;
        // False: a block is not answered; requests and verdict are messages of the device's own.
        bool acknowledges = true;
        // From a block to the next request.
        std::uint64_t paceMs = 0;
        // After so many blocks the device requests no more.
        std::optional<std::uint64_t> stallAfter;
    };

    struct Events {
        std::function<void(const LinkFrame& request, Bytes message)> answer;
        std::function<void(Bytes message)> send;
        // The image is whole and valid.
        std::function<void(const Bytes& image)> confirmed;
        // Whether the device runs a newer version than this one.
        std::function<bool(const FirmwareInfo& info)> isOlder;
        // As BootLoader::Events::cutAt.
        std::function<bool(std::string_view word, bool before)> cutAt;
    };

    struct Turnaround {
        std::uint64_t p50 = 0;
        std::uint64_t p99 = 0;
        std::uint64_t max = 0;
    };

    MicrophoneFlash(char modelLetter, Events flashEvents)
        : letter(modelLetter), events(std::move(flashEvents)) {}

    // Power is lost: what was begun is forgotten, the firmware stays.
    void powerOff();
    // A host logged in. It may number its messages anew, so none of them repeats an earlier one.
    void forgetAnswers();
    // A message 0x8006 of the host.
    void receive(const LinkFrame& message, std::uint64_t nowMs);
    void advance(std::uint64_t nowMs);
    std::uint64_t nextEventAtMs() const;
    // Whether the restart into the new firmware is due now; once.
    bool takeRestart();
    // A request that the device's own order does not give.
    void requestBlock(std::uint32_t address, std::uint16_t length, std::uint8_t progress);

    Step currentStep() const { return step; }
    // The firmware that was confirmed last; empty before.
    const Bytes& flash() const { return firmware; }
    std::uint64_t receivedBytes() const { return image.size(); }
    const std::map<std::string_view, std::uint64_t>& refusals() const { return refused; }
    std::uint64_t duplicates() const { return duplicateBlocks; }
    // From a request to its block, over the last transfer.
    Turnaround turnaround() const;

    Settings settings;

private:
    struct Due {
        std::uint64_t atMs;
        LinkFrame request;
    };

    void onAsk(const LinkFrame& message, BytesView data);
    void onBlock(const LinkFrame& message, BytesView data);
    // Why this block is not the one that was requested; empty when it is.
    std::string_view faultOf(BytesView data) const;
    void repeatRequest(const LinkFrame* block, std::string_view reason);
    // After a block, or for the first time without one.
    void goOn(const LinkFrame* block);
    void judge(const LinkFrame* block);
    void transmit(const LinkFrame* block, Bytes message);
    void requestNext(const LinkFrame* block);
    std::optional<std::uint32_t> imageSize() const;

    char letter;
    Events events;
    Step step = Step::Idle;
    Bytes image;
    Bytes firmware;
    std::uint64_t now = 0;
    // The request that stands open.
    std::uint16_t wantedLength = 0;
    std::uint64_t requestedAtMs = 0;
    int repeats = 0;
    std::uint64_t blocks = 0;
    std::uint64_t duplicateBlocks = 0;
    std::optional<Due> due;
    // The host's last message and what it was answered, for one that comes again.
    std::optional<std::uint16_t> answeredSequence;
    Bytes lastAnswer;
    std::optional<std::uint64_t> restartsAtMs;
    std::vector<std::uint64_t> turnaroundsMs;
    std::map<std::string_view, std::uint64_t> refused;
};

std::string_view stepWord(MicrophoneFlash::Step step);

} // namespace vexo::emulator
