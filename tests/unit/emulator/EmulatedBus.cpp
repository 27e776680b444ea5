#include "tests/unit/emulator/EmulatedBus.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <cwchar>
#include <deque>
#include <hidapi.h>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>

struct hid_device_ {
    vexo::emulator::VirtualBus::HandleId id = 0;
    vexo::emulator::InterfaceInfo interface;
    bool gone = false;
    bool nonblocking = false;
    std::deque<vexo::emulator::Bytes> reports;
};

namespace {

using vexo::emulator::Bytes;
using vexo::emulator::VirtualBus;
using Clock = std::chrono::steady_clock;

/// As many unread reports as the kernel keeps for a handle.
constexpr std::size_t kUnreadReports = 64;

struct Stage {
    std::mutex mutex;
    std::condition_variable changed;
    std::unique_ptr<VirtualBus> bus;
    std::set<hid_device*> handles;
    Clock::time_point startedAt;
    std::uint64_t speed = 1;
    std::uint64_t skippedMs = 0;
    const wchar_t* lastError = L"Success";
    int inits = 0;
    int exits = 0;

    void catchUp() {
        const auto passed = std::chrono::duration_cast<std::chrono::milliseconds>(
            (Clock::now() - startedAt) * static_cast<std::int64_t>(speed));
        bus->advance(static_cast<std::uint64_t>(passed.count()) + skippedMs);
        changed.notify_all();
    }
    hid_device* handleOf(VirtualBus::HandleId id) {
        const auto found =
            std::ranges::find_if(handles, [id](const hid_device* each) { return each->id == id; });
        return found == handles.end() ? nullptr : *found;
    }
};

Stage& stage() {
    static Stage theStage;
    return theStage;
}

char* copyOf(const std::string& text) {
    char* const copy = new char[text.size() + 1];
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

wchar_t* wideCopyOf(const std::string& text) {
    wchar_t* const copy = new wchar_t[text.size() + 1];
    std::copy(text.begin(), text.end() + 1, copy);
    return copy;
}

int copyText(const std::string& text, wchar_t* target, std::size_t room) {
    if (target == nullptr || room == 0) {
        return -1;
    }
    const std::size_t length = std::min(text.size(), room - 1);
    std::copy_n(text.begin(), length, target);
    target[length] = L'\0';
    return 0;
}

hid_device* openPath(const std::string& path) {
    Stage& the = stage();
    const auto interface = the.bus->interfaceAt(path);
    const auto id = the.bus->open(path);
    if (!interface || !id) {
        the.lastError = interface ? L"Permission denied" : L"No such file or directory";
        return nullptr;
    }
    auto* const device = new hid_device{};
    device->id = *id;
    device->interface = *interface;
    the.handles.insert(device);
    return device;
}

} // namespace

namespace emulatedBus {

void start(std::span<const vexo::emulator::Model> models, std::uint64_t seed, std::uint64_t speed) {
    Stage& the = stage();
    const std::lock_guard lock(the.mutex);
    the.bus = std::make_unique<VirtualBus>(models, seed);
    the.startedAt = Clock::now();
    the.speed = speed;
    the.skippedMs = 0;
    the.inits = 0;
    the.exits = 0;
    the.bus->setListener({.inputReport =
                              [&the](VirtualBus::HandleId id, const Bytes& report) {
                                  hid_device* const device = the.handleOf(id);
                                  if (device == nullptr || device->reports.size() >= kUnreadReports) {
                                      return false;
                                  }
                                  device->reports.push_back(report);
                                  return true;
                              },
                          .unplugged =
                              [&the](VirtualBus::HandleId id) {
                                  if (hid_device* const device = the.handleOf(id)) {
                                      device->gone = true;
                                  }
                              },
                          .held = nullptr});
}

void with(const std::function<void(VirtualBus& bus)>& act) {
    Stage& the = stage();
    const std::lock_guard lock(the.mutex);
    the.catchUp();
    act(*the.bus);
    the.bus->settle();
    the.changed.notify_all();
}

void skip(std::uint64_t milliseconds) {
    Stage& the = stage();
    const std::lock_guard lock(the.mutex);
    the.skippedMs += milliseconds;
    the.catchUp();
}

int openHandles() {
    const std::lock_guard lock(stage().mutex);
    return static_cast<int>(stage().handles.size());
}

int initCalls() {
    const std::lock_guard lock(stage().mutex);
    return stage().inits;
}

int exitCalls() {
    const std::lock_guard lock(stage().mutex);
    return stage().exits;
}

} // namespace emulatedBus

int hid_init() {
    const std::lock_guard lock(stage().mutex);
    ++stage().inits;
    return 0;
}

int hid_exit() {
    const std::lock_guard lock(stage().mutex);
    ++stage().exits;
    return 0;
}

hid_device_info* hid_enumerate(unsigned short vendorId, unsigned short productId) {
    const std::lock_guard lock(stage().mutex);
    if (!stage().bus) {
        return nullptr;
    }
    stage().catchUp();
    hid_device_info* first = nullptr;
    hid_device_info** next = &first;
    for (const auto& interface : stage().bus->enumerate(vendorId, productId)) {
        auto* const info = new hid_device_info{};
        info->path = copyOf(interface.path);
        info->vendor_id = interface.vendorId;
        info->product_id = interface.productId;
        info->serial_number = wideCopyOf(interface.serial);
        info->release_number = interface.releaseNumber;
        info->manufacturer_string = wideCopyOf(interface.manufacturer);
        info->product_string = wideCopyOf(interface.product);
        info->usage_page = interface.usagePage;
        info->usage = interface.usage;
        info->interface_number = interface.interfaceNumber;
        *next = info;
        next = &info->next;
    }
    return first;
}

void hid_free_enumeration(hid_device_info* list) {
    while (list != nullptr) {
        hid_device_info* const next = list->next;
        delete[] list->path;
        delete[] list->serial_number;
        delete[] list->manufacturer_string;
        delete[] list->product_string;
        delete list;
        list = next;
    }
}

hid_device* hid_open(unsigned short vendorId, unsigned short productId, const wchar_t* serial) {
    const std::lock_guard lock(stage().mutex);
    if (!stage().bus) {
        return nullptr;
    }
    stage().catchUp();
    for (const auto& interface : stage().bus->enumerate(vendorId, productId)) {
        const std::wstring number(interface.serial.begin(), interface.serial.end());
        if (serial == nullptr || number == serial) {
            return openPath(interface.path);
        }
    }
    stage().lastError = L"Device not found";
    return nullptr;
}

hid_device* hid_open_path(const char* path) {
    const std::lock_guard lock(stage().mutex);
    if (!stage().bus) {
        return nullptr;
    }
    stage().catchUp();
    return openPath(path);
}

void hid_close(hid_device* device) {
    const std::lock_guard lock(stage().mutex);
    if (device != nullptr) {
        stage().bus->close(device->id);
        stage().handles.erase(device);
        delete device;
    }
}

const wchar_t* hid_error(hid_device*) {
    const std::lock_guard lock(stage().mutex);
    return stage().lastError;
}

int hid_set_nonblocking(hid_device* device, int nonblocking) {
    const std::lock_guard lock(stage().mutex);
    device->nonblocking = nonblocking != 0;
    return 0;
}

int hid_read_timeout(hid_device* device, unsigned char* data, size_t length, int milliseconds) {
    Stage& the = stage();
    std::unique_lock lock(the.mutex);
    const auto endsAt = Clock::now() + std::chrono::milliseconds(milliseconds);
    while (true) {
        the.catchUp();
        if (!device->reports.empty()) {
            const Bytes report = std::move(device->reports.front());
            device->reports.pop_front();
            const std::size_t count = std::min(length, report.size());
            std::copy_n(report.begin(), count, data);
            return static_cast<int>(count);
        }
        if (device->gone) {
            the.lastError = L"No such device";
            return -1;
        }
        if (milliseconds >= 0 && Clock::now() >= endsAt) {
            return 0;
        }
        // The devices' clock has no alarm of its own.
        the.changed.wait_for(lock, std::chrono::milliseconds(1));
    }
}

int hid_read(hid_device* device, unsigned char* data, size_t length) {
    return hid_read_timeout(device, data, length, device->nonblocking ? 0 : -1);
}

int hid_write(hid_device* device, const unsigned char* data, size_t length) {
    Stage& the = stage();
    const std::lock_guard lock(the.mutex);
    the.catchUp();
    if (device->gone || length == 0 || !the.bus->write(device->id, Bytes(data, data + length))) {
        the.lastError = length == 0 ? L"Zero buffer/length" : L"No such device";
        return -1;
    }
    the.changed.notify_all();
    return static_cast<int>(length);
}

int hid_send_feature_report(hid_device* device, const unsigned char* data, size_t length) {
    const std::lock_guard lock(stage().mutex);
    const bool stored = stage().bus->storeFeatureReport(device->interface.path, Bytes(data, data + length));
    return stored ? static_cast<int>(length) : -1;
}

int hid_get_feature_report(hid_device* device, unsigned char* data, size_t length) {
    const std::lock_guard lock(stage().mutex);
    if (length == 0) {
        return -1;
    }
    const std::optional<Bytes> report = stage().bus->featureReport(device->interface.path, data[0]);
    if (!report) {
        return -1;
    }
    const std::size_t count = std::min(length, report->size());
    std::copy_n(report->begin(), count, data);
    return static_cast<int>(count);
}

int hid_get_manufacturer_string(hid_device* device, wchar_t* text, size_t room) {
    return copyText(device->interface.manufacturer, text, room);
}

int hid_get_product_string(hid_device* device, wchar_t* text, size_t room) {
    return copyText(device->interface.product, text, room);
}

int hid_get_serial_number_string(hid_device* device, wchar_t* text, size_t room) {
    return copyText(device->interface.serial, text, room);
}

int hid_get_indexed_string(hid_device*, int, wchar_t*, size_t) {
    return -1;
}
