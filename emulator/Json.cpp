#include "emulator/Json.h"

#include <cstdio>

namespace vexo::emulator {
namespace {

std::string usbId(const ModelInfo& info) {
    std::string text(sizeof("0000:0000"), '\0');
    const int length = std::snprintf(text.data(), text.size(), "%04X:%04X", info.vendorId, info.productId);
    text.resize(static_cast<std::size_t>(length));
    return text;
}

std::string_view answeringWord(Answering answering) {
    switch (answering) {
    case Answering::On:
        return "on";
    case Answering::Off:
        return "off";
    case Answering::Fail:
        return "fail";
    }
    return "";
}

std::string nameOrNumber(Model model, std::uint8_t id) {
    const std::string_view name = attributeName(model, id);
    return name.empty() ? std::to_string(id) : std::string(name);
}

} // namespace

std::string toLine(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string_view directionWord(Direction direction) {
    return direction == Direction::ToHost ? "to-host" : "to-device";
}

Json describeDevices(const VirtualBus& bus) {
    Json list = Json::array();
    for (std::size_t i = 0; i < bus.deviceCount(); ++i) {
        const ModelInfo& info = modelInfo(bus.device(i).usbModel());
        list.push_back({{"device", bus.deviceName(i)},
                        {"model", info.word},
                        {"usb", usbId(info)},
                        {"plugged", bus.isPlugged(i)},
                        {"permission", bus.isPermitted(i) ? "granted" : "denied"},
                        {"openHandles", bus.openHandles(i)}});
    }
    return list;
}

Json describeIdentity(const VirtualBus& bus, std::size_t device) {
    const VirtualDevice& the = bus.device(device);
    const LinkSettings& link = the.link.settings;
    return {{"name", the.identity.name},
            {"serial", the.identity.serial},
            {"version", {the.identity.versionMajor, the.identity.versionMinor}},
            {"address", toHex(toBytes(link.address))},
            {"maxPayload", link.maxPayload},
            {"helloInterval", link.intervalCode},
            {"frameRate", link.frameRate},
            {"upTimeMs", bus.isPlugged(device) ? the.link.upTimeMs() : 0}};
}

Json describeState(const VirtualBus& bus, std::size_t device) {
    const VirtualDevice& the = bus.device(device);
    const ModelInfo& info = modelInfo(the.usbModel());
    Json hosts = Json::array();
    for (const LinkNode::Host& host : the.link.knownHosts()) {
        hosts.push_back(
            {{"address", toHex(toBytes(host.address))},
             {"login", host.login},
             {"subscribed", host.subscribed},
             {"timeLeftMs", host.expiresAtMs > bus.timeMs() ? host.expiresAtMs - bus.timeMs() : 0}});
    }
    Json attributes = Json::object();
    for (const auto& [id, value] : the.values()) {
        Json attribute{{"id", id}, {"bytes", toHex(value)}};
        if (!attributeInRange(the.model, id, value)) {
            attribute["outOfRange"] = true;
        }
        attributes[nameOrNumber(the.model, id)] = std::move(attribute);
    }
    const VirtualBus::DeviceCounters& wire = bus.counters(device);
    const FrameReader::Counters& reader = the.readerCounters();
    return {{"device", bus.deviceName(device)},
            {"model", info.word},
            {"usb", usbId(info)},
            {"plugged", bus.isPlugged(device)},
            {"permission", bus.isPermitted(device) ? "granted" : "denied"},
            {"openHandles", bus.openHandles(device)},
            {"identity", describeIdentity(bus, device)},
            {"hosts", std::move(hosts)},
            {"answered",
             {{"name", the.answered.name},
              {"serial", the.answered.serial},
              {"version", the.answered.version},
              {"subscribe", the.answered.subscribe}}},
            {"attributes", std::move(attributes)},
            {"autoGain", {{"running", the.autoGainRuns()}}},
            {"firmware", describeFirmware(the)},
            {"counters",
             {{"reportsToDevice", wire.reportsToDevice},
              {"reportsToHost", wire.reportsToHost},
              {"framesToDevice", reader.frames},
              {"framesToHost", wire.framesToHost},
              {"refusedOpens", wire.refusedOpens},
              {"badReports", wire.badReports},
              {"badChecksums", reader.badChecksums},
              {"badLengths", reader.badLengths},
              {"badControls", reader.badControls},
              {"strayBytes", reader.strayBytes}}}};
}

Json describeFirmware(const VirtualDevice& device) {
    Json refusals = Json::object();
    const auto& counts = device.loader ? device.loader->refusals() : device.upgrade->refusals();
    for (const auto& [reason, count] : counts) {
        refusals[reason] = count;
    }
    Json firmware{
        {"step",
         device.loader ? stepWord(device.loader->currentStep()) : stepWord(device.upgrade->currentStep())},
        {"received", device.loader ? device.loader->receivedBytes() : device.upgrade->receivedBytes()},
        {"refusals", std::move(refusals)},
        {"version", {device.identity.versionMajor, device.identity.versionMinor}}};
    if (device.upgrade) {
        const MicrophoneFlash::Turnaround times = device.upgrade->turnaround();
        firmware["duplicates"] = device.upgrade->duplicates();
        firmware["turnaroundMs"] = {{"p50", times.p50}, {"p99", times.p99}, {"max", times.max}};
    }
    return firmware;
}

Json describeAnswers(const VirtualDevice& device) {
    return {{"hello", answeringWord(device.link.settings.hello)},
            {"login", answeringWord(device.link.settings.login)},
            {"name", answeringWord(device.answers.name)},
            {"serial", answeringWord(device.answers.serial)},
            {"version", answeringWord(device.answers.version)},
            {"subscribe", answeringWord(device.answers.subscribe)},
            {"write", answeringWord(device.answers.write)},
            {"read", answeringWord(device.answers.read)}};
}

Json describeFaults(const FaultPlan& faults) {
    Json list = Json::array();
    for (const FaultKindInfo& info : allFaultKinds()) {
        const FaultSetting& setting = faults.get(info.kind);
        if (setting.probability > 0) {
            const std::string_view direction =
                setting.toHost && setting.toDevice
                    ? "both"
                    : directionWord(setting.toHost ? Direction::ToHost : Direction::ToDevice);
            list.push_back({{"kind", info.word},
                            {"probability", setting.probability},
                            {"amount", setting.amountMs},
                            {"direction", direction}});
        }
    }
    return list;
}

Json describe(const VirtualBus& bus, const FrameRecord& record) {
    const LinkFrame& frame = record.frame;
    Json json{{"n", record.number},
              {"timeMs", record.timeMs},
              {"device", bus.deviceName(record.device)},
              {"kind", frame.kind},
              {"messageId", frame.messageId},
              {"message", messageName(frame.messageId)},
              {"sequence", frame.sequence},
              {"source", toHex(toBytes(frame.source))},
              {"destination", toHex(toBytes(frame.destination))},
              {"payload", toHex(frame.payload)}};
    if (record.whole) {
        json["whole"] = toHex(*record.whole);
    }
    return json;
}

Json describe(const VirtualBus& bus, const WriteRecord& record) {
    return {{"n", record.number},
            {"timeMs", record.timeMs},
            {"device", bus.deviceName(record.device)},
            {"attribute", nameOrNumber(bus.device(record.device).model, record.attribute)},
            {"id", record.attribute},
            {"bytes", toHex(record.value)},
            {"status", record.status}};
}

Json describe(const VirtualBus& bus, const ReportRecord& record) {
    Json report{{"n", record.number},
                {"timeMs", record.timeMs},
                {"device", bus.deviceName(record.device)},
                {"interface", record.interfaceNumber},
                {"direction", directionWord(record.direction)},
                {"bytes", toHex(record.bytes)}};
    if (record.lost) {
        report["lost"] = true;
    }
    return report;
}

} // namespace vexo::emulator
