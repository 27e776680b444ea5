#include "emulator/VirtualBus.h"

#include "emulator/Times.h"

#include <algorithm>
#include <utility>

namespace vexo::emulator {
namespace {

const HidInterface* linkInterface(Model model) {
    const auto interfaces = modelInfo(model).interfaces;
    const auto found = std::ranges::find(interfaces, true, &HidInterface::isLink);
    return found == interfaces.end() ? nullptr : &*found;
}

} // namespace

VirtualBus::VirtualBus(std::span<const Model> models, std::uint64_t seed) : faults(seed) {
    for (const Model model : models) {
        addDevice(model, seed);
    }
}

void VirtualBus::addDevice(Model model, std::uint64_t seed) {
    const auto product = model == Model::MixdeskR2Bootloader ? Model::MixdeskR2 : model;
    const auto earlier = static_cast<std::uint8_t>(
        std::ranges::count_if(slots, [&](const auto& other) { return other->device->model == product; }));
    const auto sameWord =
        std::ranges::count_if(slots, [&](const auto& other) { return other->device->usbModel() == model; });
    slots.push_back(std::make_unique<Slot>(faults));
    Slot* const slot = slots.back().get();
    const std::size_t index = slots.size() - 1;
    slot->name = modelInfo(model).word;
    if (sameWord > 0) {
        slot->name += "-" + std::to_string(sameWord + 1);
    }
    VirtualDevice::Events events;
    events.messageToHost = [this, slot](std::vector<LinkFrame> pieces) {
        onMessageToHost(*slot, std::move(pieces));
    };
    events.frameFromHost = [this, slot, index](const LinkFrame& frame, const std::optional<Bytes>& whole) {
        if (frame.messageId != kHello) {
            slot->lastHostFrameMs = now;
        }
        log.add(FrameRecord{.timeMs = now, .device = index, .frame = frame, .whole = whole});
    };
    events.attributeFromHost = [this, index](std::uint8_t id, const Bytes& value, std::uint8_t status) {
        log.add(
            WriteRecord{.timeMs = now, .device = index, .attribute = id, .value = value, .status = status});
    };
    events.reportToHost = [this, slot](Bytes report, int interfaceNumber) {
        const bool isOpen = std::ranges::any_of(slot->handles, [&](const OpenHandle& handle) {
            return handle.interface->number == interfaceNumber;
        });
        if (isOpen) {
            const std::size_t size = report.size();
            slot->toHost.push({.bytes = std::move(report),
                               .frameBegin = 0,
                               .frameEnd = size,
                               .interfaceNumber = interfaceNumber},
                              now);
        }
    };
    events.cutAt = [slot](std::string_view word, bool before) {
        const std::optional<Cut>& cut = slot->cut;
        if (cut && !cut->word.empty() && cut->word == word && cut->before == before) {
            slot->cutNow = true;
        }
        return slot->cutNow;
    };
    slot->device = std::make_unique<VirtualDevice>(model, earlier, seed + index + 1, std::move(events));
}

void VirtualBus::reseed(std::uint64_t seed) {
    faults.reseed(seed);
    for (std::size_t i = 0; i < slots.size(); ++i) {
        slots[i]->device->reseed(seed + i + 1);
    }
}

std::optional<std::size_t> VirtualBus::deviceByName(std::string_view name) const {
    for (std::size_t i = 0; i < slots.size(); ++i) {
        if (slots[i]->name == name) {
            return i;
        }
    }
    return std::nullopt;
}

std::size_t VirtualBus::indexOf(const Slot& slot) const {
    const auto found = std::ranges::find(slots, &slot, &std::unique_ptr<Slot>::get);
    return static_cast<std::size_t>(found - slots.begin());
}

bool VirtualBus::plug(std::size_t index) {
    Slot& slot = *slots[index];
    slot.plugAtMs.reset();
    if (slot.plugged) {
        return false;
    }
    slot.plugged = true;
    slot.lastHostFrameMs = 0;
    slot.device->powerOn(now);
    return true;
}

bool VirtualBus::unplug(std::size_t index) {
    Slot& slot = *slots[index];
    slot.plugAtMs.reset();
    slot.device->powerOff();
    if (!slot.plugged) {
        return false;
    }
    slot.plugged = false;
    slot.cutNow = false;
    slot.toHost.clear();
    slot.toDevice.clear();
    slot.lateMessages.clear();
    slot.openChunk.clear();
    // A device without power has no link.
    slot.device->powerOn(now);
    const std::vector<OpenHandle> handles = std::exchange(slot.handles, {});
    for (const OpenHandle& handle : handles) {
        if (listener.unplugged) {
            listener.unplugged(handle.id);
        }
    }
    return true;
}

void VirtualBus::restart(std::size_t index, std::uint64_t awayMs) {
    unplug(index);
    slots[index]->device->loseSettings();
    slots[index]->plugAtMs = now + awayMs;
}

void VirtualBus::restartAs(Slot& slot, const BootLoader::Restart& restart) {
    unplug(indexOf(slot));
    if (restart.asBootloader) {
        slot.device->loader->startAsBootloader();
    }
    slot.plugAtMs = now + restart.awayMs;
}

void VirtualBus::loseFirmware(std::size_t index) {
    Slot& slot = *slots[index];
    const bool wasPlugged = unplug(index);
    slot.device->loader->loseFirmware();
    if (wasPlugged) {
        slot.plugAtMs = now + slot.device->loader->settings.returnMs;
    }
}

void VirtualBus::cutAtReport(std::size_t index, Direction direction, std::uint64_t count,
                             std::optional<std::uint64_t> backMs) {
    slots[index]->cut = Cut{.direction = direction, .reportsLeft = count, .word = {}, .backMs = backMs};
}

void VirtualBus::cutAtStep(std::size_t index, std::string_view word, bool before,
                           std::optional<std::uint64_t> backMs) {
    slots[index]->cut = Cut{.word = std::string(word), .before = before, .backMs = backMs};
}

bool VirtualBus::countsDown(Slot& slot, Direction direction) {
    if (!slot.cut || !slot.cut->word.empty() || slot.cut->direction != direction) {
        return false;
    }
    --slot.cut->reportsLeft;
    return slot.cut->reportsLeft == 0;
}

void VirtualBus::cutPower(Slot& slot) {
    const std::optional<std::uint64_t> backMs = slot.cut ? slot.cut->backMs : std::nullopt;
    slot.cut.reset();
    unplug(indexOf(slot));
    if (backMs) {
        slot.plugAtMs = now + *backMs;
    }
}

void VirtualBus::setDeaf(std::size_t index, bool deaf) {
    Slot& slot = *slots[index];
    slot.deaf = deaf;
    for (const OpenHandle& handle : slot.handles) {
        if (listener.held) {
            listener.held(handle.id, deaf);
        }
    }
}

bool VirtualBus::isDeaf(HandleId handle) const {
    return std::ranges::any_of(slots, [handle](const auto& slot) {
        return slot->deaf && std::ranges::find(slot->handles, handle, &OpenHandle::id) != slot->handles.end();
    });
}

InterfaceInfo VirtualBus::describe(const Slot& slot, const HidInterface& interface) const {
    const ModelInfo& info = modelInfo(slot.device->usbModel());
    const auto bcd = [](std::uint8_t number) {
        return number / 10 % 10 * 16 + number % 10;
    };
    return {.path = "vexo-emulator/" + slot.name + "/" + std::to_string(interface.number),
            .vendorId = info.vendorId,
            .productId = info.productId,
            .releaseNumber =
                static_cast<std::uint16_t>(bcd(info.versionMajor) * 256 + bcd(info.versionMinor)),
            .serial = slot.device->identity.serial,
            .manufacturer = std::string(kManufacturer),
            .product = std::string(info.productName),
            .usagePage = interface.usagePage,
            .usage = interface.usage,
            .interfaceNumber = interface.number,
            .reportDescriptor = reportDescriptor(interface)};
}

std::vector<InterfaceInfo> VirtualBus::enumerate(std::uint16_t vendorId, std::uint16_t productId) const {
    std::vector<InterfaceInfo> found;
    for (const auto& slot : slots) {
        const ModelInfo& info = modelInfo(slot->device->usbModel());
        if (!slot->plugged || (vendorId != 0 && vendorId != info.vendorId) ||
            (productId != 0 && productId != info.productId)) {
            continue;
        }
        for (const HidInterface& interface : info.interfaces) {
            found.push_back(describe(*slot, interface));
        }
    }
    return found;
}

const VirtualBus::Slot* VirtualBus::slotOfPath(const std::string& path,
                                               const HidInterface** interface) const {
    for (const auto& slot : slots) {
        if (!slot->plugged) {
            continue;
        }
        for (const HidInterface& each : modelInfo(slot->device->usbModel()).interfaces) {
            if (describe(*slot, each).path == path) {
                *interface = &each;
                return slot.get();
            }
        }
    }
    return nullptr;
}

std::optional<InterfaceInfo> VirtualBus::interfaceAt(const std::string& path) const {
    const HidInterface* interface = nullptr;
    const Slot* const slot = slotOfPath(path, &interface);
    return slot == nullptr ? std::nullopt : std::optional(describe(*slot, *interface));
}

std::optional<VirtualBus::HandleId> VirtualBus::open(const std::string& path) {
    const HidInterface* interface = nullptr;
    const Slot* const slot = slotOfPath(path, &interface);
    if (slot == nullptr) {
        return std::nullopt;
    }
    if (!slot->permitted) {
        ++slots[indexOf(*slot)]->counters.refusedOpens;
        return std::nullopt;
    }
    slots[indexOf(*slot)]->handles.push_back({++lastHandle, interface});
    return lastHandle;
}

void VirtualBus::close(HandleId handle) {
    for (const auto& slot : slots) {
        std::erase_if(slot->handles, [&](const OpenHandle& each) { return each.id == handle; });
    }
}

bool VirtualBus::write(HandleId handle, Bytes report) {
    for (const auto& slot : slots) {
        const auto found = std::ranges::find(slot->handles, handle, &OpenHandle::id);
        if (found == slot->handles.end()) {
            continue;
        }
        if (countsDown(*slot, Direction::ToDevice)) {
            cutPower(*slot);
            return false;
        }
        ++slot->counters.reportsToDevice;
        log.add(ReportRecord{.timeMs = now,
                             .device = indexOf(*slot),
                             .interfaceNumber = found->interface->number,
                             .direction = Direction::ToDevice,
                             .bytes = report});
        const std::size_t header = modelInfo(slot->device->usbModel()).reportHeader == 0 ? 1 : 2;
        const std::size_t size = report.size();
        slot->toDevice.push({.bytes = std::move(report),
                             .frameBegin = std::min(header, size),
                             .frameEnd = size,
                             .interfaceNumber = found->interface->number},
                            now);
        stepSlot(*slot);
        return true;
    }
    return false;
}

bool VirtualBus::storeFeatureReport(const std::string& path, Bytes report) {
    const HidInterface* interface = nullptr;
    const Slot* const slot = slotOfPath(path, &interface);
    if (slot == nullptr || report.empty()) {
        return false;
    }
    const std::uint8_t id = report[0];
    slots[indexOf(*slot)]->features[path][id] = std::move(report);
    return true;
}

std::optional<Bytes> VirtualBus::featureReport(const std::string& path, std::uint8_t reportId) const {
    const HidInterface* interface = nullptr;
    const Slot* const slot = slotOfPath(path, &interface);
    if (slot == nullptr) {
        return std::nullopt;
    }
    const auto reports = slot->features.find(path);
    if (reports == slot->features.end() || !reports->second.contains(reportId)) {
        return std::nullopt;
    }
    return reports->second.at(reportId);
}

void VirtualBus::sendRaw(std::size_t index, BytesView bytes) {
    Slot& slot = *slots[index];
    if (slot.plugged) {
        flushChunk(slot, true);
        packBytes(slot, bytes, false);
        stepSlot(slot);
    }
}

void VirtualBus::onMessageToHost(Slot& slot, std::vector<LinkFrame> pieces) {
    if (slot.device->linkIsSilent(now)) {
        return;
    }
    if (pieces.back().kind == kResponse) {
        if (faults.strikes(FaultKind::Never, Direction::ToHost)) {
            return;
        }
        if (faults.strikes(FaultKind::WrongSource, Direction::ToHost)) {
            for (LinkFrame& piece : pieces) {
                piece.source.product = static_cast<std::uint16_t>(piece.source.product + 1);
            }
        }
        if (faults.strikes(FaultKind::Late, Direction::ToHost)) {
            slot.lateMessages.emplace(now + faults.get(FaultKind::Late).amountMs, std::move(pieces));
            return;
        }
    }
    packMessage(slot, pieces);
}

void VirtualBus::packMessage(Slot& slot, const std::vector<LinkFrame>& pieces) {
    for (const LinkFrame& piece : pieces) {
        ++slot.counters.framesToHost;
        const bool split = faults.strikes(FaultKind::Split, Direction::ToHost);
        if (!faults.strikes(FaultKind::Join, Direction::ToHost)) {
            flushChunk(slot, true);
        }
        packBytes(slot, encodeFrame(piece), split);
    }
}

// Puts bytes behind those of the open report and sends each report that is full. When split, a report counts
// as full at a length drawn by chance.
void VirtualBus::packBytes(Slot& slot, BytesView bytes, bool split) {
    const std::size_t room = modelInfo(slot.device->usbModel()).bytesPerReport;
    while (!bytes.empty()) {
        const std::size_t limit = split ? 1 + faults.below(room) : room;
        const std::size_t taken =
            std::min(bytes.size(), limit > slot.openChunk.size() ? limit - slot.openChunk.size() : 0);
        slot.openChunk.insert(slot.openChunk.end(), bytes.begin(),
                              bytes.begin() + static_cast<std::ptrdiff_t>(taken));
        bytes = bytes.subspan(taken);
        if (!bytes.empty() || slot.openChunk.size() == room) {
            // Padding inside a frame would spoil it, so a report that ends early is a short one.
            flushChunk(slot, false);
        }
    }
}

void VirtualBus::flushChunk(Slot& slot, bool padded) {
    if (slot.openChunk.empty()) {
        return;
    }
    const ModelInfo& info = modelInfo(slot.device->usbModel());
    const HidInterface* const interface = linkInterface(slot.device->usbModel());
    Report report{.bytes = inputReport(info, slot.openChunk, padded),
                  .frameBegin = info.reportHeader,
                  .frameEnd = info.reportHeader + slot.openChunk.size(),
                  .interfaceNumber = interface == nullptr ? 0 : interface->number};
    slot.openChunk.clear();
    // A host polls a device for reports only while a program has it open.
    if (std::ranges::find(slot.handles, interface, &OpenHandle::interface) != slot.handles.end()) {
        slot.toHost.push(std::move(report), now);
    }
}

void VirtualBus::deliver(Slot& slot, const Report& report) {
    ++slot.counters.reportsToHost;
    bool lost = false;
    for (const OpenHandle& handle : slot.handles) {
        if (handle.interface->number == report.interfaceNumber && listener.inputReport) {
            lost |= !listener.inputReport(handle.id, report.bytes);
        }
    }
    log.add(ReportRecord{.timeMs = now,
                         .device = indexOf(slot),
                         .interfaceNumber = report.interfaceNumber,
                         .direction = Direction::ToHost,
                         .bytes = report.bytes,
                         .lost = lost});
}

void VirtualBus::receive(Slot& slot, const Report& report) {
    if (slot.device->takeControlReport(report.bytes, report.interfaceNumber, now) ||
        report.interfaceNumber != linkInterface(slot.device->usbModel())->number) {
        return;
    }
    const auto frameBytes = frameBytesOfOutputReport(modelInfo(slot.device->usbModel()), report.bytes);
    if (!frameBytes) {
        ++slot.counters.badReports;
        return;
    }
    slot.device->receive(*frameBytes, now);
}

void VirtualBus::stepSlot(Slot& slot) {
    if (slot.plugAtMs && *slot.plugAtMs <= now) {
        plug(indexOf(slot));
    }
    if (!slot.plugged) {
        return;
    }
    while (const std::optional<Report> report = slot.toDevice.take(now)) {
        receive(slot, *report);
        if (slot.cutNow) {
            return cutPower(slot);
        }
    }
    slot.device->advance(now);
    if (slot.cutNow) {
        return cutPower(slot);
    }
    while (!slot.lateMessages.empty() && slot.lateMessages.begin()->first <= now) {
        packMessage(slot, slot.lateMessages.begin()->second);
        slot.lateMessages.erase(slot.lateMessages.begin());
    }
    flushChunk(slot, true);
    while (const std::optional<Report> report = slot.toHost.take(now)) {
        if (countsDown(slot, Direction::ToHost)) {
            return cutPower(slot);
        }
        deliver(slot, *report);
    }
    if (const std::optional<BootLoader::Restart> restart = slot.device->takeRestart()) {
        restartAs(slot, *restart);
    }
}

std::uint64_t VirtualBus::nextEventAtMs(const Slot& slot) const {
    if (!slot.plugged) {
        return slot.plugAtMs.value_or(kNever);
    }
    const std::uint64_t lateAtMs = slot.lateMessages.empty() ? kNever : slot.lateMessages.begin()->first;
    return std::min(
        {slot.device->nextEventAtMs(), slot.toHost.nextDueAtMs(), slot.toDevice.nextDueAtMs(), lateAtMs});
}

std::uint64_t VirtualBus::nextEventAtMs() const {
    std::uint64_t next = kNever;
    for (const auto& slot : slots) {
        next = std::min(next, nextEventAtMs(*slot));
    }
    return next;
}

void VirtualBus::advance(std::uint64_t nowMs) {
    while (true) {
        const std::uint64_t next = nextEventAtMs();
        if (next > nowMs) {
            break;
        }
        now = std::max(now, next);
        settle();
    }
    now = std::max(now, nowMs);
}

void VirtualBus::settle() {
    for (const auto& slot : slots) {
        stepSlot(*slot);
    }
}

} // namespace vexo::emulator
