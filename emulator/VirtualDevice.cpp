#include "emulator/VirtualDevice.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace vexo::emulator {
namespace {

constexpr std::uint8_t kSuccess = 0;
constexpr std::uint8_t kFailure = 1;

// Message 34's payload.
constexpr std::uint8_t kSubscribe = 0;
constexpr std::uint8_t kUnsubscribe = 255;

// The answer to a name query has room for this many bytes of name, as the other side's own answer does.
constexpr std::size_t kNameRoom = 20;
constexpr std::size_t kVersionAnswerSize = 18;

constexpr int kHighestLevel = 30;

// After a control report the link is silent for this long.
constexpr std::uint64_t kLinkSilentMs = 2000;
// A microphone starts its new firmware in this time.
constexpr std::uint64_t kMicrophoneAwayMs = 400;

std::string serialOf(const ModelInfo& info, std::uint8_t ordinal) {
    const std::string number = std::to_string(ordinal + 1);
    return std::string(info.serialPrefix) + std::string(4 - std::min<std::size_t>(4, number.size()), '0') +
           number;
}

// The bootloader is a mixer too.
Model productOf(Model model) {
    return model == Model::MixdeskR2Bootloader ? Model::MixdeskR2 : model;
}

} // namespace

VirtualDevice::VirtualDevice(Model deviceModel, std::uint8_t ordinal, std::uint64_t seed, Events deviceEvents)
    : model(productOf(deviceModel)),
      link(
          LinkSettings{.address = modelInfo(productOf(deviceModel)).linkAddress},
          [this](std::vector<LinkFrame> pieces) { events.messageToHost(std::move(pieces)); },
          [this](std::uint64_t bound) { return random.below(bound); }),
      events(std::move(deviceEvents)), random(seed) {
    const ModelInfo& info = modelInfo(model);
    link.settings.address.channelId = static_cast<std::uint8_t>(info.linkAddress.channelId + ordinal);
    identity = {.name = std::string(info.productName),
                .serial = serialOf(info, ordinal),
                .versionMajor = info.versionMajor,
                .versionMinor = info.versionMinor};
    loseSettings();
    if (model == Model::MixdeskR2) {
        makeLoader(deviceModel == model);
    } else {
        makeUpgrade();
    }
}

void VirtualDevice::makeLoader(bool hasFirmware) {
    BootLoader::Events loaderEvents;
    loaderEvents.reply = [this](Bytes report) {
        events.reportToHost(std::move(report), controlInterface);
    };
    loaderEvents.confirmed = [this](const Bytes& image) {
        adoptFirmware(image);
    };
    loaderEvents.cutAt = [this](std::string_view word, bool before) {
        return events.cutAt(word, before);
    };
    loader = std::make_unique<BootLoader>(hasFirmware, std::move(loaderEvents));
    processor = std::make_unique<SignalProcessor>(
        [this](Bytes report) { events.reportToHost(std::move(report), controlInterface); });
}

void VirtualDevice::makeUpgrade() {
    MicrophoneFlash::Events upgradeEvents;
    upgradeEvents.answer = [this](const LinkFrame& request, Bytes message) {
        link.answer(request, std::move(message));
    };
    upgradeEvents.send = [this](const Bytes& message) {
        link.sendToHosts(kNotification, kUpgradeFrame, message);
    };
    upgradeEvents.confirmed = [this](const Bytes& image) {
        adoptFirmware(image);
    };
    upgradeEvents.isOlder = [this](const FirmwareInfo& info) {
        return std::tie(info.versionMajor, info.versionMinor) <
               std::tie(identity.versionMajor, identity.versionMinor);
    };
    upgradeEvents.cutAt = [this](std::string_view word, bool before) {
        return events.cutAt(word, before);
    };
    upgrade =
        std::make_unique<MicrophoneFlash>(model == Model::VoxmicM40 ? 'm' : 't', std::move(upgradeEvents));
}

void VirtualDevice::adoptFirmware(const Bytes& image) {
    const std::optional<FirmwareInfo> info = readFirmwareInfo(image);
    if (info && describesImage(*info, image)) {
        identity.versionMajor = info->versionMajor;
        identity.versionMinor = info->versionMinor;
    } else {
        ++identity.versionMinor;
    }
}

Model VirtualDevice::usbModel() const {
    return isBootloader() ? Model::MixdeskR2Bootloader : model;
}

void VirtualDevice::powerOff() {
    if (loader) {
        loader->powerOff();
        processor->powerOff();
    }
    if (upgrade) {
        upgrade->powerOff();
    }
    linkSilentUntilMs = 0;
}

std::optional<BootLoader::Restart> VirtualDevice::takeRestart() {
    if (upgrade && upgrade->takeRestart()) {
        return BootLoader::Restart{.awayMs = kMicrophoneAwayMs, .asBootloader = false};
    }
    return loader ? loader->takeRestart() : std::nullopt;
}

bool VirtualDevice::takeControlReport(BytesView report, int interfaceNumber, std::uint64_t nowMs) {
    // A frame of the link may have the same length and a zero there; only the command's text tells them
    // apart.
    constexpr std::array<std::uint8_t, 5> kLoaderCommand{62, 0, 'c', 'm', '_'};
    const bool forLoader =
        isBootloader() || (report.size() > kLoaderCommand.size() &&
                           std::ranges::equal(report.subspan(1, kLoaderCommand.size()), kLoaderCommand));
    if (!loader || (!forLoader && !SignalProcessor::isCommand(report))) {
        return false;
    }
    now = nowMs;
    controlInterface = interfaceNumber;
    linkSilentUntilMs = nowMs + kLinkSilentMs;
    if (forLoader) {
        loader->receive(report, nowMs);
    } else {
        processor->receive(report);
    }
    return true;
}

void VirtualDevice::powerOn(std::uint64_t nowMs) {
    now = nowMs;
    reader.restart();
    answered = {};
    autoGainRunning = false;
    storm = {};
    link.powerOn(nowMs);
}

void VirtualDevice::loseSettings() {
    attributes.clear();
    for (const std::uint8_t id : attributesOf(model)) {
        attributes[id] = attributeDefault(model, id);
    }
}

void VirtualDevice::receive(BytesView frameBytes, std::uint64_t nowMs) {
    now = nowMs;
    reader.feed(frameBytes, [&](LinkFrame&& frame) {
        const std::optional<LinkFrame> message = link.receive(frame, now);
        const bool putTogether = message && message->payload.size() != frame.payload.size();
        events.frameFromHost(frame, putTogether ? std::optional(message->payload) : std::nullopt);
        if (message) {
            dispatch(*message);
        }
    });
}

void VirtualDevice::dispatch(const LinkFrame& message) {
    if (message.messageId == kFactoryReset) {
        if (model == Model::MixdeskR2 && message.kind != kResponse && message.payload == Bytes{1}) {
            resetToFactory();
        }
        return;
    }
    if (message.messageId == kLoginNotice && upgrade) {
        upgrade->forgetAnswers();
    }
    if (message.messageId == kUpgradeFrame && upgrade) {
        return upgrade->receive(message, now);
    }
    if (message.kind != kRequest) {
        return;
    }
    switch (message.messageId) {
    case kNameQuery:
        return answerName(message);
    case kSerialQuery:
        return answerSerial(message);
    case kVersionQuery:
        return answerVersion(message);
    case kAttributeSubscription:
        return answerSubscription(message);
    case kAttributeWrite:
        return answerWrite(message);
    case kAttributeRead:
        return answerRead(message);
    case kMultiAttributeWrite:
        return answerMultiWrite(message);
    case kMultiAttributeRead:
        return answerMultiRead(message);
    default:
        return;
    }
}

// status u8, name length u8 (its NUL counted), name, NUL, zeros.
void VirtualDevice::answerName(const LinkFrame& request) {
    if (answers.name == Answering::Off) {
        return;
    }
    Bytes payload{kFailure, 0};
    if (answers.name == Answering::On) {
        const std::size_t length = std::min<std::size_t>(identity.name.size(), 254);
        payload = {kSuccess, static_cast<std::uint8_t>(length + 1)};
        payload.insert(payload.end(), identity.name.begin(),
                       identity.name.begin() + static_cast<std::ptrdiff_t>(length));
        payload.push_back(0);
        ++answered.name;
    }
    payload.resize(std::max(payload.size(), 2 + kNameRoom), 0);
    link.answer(request, std::move(payload));
}

// status u8, serial number to the end.
void VirtualDevice::answerSerial(const LinkFrame& request) {
    if (answers.serial == Answering::Off) {
        return;
    }
    Bytes payload{kFailure};
    if (answers.serial == Answering::On) {
        payload = {kSuccess};
        payload.insert(payload.end(), identity.serial.begin(), identity.serial.end());
        payload.resize(std::min(payload.size(), kMaxFramePayload));
        ++answered.serial;
    }
    link.answer(request, std::move(payload));
}

// status u8, link VID u32, link PID u32, major u8, minor u8, zeros.
void VirtualDevice::answerVersion(const LinkFrame& request) {
    if (answers.version == Answering::Off) {
        return;
    }
    Bytes payload{kFailure};
    if (answers.version == Answering::On) {
        payload = {kSuccess};
        appendU32(payload, link.settings.address.vendor);
        appendU32(payload, link.settings.address.product);
        payload.push_back(identity.versionMajor);
        payload.push_back(identity.versionMinor);
        ++answered.version;
    }
    payload.resize(kVersionAnswerSize, 0);
    link.answer(request, std::move(payload));
}

// Asked with 0 subscribe, 255 cancel; answered with the status.
void VirtualDevice::answerSubscription(const LinkFrame& request) {
    if (answers.subscribe == Answering::Off) {
        return;
    }
    const std::uint8_t wish = request.payload.empty() ? kFailure : request.payload[0];
    if (answers.subscribe == Answering::Fail || (wish != kSubscribe && wish != kUnsubscribe)) {
        return link.answer(request, {kFailure});
    }
    link.subscribe(request.source, wish == kSubscribe);
    ++answered.subscribe;
    link.answer(request, {kSuccess});
}

// Asked with id u8, length u8, value; answered with status u8, id u8.
void VirtualDevice::answerWrite(const LinkFrame& request) {
    if (request.payload.size() < 2) {
        return link.answer(request,
                           {kFailure, request.payload.empty() ? std::uint8_t{0} : request.payload[0]});
    }
    const std::uint8_t id = request.payload[0];
    const std::size_t length = request.payload[1];
    const Bytes value(request.payload.begin() + 2, request.payload.end());
    const bool complete = value.size() == length;
    const std::uint8_t status = complete && answers.write != Answering::Fail ? store(id, value) : kFailure;
    events.attributeFromHost(id, value, status);
    if (answers.write != Answering::Off) {
        link.answer(request, {status, id});
    }
    if (status == kSuccess) {
        echo(id);
        react(id, value);
    }
}

// Asked with id u8; answered with status u8, id u8, length u8, value.
void VirtualDevice::answerRead(const LinkFrame& request) {
    if (answers.read == Answering::Off) {
        return;
    }
    const std::uint8_t id = request.payload.empty() ? std::uint8_t{0} : request.payload[0];
    const auto found = attributes.find(id);
    if (found == attributes.end() || answers.read == Answering::Fail) {
        return link.answer(request, {kFailure, id});
    }
    Bytes payload{kSuccess, id, static_cast<std::uint8_t>(found->second.size())};
    payload.insert(payload.end(), found->second.begin(), found->second.end());
    link.answer(request, std::move(payload));
}

// Asked with id u8, length u8, value, repeated; answered with status u8, on failure followed by the failed
// ids.
void VirtualDevice::answerMultiWrite(const LinkFrame& request) {
    Bytes failed;
    std::vector<std::pair<std::uint8_t, Bytes>> stored;
    BytesView rest = request.payload;
    while (!rest.empty()) {
        const std::uint8_t id = rest[0];
        const std::size_t length = rest.size() < 2 ? 0 : rest[1];
        const bool complete = rest.size() >= 2 + length;
        const BytesView valueBytes = complete ? rest.subspan(2, length) : BytesView();
        const Bytes value(valueBytes.begin(), valueBytes.end());
        const std::uint8_t status =
            complete && answers.write != Answering::Fail ? store(id, value) : kFailure;
        events.attributeFromHost(id, value, status);
        if (status == kSuccess) {
            stored.emplace_back(id, value);
        } else {
            failed.push_back(id);
        }
        rest = complete ? rest.subspan(2 + length) : BytesView();
    }
    if (answers.write != Answering::Off) {
        failed.insert(failed.begin(), failed.empty() ? kSuccess : kFailure);
        link.answer(request, std::move(failed));
    }
    for (const auto& [id, value] : stored) {
        echo(id);
        react(id, value);
    }
}

// Asked with count u8 and that many ids, count 0 for all; answered with status u8, then id u8, length u8,
// value, repeated. What does not fit in a message is left out, whole attributes at a time.
void VirtualDevice::answerMultiRead(const LinkFrame& request) {
    if (answers.read == Answering::Off) {
        return;
    }
    const std::size_t count = request.payload.empty() ? 0 : request.payload[0];
    if (request.payload.empty() || request.payload.size() < 1 + count || answers.read == Answering::Fail) {
        return link.answer(request, {kFailure});
    }
    Bytes ids(request.payload.begin() + 1, request.payload.begin() + 1 + static_cast<std::ptrdiff_t>(count));
    if (count == 0) {
        ids = attributesOf(model);
    }
    Bytes payload{kSuccess};
    for (const std::uint8_t id : ids) {
        const auto found = attributes.find(id);
        if (found == attributes.end()) {
            payload[0] = kFailure;
        } else if (payload.size() + 2 + found->second.size() <= kMaxFramePayload) {
            payload.push_back(id);
            payload.push_back(static_cast<std::uint8_t>(found->second.size()));
            payload.insert(payload.end(), found->second.begin(), found->second.end());
        }
    }
    link.answer(request, std::move(payload));
}

std::uint8_t VirtualDevice::store(std::uint8_t id, const Bytes& value) {
    const auto found = attributes.find(id);
    if (found == attributes.end()) {
        return kFailure;
    }
    found->second = value;
    return kSuccess;
}

void VirtualDevice::react(std::uint8_t id, const Bytes& value) {
    const bool on = !value.empty() && value[0] == 1;
    if (id == kAttributeAutoGain && model == Model::MixdeskR2) {
        autoGainRunning = false;
        if (on) {
            startAutoGain();
        }
    } else if (id == kAttributeFactoryReset && on) {
        attributes[id] = attributeDefault(model, id);
        resetToFactory();
    }
}

void VirtualDevice::echo(std::uint8_t id) {
    if (echoes && id == kAttributeBackgroundMode) {
        notify(id);
    }
}

void VirtualDevice::resetToFactory() {
    autoGainRunning = false;
    for (auto& [id, value] : attributes) {
        Bytes initial = attributeDefault(model, id);
        if (value != initial) {
            value = std::move(initial);
            notify(id);
        }
    }
}

std::size_t VirtualDevice::notify(std::uint8_t id) {
    const Bytes& value = attributes.at(id);
    Bytes payload{id, static_cast<std::uint8_t>(value.size())};
    payload.insert(payload.end(), value.begin(), value.end());
    return link.notifySubscribers(kAttributeSubscription, payload);
}

std::size_t VirtualDevice::turn(std::uint8_t id, const Bytes& value, std::uint64_t nowMs) {
    now = nowMs;
    attributes.at(id) = value;
    const std::size_t notified = notify(id);
    react(id, value);
    return notified;
}

void VirtualDevice::startAutoGain() {
    autoGainRunning = true;
    autoGainEndsAtMs = now + autoGainPlan.durationMs;
    nextLevelAtMs = now + autoGainPlan.periodMs;
    level = kHighestLevel / 2;
}

void VirtualDevice::advanceAutoGain() {
    if (!autoGainReports()) {
        return;
    }
    if (autoGainEndsAtMs <= now) {
        // The host takes a report of auto_gain 0 for a cancelled run. So by default only the gain is reported
        // at the end.
        autoGainRunning = false;
        attributes[kAttributeAutoGain] = {0};
        attributes[kAttributeMicGain] = {autoGainPlan.step};
        notify(kAttributeMicGain);
        if (autoGainPlan.reportsEnd) {
            notify(kAttributeAutoGain);
        }
    } else if (nextLevelAtMs <= now) {
        // A voice varies by a few steps.
        level = std::clamp(level + static_cast<int>(random.below(9)) - 4, 0, kHighestLevel);
        nextLevelAtMs = now + autoGainPlan.periodMs;
        link.sendToHosts(kNotification, kGainLevel, {static_cast<std::uint8_t>(level)});
    }
}

void VirtualDevice::startStorm(std::uint64_t count, std::uint64_t perSecond, std::uint16_t target,
                               std::uint64_t nowMs) {
    storm = {.count = count, .sent = 0, .perSecond = perSecond, .startedAtMs = nowMs, .target = target};
}

void VirtualDevice::sendOneOfStorm() {
    ++storm.sent;
    if (storm.target >= 0x8000) {
        link.sendToHosts(kNotification, storm.target,
                         {static_cast<std::uint8_t>(storm.sent % (kHighestLevel + 1))});
        return;
    }
    const auto id = static_cast<std::uint8_t>(storm.target);
    Bytes value = attributes.at(id);
    if (value.empty()) {
        value.push_back(0);
    }
    // The next value that the model can have.
    for (int tries = 0; tries < 256; ++tries) {
        value[0] = static_cast<std::uint8_t>(value[0] + 1); // 0 after 255
        if (attributeInRange(model, id, value)) {
            break;
        }
    }
    turn(id, value, now);
}

void VirtualDevice::advance(std::uint64_t nowMs) {
    now = nowMs;
    if (loader) {
        loader->advance(nowMs);
    }
    if (isBootloader()) {
        return;
    }
    link.advance(nowMs);
    if (upgrade) {
        upgrade->advance(nowMs);
    }
    advanceAutoGain();
    while (stormRuns() && storm.nextAtMs() <= now) {
        sendOneOfStorm();
    }
}

std::uint64_t VirtualDevice::nextEventAtMs() const {
    if (isBootloader()) {
        return loader->nextEventAtMs();
    }
    std::uint64_t next = link.nextEventAtMs();
    if (loader) {
        next = std::min(next, loader->nextEventAtMs());
    }
    if (upgrade) {
        next = std::min(next, upgrade->nextEventAtMs());
    }
    if (autoGainReports()) {
        next = std::min({next, autoGainEndsAtMs, nextLevelAtMs});
    }
    if (stormRuns()) {
        next = std::min(next, storm.nextAtMs());
    }
    return next;
}

} // namespace vexo::emulator
