// The mixer's loader: takes a firmware image in packets and writes it to the flash.
//
// A command report is id 1, 62, 0, a text with its parameters in 60 bytes, a checksum. A packet report is id
// 1, "cm", packet number u16, packet count u16, 56 bytes, a checksum. The bytes from offset 2 to the end add
// up to 0 modulo 256. A reply is id 1, length, 0, the text and its values, a checksum, padded to 64 bytes.
//
// What the loader does not accept it leaves unanswered, and counts it with its reason.
//
// Times are milliseconds of the caller's clock and never go back. One thread.
#pragma once

#include "emulator/FirmwareImage.h"

#include <array>
#include <functional>
#include <map>

namespace vexo::emulator {

class BootLoader {
public:
    enum class Step { App, Idle, Shaken, Erasing, Writing, Confirmed };
    enum class Reply { Right, Silent, Wrong, Twice, Long };

    struct Settings {
        // From leaving the bus to the return under the other identity.
        std::uint64_t returnMs = 400;
        std::uint64_t eraseMs = 3000;
        // A packet takes this long to write; so many may wait for it. 0 ms: no packet waits.
        std::uint64_t programMs = 4;
        std::uint64_t queueDepth = 64;
        std::array<std::uint8_t, 3> version{1, 2, 10};
        // How a command is answered, by its word ("cm_vcrc"); others are answered right.
        std::map<std::string, Reply, std::less<>> replies;
    };

    struct Events {
        std::function<void(Bytes report)> reply;
        // The image is whole and valid.
        std::function<void(const Bytes& image)> confirmed;
        // The device takes or has taken a step. True: its power is cut here.
        std::function<bool(std::string_view word, bool before)> cutAt;
    };

    struct Restart {
        std::uint64_t awayMs;
        bool asBootloader;
    };

    BootLoader(bool hasFirmware, Events loaderEvents)
        : imageValid(hasFirmware), step(hasFirmware ? Step::App : Step::Idle),
          events(std::move(loaderEvents)) {}

    // Power is lost: what was begun is forgotten, the flash stays.
    void powerOff();
    // After a power off: the next start is that of the bootloader, with or without a valid image.
    void startAsBootloader() { step = Step::Idle; }

    // As after an upgrade that was broken off: there is no valid image any more.
    void loseFirmware();

    bool isBootloader() const { return step != Step::App; }
    Step currentStep() const { return step; }
    bool hasValidImage() const { return imageValid; }
    const Bytes& flash() const { return image; }
    std::uint64_t receivedBytes() const { return received; }
    const std::map<std::string_view, std::uint64_t>& refusals() const { return refused; }

    // A report from the host, report id first.
    void receive(BytesView report, std::uint64_t nowMs);
    void advance(std::uint64_t nowMs);
    std::uint64_t nextEventAtMs() const;
    // The restart that is due now; once.
    std::optional<Restart> takeRestart();

    Settings settings;

private:
    void command(BytesView block);
    void shake(BytesView parameters);
    void beginErase(BytesView parameters);
    void packet(BytesView block);
    void confirm(BytesView parameters);
    void finish();
    void answer(std::string_view word, std::string_view text, BytesView values = {});
    void refuse(std::string_view reason) { ++refused[reason]; }
    void leave(bool asBootloader);
    std::size_t packetCount() const;

    bool imageValid;
    Step step;
    Events events;
    Bytes image;
    std::uint32_t size = 0;
    std::uint16_t crc = 0;
    std::size_t packets = 0;
    std::uint64_t received = 0;
    std::uint64_t now = 0;
    std::uint64_t eraseEndsAtMs = 0;
    // When the packets that were taken are written.
    std::uint64_t writtenAtMs = 0;
    std::optional<std::uint64_t> leavesAtMs;
    bool leavesForBootloader = false;
    std::map<std::string_view, std::uint64_t> refused;
};

std::string_view stepWord(BootLoader::Step step);

} // namespace vexo::emulator
