#include "tests/support/ScriptedHidapi.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <cwchar>
#include <deque>
#include <hidapi.h>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>

struct hid_device_ {
    std::string path;
    bool closed = false;
    bool gone = false;
    std::deque<scriptedHidapi::Report> reports;
};

namespace {

struct Bus {
    std::vector<scriptedHidapi::Interface> interfaces;
    /// Kept after hid_close, so that a late call is counted and does not crash.
    std::vector<std::unique_ptr<hid_device>> handles;
    std::map<std::string, std::vector<scriptedHidapi::Report>> written;
    /// With the reason, a text that lasts.
    std::map<std::string, const wchar_t*> openFails;
    const wchar_t* lastError = nullptr;
    std::map<std::string, std::function<void(const scriptedHidapi::Report&)>> answers;
    std::wstring deviceText;
    scriptedHidapi::Report featureReport;
    scriptedHidapi::Report featureSent;
    int exits = 0;
    int errorsAsked = 0;
    std::set<std::string> writeFails;
    std::set<std::string> writesShortened;
    int nonblockingFailures = 0;
    int nonblockingMode = -1;
    bool writesHeld = false;
    int writesInside = 0;
    scriptedHidapi::ReadCall lastRead;
    bool readsHeld = false;
    int readsInside = 0;
    int lists = 0;
    int enumerations = 0;
    int callsAfterClose = 0;
};

std::mutex busMutex;
std::condition_variable busChanged;
Bus bus;
/// A process does it once, so reset() leaves it.
int initialisationCount = 0;

/// Under the lock: whether the handle of a call is open.
bool usable(const hid_device* device) {
    if (device->closed) {
        ++bus.callsAfterClose;
    }
    return !device->closed && !device->gone;
}

/// The device's text, cut to the room for it.
int textInto(hid_device* device, wchar_t* text, std::size_t room) {
    const std::lock_guard lock(busMutex);
    if (!usable(device) || room == 0) {
        return -1;
    }
    const std::size_t count = std::min(room - 1, bus.deviceText.size());
    std::wmemcpy(text, bus.deviceText.c_str(), count);
    text[count] = L'\0';
    return 0;
}

} // namespace

namespace scriptedHidapi {

void onWrite(const std::string& path, std::function<void(const Report&)> answer) {
    const std::lock_guard lock(busMutex);
    bus.answers[path] = std::move(answer);
}

void setDeviceText(const std::wstring& text) {
    const std::lock_guard lock(busMutex);
    bus.deviceText = text;
}

void setFeatureReport(const Report& report) {
    const std::lock_guard lock(busMutex);
    bus.featureReport = report;
}

int initialisations() {
    const std::lock_guard lock(busMutex);
    return initialisationCount;
}

int exits() {
    const std::lock_guard lock(busMutex);
    return bus.exits;
}

int errorsAsked() {
    const std::lock_guard lock(busMutex);
    return bus.errorsAsked;
}

Report lastFeatureReport() {
    const std::lock_guard lock(busMutex);
    return bus.featureSent;
}

void reset() {
    const std::lock_guard lock(busMutex);
    bus = Bus{};
}

void plug(const Interface& interface) {
    const std::lock_guard lock(busMutex);
    bus.interfaces.push_back(interface);
}

void unplug(const std::string& path) {
    const std::lock_guard lock(busMutex);
    std::erase_if(bus.interfaces, [&path](const Interface& interface) { return interface.path == path; });
    for (const auto& handle : bus.handles) {
        if (handle->path == path) {
            handle->gone = true;
        }
    }
    busChanged.notify_all();
}

void deliver(const std::string& path, const Report& report) {
    const std::lock_guard lock(busMutex);
    for (const auto& handle : bus.handles) {
        if (handle->path == path && !handle->closed) {
            handle->reports.push_back(report);
        }
    }
    busChanged.notify_all();
}

void failNonblocking(int count) {
    const std::lock_guard lock(busMutex);
    bus.nonblockingFailures = count;
}

void failOpen(const std::string& path, bool fail, const wchar_t* reason) {
    const std::lock_guard lock(busMutex);
    fail ? (void)bus.openFails.insert_or_assign(path, reason) : (void)bus.openFails.erase(path);
}

void failWrite(const std::string& path, bool fail) {
    const std::lock_guard lock(busMutex);
    fail ? (void)bus.writeFails.insert(path) : (void)bus.writeFails.erase(path);
}

void shortenWrite(const std::string& path, bool shorten) {
    const std::lock_guard lock(busMutex);
    shorten ? (void)bus.writesShortened.insert(path) : (void)bus.writesShortened.erase(path);
}

void holdWrites(bool hold) {
    const std::lock_guard lock(busMutex);
    bus.writesHeld = hold;
    busChanged.notify_all();
}

int writesInside() {
    const std::lock_guard lock(busMutex);
    return bus.writesInside;
}

ReadCall lastRead() {
    const std::lock_guard lock(busMutex);
    return bus.lastRead;
}

int lastNonblockingMode() {
    const std::lock_guard lock(busMutex);
    return bus.nonblockingMode;
}

void holdReads(bool hold) {
    const std::lock_guard lock(busMutex);
    bus.readsHeld = hold;
    busChanged.notify_all();
}

int reportsWaiting() {
    const std::lock_guard lock(busMutex);
    std::size_t count = 0;
    for (const auto& handle : bus.handles) {
        count += handle->reports.size();
    }
    return static_cast<int>(count);
}

int readsInside() {
    const std::lock_guard lock(busMutex);
    return bus.readsInside;
}

std::vector<Report> written(const std::string& path) {
    const std::lock_guard lock(busMutex);
    return bus.written[path];
}

std::vector<Report> takeWritten(const std::string& path) {
    const std::lock_guard lock(busMutex);
    return std::exchange(bus.written[path], {});
}

int openHandles() {
    const std::lock_guard lock(busMutex);
    return static_cast<int>(
        std::ranges::count_if(bus.handles, [](const auto& handle) { return !handle->closed; }));
}

int openedEver() {
    const std::lock_guard lock(busMutex);
    return static_cast<int>(bus.handles.size());
}

int listsOutstanding() {
    const std::lock_guard lock(busMutex);
    return bus.lists;
}

int enumerations() {
    const std::lock_guard lock(busMutex);
    return bus.enumerations;
}

int callsAfterClose() {
    const std::lock_guard lock(busMutex);
    return bus.callsAfterClose;
}

} // namespace scriptedHidapi

hid_device_info* hid_enumerate(unsigned short vendorId, unsigned short productId) {
    const std::lock_guard lock(busMutex);
    ++bus.enumerations;
    hid_device_info* first = nullptr;
    hid_device_info** next = &first;
    for (const auto& interface : bus.interfaces) {
        if ((vendorId != 0 && interface.vendorId != vendorId) ||
            (productId != 0 && interface.productId != productId)) {
            continue;
        }
        auto* const info = new hid_device_info{};
        info->path = new char[interface.path.size() + 1];
        std::memcpy(info->path, interface.path.c_str(), interface.path.size() + 1);
        info->vendor_id = interface.vendorId;
        info->product_id = interface.productId;
        info->usage_page = interface.usagePage;
        *next = info;
        next = &info->next;
    }
    bus.lists += first != nullptr ? 1 : 0;
    return first;
}

void hid_free_enumeration(hid_device_info* list) {
    const std::lock_guard lock(busMutex);
    bus.lists -= list != nullptr ? 1 : 0;
    while (list != nullptr) {
        hid_device_info* const next = list->next;
        delete[] list->path;
        delete list;
        list = next;
    }
}

hid_device* hid_open_path(const char* path) {
    const std::lock_guard lock(busMutex);
    const bool present =
        std::ranges::any_of(bus.interfaces, [path](const auto& interface) { return interface.path == path; });
    const auto refused = bus.openFails.find(path);
    if (!present || refused != bus.openFails.end()) {
        bus.lastError = present ? refused->second : L"No such file or directory";
        return nullptr;
    }
    bus.handles.push_back(std::make_unique<hid_device>());
    bus.handles.back()->path = path;
    return bus.handles.back().get();
}

hid_device* hid_open(unsigned short vendorId, unsigned short productId, const wchar_t*) {
    std::string path;
    {
        const std::lock_guard lock(busMutex);
        const auto found = std::ranges::find_if(bus.interfaces, [=](const auto& interface) {
            return interface.vendorId == vendorId && interface.productId == productId;
        });
        if (found == bus.interfaces.end()) {
            bus.lastError = L"No HID devices with requested VID/PID found in the system.";
            return nullptr;
        }
        path = found->path;
    }
    return hid_open_path(path.c_str());
}

int hid_init() {
    const std::lock_guard lock(busMutex);
    ++initialisationCount;
    return 0;
}

int hid_exit() {
    const std::lock_guard lock(busMutex);
    ++bus.exits;
    return 0;
}

int hid_read(hid_device* device, unsigned char* data, size_t length) {
    return hid_read_timeout(device, data, length, 0);
}

int hid_get_manufacturer_string(hid_device* device, wchar_t* text, size_t room) {
    return textInto(device, text, room);
}

int hid_get_product_string(hid_device* device, wchar_t* text, size_t room) {
    return textInto(device, text, room);
}

int hid_get_serial_number_string(hid_device* device, wchar_t* text, size_t room) {
    return textInto(device, text, room);
}

int hid_get_indexed_string(hid_device* device, int, wchar_t* text, size_t room) {
    return textInto(device, text, room);
}

int hid_send_feature_report(hid_device* device, const unsigned char* data, size_t length) {
    const std::lock_guard lock(busMutex);
    bus.featureSent.assign(data, data + length);
    return usable(device) ? static_cast<int>(length) : -1;
}

int hid_get_feature_report(hid_device* device, unsigned char* data, size_t length) {
    const std::lock_guard lock(busMutex);
    if (!usable(device)) {
        return -1;
    }
    const std::size_t count = std::min(length, bus.featureReport.size());
    std::copy_n(bus.featureReport.begin(), count, data);
    return static_cast<int>(count);
}

const wchar_t* hid_error(hid_device*) {
    const std::lock_guard lock(busMutex);
    ++bus.errorsAsked;
    return bus.lastError;
}

int hid_set_nonblocking(hid_device* device, int nonblocking) {
    const std::lock_guard lock(busMutex);
    bus.nonblockingMode = nonblocking;
    if (bus.nonblockingFailures > 0) {
        --bus.nonblockingFailures;
        return -1;
    }
    return usable(device) ? 0 : -1;
}

int hid_read_timeout(hid_device* device, unsigned char* data, size_t length, int milliseconds) {
    std::unique_lock lock(busMutex);
    bus.lastRead = {length, milliseconds};
    ++bus.readsInside;
    busChanged.wait(lock, [] { return !bus.readsHeld; });
    busChanged.wait_for(lock, std::chrono::milliseconds(milliseconds),
                        [device] { return device->gone || device->closed || !device->reports.empty(); });
    --bus.readsInside;
    if (!usable(device)) {
        return -1;
    }
    if (device->reports.empty()) {
        return 0;
    }
    const scriptedHidapi::Report report = device->reports.front();
    device->reports.pop_front();
    const std::size_t count = std::min(length, report.size());
    std::copy_n(report.begin(), count, data);
    return static_cast<int>(count);
}

int hid_write(hid_device* device, const unsigned char* data, size_t length) {
    std::unique_lock lock(busMutex);
    ++bus.writesInside;
    busChanged.wait(lock, [device] { return !bus.writesHeld || device->gone; });
    --bus.writesInside;
    if (!usable(device) || bus.writeFails.contains(device->path)) {
        return -1;
    }
    if (length == 0) {
        return -1;
    }
    bus.written[device->path].emplace_back(data, data + length);
    const int shortage = bus.writesShortened.contains(device->path) ? 1 : 0;
    const auto answer = bus.answers.find(device->path);
    if (answer != bus.answers.end()) {
        const auto script = answer->second;
        lock.unlock();
        script({data, data + length});
    }
    return static_cast<int>(length) - shortage;
}

void hid_close(hid_device* device) {
    const std::lock_guard lock(busMutex);
    if (device->closed) {
        ++bus.callsAfterClose;
    }
    device->closed = true;
}
