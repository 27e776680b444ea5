#include "emulator/UhidBridge.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/input.h>
#include <linux/uhid.h>
#include <unistd.h>

namespace vexo::emulator {
namespace {

constexpr const char* kUhid = "/dev/uhid";

int openUhid() {
    return open(kUhid, O_RDWR | O_CLOEXEC | O_NONBLOCK);
}

bool writeEvent(int nativeHandle, const uhid_event& event) {
    return write(nativeHandle, &event, sizeof(event)) == static_cast<ssize_t>(sizeof(event));
}

// The kernel's structures are packed, so their fields are reached as bytes.
void copyText(void* target, std::size_t size, const std::string& text) {
    std::memcpy(target, text.data(), std::min(text.size(), size - 1));
}

} // namespace

std::optional<std::string> UhidBridge::whyNot() {
    const int nativeHandle = openUhid();
    if (nativeHandle >= 0) {
        close(nativeHandle);
        return std::nullopt;
    }
    return std::string(kUhid) + " cannot be opened (" + std::strerror(errno) +
           "): load the kernel's uhid module and start as root, or leave --uhid out.";
}

UhidBridge::~UhidBridge() {
    for (KernelDevice& device : devices) {
        destroy(device);
    }
}

bool UhidBridge::create(const InterfaceInfo& info) {
    const int nativeHandle = openUhid();
    if (nativeHandle < 0) {
        return false;
    }
    uhid_event event{};
    event.type = UHID_CREATE2;
    copyText(event.u.create2.name, sizeof(event.u.create2.name), info.manufacturer + " " + info.product);
    copyText(event.u.create2.phys, sizeof(event.u.create2.phys), info.path);
    copyText(event.u.create2.uniq, sizeof(event.u.create2.uniq), info.serial);
    event.u.create2.rd_size = static_cast<__u16>(info.reportDescriptor.size());
    std::memcpy(event.u.create2.rd_data, info.reportDescriptor.data(), info.reportDescriptor.size());
    event.u.create2.bus = BUS_USB;
    event.u.create2.vendor = info.vendorId;
    event.u.create2.product = info.productId;
    event.u.create2.version = info.releaseNumber;
    if (!writeEvent(nativeHandle, event)) {
        close(nativeHandle);
        return false;
    }
    devices.push_back({info.path, nativeHandle, std::nullopt});
    return true;
}

void UhidBridge::destroy(KernelDevice& device) {
    if (device.handle) {
        bus.close(*device.handle);
    }
    // Closing destroys the kernel's device.
    close(device.nativeHandle);
}

void UhidBridge::update() {
    const std::vector<InterfaceInfo> plugged = bus.enumerate(0, 0);
    std::erase_if(devices, [&](KernelDevice& device) {
        const bool gone = std::ranges::find(plugged, device.path, &InterfaceInfo::path) == plugged.end();
        if (gone) {
            destroy(device);
        }
        return gone;
    });
    for (const InterfaceInfo& info : plugged) {
        if (std::ranges::find(devices, info.path, &KernelDevice::path) == devices.end()) {
            create(info);
        }
    }
}

std::vector<int> UhidBridge::nativeHandles() const {
    std::vector<int> handles;
    handles.reserve(devices.size());
    for (const KernelDevice& device : devices) {
        handles.push_back(device.nativeHandle);
    }
    return handles;
}

void UhidBridge::onReadable(int nativeHandle) {
    const auto device = std::ranges::find(devices, nativeHandle, &KernelDevice::nativeHandle);
    uhid_event event{};
    if (device == devices.end() || read(nativeHandle, &event, sizeof(event)) <= 0) {
        return;
    }
    if (event.type == UHID_OPEN) {
        device->handle = bus.open(device->path);
    } else if (event.type == UHID_CLOSE) {
        // No handle has the number 0.
        bus.close(device->handle.value_or(0));
        device->handle.reset();
    } else if (event.type == UHID_OUTPUT) {
        const std::size_t size = std::min<std::size_t>(event.u.output.size, UHID_DATA_MAX);
        bus.write(device->handle.value_or(0), Bytes(event.u.output.data, event.u.output.data + size));
    } else if (event.type == UHID_SET_REPORT) {
        const std::size_t size = std::min<std::size_t>(event.u.set_report.size, UHID_DATA_MAX);
        const Bytes report(event.u.set_report.data, event.u.set_report.data + size);
        uhid_event reply{};
        reply.type = UHID_SET_REPORT_REPLY;
        reply.u.set_report_reply.id = event.u.set_report.id;
        reply.u.set_report_reply.err = bus.storeFeatureReport(device->path, report) ? 0 : EIO;
        writeEvent(nativeHandle, reply);
    } else if (event.type == UHID_GET_REPORT) {
        const std::optional<Bytes> report = bus.featureReport(device->path, event.u.get_report.rnum);
        uhid_event reply{};
        reply.type = UHID_GET_REPORT_REPLY;
        reply.u.get_report_reply.id = event.u.get_report.id;
        reply.u.get_report_reply.err = report ? 0 : EIO;
        if (report) {
            const std::size_t size = std::min<std::size_t>(report->size(), UHID_DATA_MAX);
            reply.u.get_report_reply.size = static_cast<__u16>(size);
            std::memcpy(reply.u.get_report_reply.data, report->data(), size);
        }
        writeEvent(nativeHandle, reply);
    }
}

bool UhidBridge::inputReport(VirtualBus::HandleId handle, const Bytes& report) {
    const auto device = std::ranges::find(devices, handle, &KernelDevice::handle);
    if (device == devices.end()) {
        return false;
    }
    uhid_event event{};
    event.type = UHID_INPUT2;
    const std::size_t size = std::min<std::size_t>(report.size(), UHID_DATA_MAX);
    event.u.input2.size = static_cast<__u16>(size);
    std::memcpy(event.u.input2.data, report.data(), size);
    writeEvent(device->nativeHandle, event);
    return true;
}

bool UhidBridge::unplugged(VirtualBus::HandleId handle) {
    const auto device = std::ranges::find(devices, handle, &KernelDevice::handle);
    if (device == devices.end()) {
        return false;
    }
    device->handle.reset();
    return true;
}

} // namespace vexo::emulator
