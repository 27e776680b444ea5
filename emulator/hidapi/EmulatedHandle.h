// An interface of an emulated device that a program has open: one connection to the emulator.
//
// All operations may be called from several threads at once. close() may be called while another thread
// reads: the read then fails; the object lives until its last user releases it.
#pragma once

#include "emulator/HidWire.h"
#include "emulator/LocalSocket.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace vexo::emulator {

// Asks the emulator on a connection of its own. Nothing when no emulator runs or it does not answer within
// two seconds, or the milliseconds in VEXO_EMULATOR_ANSWER_MS.
std::optional<Bytes> askEmulator(WireType type, BytesView body);

class EmulatedHandle {
public:
    // Null with the reason when there is no such interface or no permission.
    static std::shared_ptr<EmulatedHandle> open(const std::string& path, std::wstring& error);

    EmulatedHandle(LocalSocket connection, InterfaceInfo interfaceInfo)
        : info(std::move(interfaceInfo)), socket(std::move(connection)) {}

    // As hid_read_timeout: bytes of one report, 0 after the time-out, -1 once the device is gone. -1
    // milliseconds wait for ever.
    int read(std::span<std::uint8_t> buffer, int timeoutMs);
    // As hid_write: the number of bytes, or -1.
    int write(BytesView report);
    // The same for feature reports.
    int sendFeature(BytesView report);
    int getFeature(std::span<std::uint8_t> buffer);
    void close();

    void setError(std::wstring text);
    std::wstring lastError() const;

    const InterfaceInfo info;
    std::atomic<bool> nonBlocking = false;

private:
    using Clock = std::chrono::steady_clock;

    bool gone();
    // The interface takes and gives nothing any more.
    void die();
    void setHeld(bool isHeld);
    // Waits while the device takes no reports, as long as the kernel would. False when it still takes none.
    bool waitUntilTaken();
    bool takeTurn(bool forEver, Clock::time_point deadline);
    void endTurn();
    int receiveReport(std::span<std::uint8_t> buffer, bool forEver, Clock::time_point deadline);
    int fail(std::wstring text);
    int takeReport(std::span<std::uint8_t> buffer, const Bytes& report) const;

    LocalSocket socket;
    std::atomic<bool> dead = false;
    // One thread at a time receives; the others wait for their turn until their time-outs.
    std::mutex turnMutex;
    std::condition_variable turnEnded;
    bool turnTaken = false;
    // A message that has arrived in part; belongs to the thread whose turn it is.
    WireBuffer incoming;
    std::mutex writeMutex;
    std::mutex holdMutex;
    std::condition_variable holdChanged;
    // Under holdMutex.
    bool held = false;
    mutable std::mutex errorMutex;
    std::wstring error;
};

} // namespace vexo::emulator
