// One virtual device: its identity, its attributes, its button and its automatic gain. It takes the bytes of
// frames and produces messages; VirtualBus has the reports and faults, EmulatorServer the sockets.
//
// Times are milliseconds of the caller's clock and never go back. One thread.
#pragma once

#include "emulator/Attributes.h"
#include "emulator/BootLoader.h"
#include "emulator/LinkNode.h"
#include "emulator/MicrophoneFlash.h"
#include "emulator/Random.h"
#include "emulator/SignalProcessor.h"

#include <map>
#include <memory>

namespace vexo::emulator {

struct DeviceIdentity {
    std::string name;
    std::string serial;
    std::uint8_t versionMajor = 0;
    std::uint8_t versionMinor = 0;
};

// How the device answers each kind of request. LinkSettings has hello and login.
struct AnswerSettings {
    Answering name = Answering::On;
    Answering serial = Answering::On;
    Answering version = Answering::On;
    Answering subscribe = Answering::On;
    Answering write = Answering::On;
    Answering read = Answering::On;
};

// What a device did since it was plugged.
struct AnsweredCounts {
    std::uint64_t name = 0;
    std::uint64_t serial = 0;
    std::uint64_t version = 0;
    std::uint64_t subscribe = 0;
};

// The mixer's automatic gain: levels while it listens, then a gain step.
struct AutoGainPlan {
    // If false, the measurement runs but the host gets no message of it.
    bool answers = true;
    std::uint64_t durationMs = 10000;
    std::uint64_t periodMs = 100;
    std::uint8_t step = 18;
    // Whether a report of 0 marks the end too.
    bool reportsEnd = false;
};

class VirtualDevice {
public:
    // What a device notifies its owner of.
    struct Events {
        // The frames of one message to the host.
        std::function<void(std::vector<LinkFrame> pieces)> messageToHost;
        // A frame from the host; whole is the put-together payload when the frame was the last of several.
        std::function<void(const LinkFrame& frame, const std::optional<Bytes>& whole)> frameFromHost;
        // The host wrote an attribute; status is what it was answered (0 for success).
        std::function<void(std::uint8_t id, const Bytes& value, std::uint8_t status)> attributeFromHost;
        // A whole report to the programs that have this interface open, beside the link.
        std::function<void(Bytes report, int interfaceNumber)> reportToHost;
        // As BootLoader::Events::cutAt.
        std::function<bool(std::string_view word, bool before)> cutAt;
    };

    // The ordinal counts the devices of one model from 0; address and serial number follow from it.
    VirtualDevice(Model deviceModel, std::uint8_t ordinal, std::uint64_t seed, Events deviceEvents);

    // A mixer that is given as its bootloader has no valid firmware yet.
    void powerOn(std::uint64_t nowMs);
    void powerOff();
    // What the device is on the bus: a mixer is its bootloader at times.
    Model usbModel() const;
    // A restart under another identity or with another firmware that is due now; once. Nothing on the bus
    // changes by it: the owner takes the device off and puts it back.
    std::optional<BootLoader::Restart> takeRestart();
    // Restores the factory's settings without a notification.
    void loseSettings();
    void reseed(std::uint64_t seed) { random = Random(seed); }

    // A report of the mixer that is not the link's: true when it was one and is taken.
    bool takeControlReport(BytesView report, int interfaceNumber, std::uint64_t nowMs);
    // Whether the device says nothing on the link, since it is busy with control reports.
    bool linkIsSilent(std::uint64_t nowMs) const { return isBootloader() || nowMs < linkSilentUntilMs; }
    // Frame bytes of one report from the host.
    void receive(BytesView frameBytes, std::uint64_t nowMs);
    void advance(std::uint64_t nowMs);
    std::uint64_t nextEventAtMs() const;

    // Turns a knob. The model must have the attribute. Returns how many hosts were notified.
    std::size_t turn(std::uint8_t id, const Bytes& value, std::uint64_t nowMs);
    // COUNT changes of an attribute, or private messages (ids from 0x8000), at this rate from now on.
    void startStorm(std::uint64_t count, std::uint64_t perSecond, std::uint16_t target, std::uint64_t nowMs);
    bool stormRuns() const { return storm.sent < storm.count; }
    bool autoGainRuns() const { return autoGainRunning; }

    bool hasAttribute(std::uint8_t id) const { return attributes.contains(id); }
    // The firmware that was written last; while a mixer's is being written, what there is of it.
    const Bytes& flash() const { return loader ? loader->flash() : upgrade->flash(); }
    // Whether that firmware is whole and was found valid.
    bool firmwareIsConfirmed() const { return !flash().empty() && (!loader || loader->hasValidImage()); }
    const std::map<std::uint8_t, Bytes>& values() const { return attributes; }
    const FrameReader::Counters& readerCounters() const { return reader.counters; }

    const Model model;
    DeviceIdentity identity;
    AnswerSettings answers;
    AnsweredCounts answered;
    AutoGainPlan autoGainPlan;
    // Whether a mode of the background light that the host wrote is notified, as a turned knob is.
    bool echoes = true;
    LinkNode link;
    // Of a mixer.
    std::unique_ptr<BootLoader> loader;
    std::unique_ptr<SignalProcessor> processor;
    // Of a microphone.
    std::unique_ptr<MicrophoneFlash> upgrade;

private:
    struct Storm {
        std::uint64_t count = 0;
        std::uint64_t sent = 0;
        std::uint64_t perSecond = 1;
        std::uint64_t startedAtMs = 0;
        std::uint16_t target = 0;
        std::uint64_t nextAtMs() const { return startedAtMs + sent * 1000 / perSecond; }
    };

    bool isBootloader() const { return loader && loader->isBootloader(); }
    void makeLoader(bool hasFirmware);
    void makeUpgrade();
    // The version that the device reports from now on.
    void adoptFirmware(const Bytes& image);
    void dispatch(const LinkFrame& message);
    void answerName(const LinkFrame& request);
    void answerSerial(const LinkFrame& request);
    void answerVersion(const LinkFrame& request);
    void answerSubscription(const LinkFrame& request);
    void answerWrite(const LinkFrame& request);
    void answerRead(const LinkFrame& request);
    void answerMultiWrite(const LinkFrame& request);
    void answerMultiRead(const LinkFrame& request);
    // Stores a value that the host wrote; returns the status.
    std::uint8_t store(std::uint8_t id, const Bytes& value);
    // The device's reaction to a written value, after the answer.
    void react(std::uint8_t id, const Bytes& value);
    // What the subscribers hear of a value that the host wrote.
    void echo(std::uint8_t id);
    void resetToFactory();
    std::size_t notify(std::uint8_t id);
    void startAutoGain();
    bool autoGainReports() const { return autoGainRunning && autoGainPlan.answers; }
    void advanceAutoGain();
    void sendOneOfStorm();

    Events events;
    Random random;
    FrameReader reader;
    std::map<std::uint8_t, Bytes> attributes;
    std::uint64_t now = 0;
    // Where the last control report came from: its answer goes there.
    int controlInterface = 0;
    std::uint64_t linkSilentUntilMs = 0;

    bool autoGainRunning = false;
    std::uint64_t autoGainEndsAtMs = 0;
    std::uint64_t nextLevelAtMs = 0;
    int level = 0;
    Storm storm;
};

} // namespace vexo::emulator
