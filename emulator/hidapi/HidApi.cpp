// The functions of hidapi 0.13 and 0.14 over the emulator's socket, with the answers of the real library on
// Linux.
//
// A hid_device is only a key: each call looks its address up in a table. So a thread that reads a handle
// which another thread has closed gets -1, and never the reports of another device.

#include "emulator/hidapi/EmulatedHandle.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <hidapi/hidapi.h>
#include <map>

using vexo::emulator::Bytes;
using vexo::emulator::BytesView;
using vexo::emulator::EmulatedHandle;
using vexo::emulator::InterfaceInfo;
using vexo::emulator::WireReader;
using vexo::emulator::WireType;

struct hid_device_ {};

namespace {

// A key is used again only after this many further opens.
constexpr std::size_t kHandleNames = 65536;

struct OpenDevice {
    std::shared_ptr<EmulatedHandle> handle;
    hid_device_info* info = nullptr;
};

struct Library {
    std::mutex mutex;
    std::array<hid_device_, kHandleNames> names{};
    std::size_t lastName = 0;
    std::map<hid_device*, OpenDevice> devices;
    std::wstring error;
};

// Never destroyed, so that a thread may still read while the process ends.
Library& library() {
    static Library& instance = *new Library;
    return instance;
}

void setGlobalError(std::wstring text) {
    const std::lock_guard lock(library().mutex);
    library().error = std::move(text);
}

std::shared_ptr<EmulatedHandle> handleOf(hid_device* device) {
    const std::lock_guard lock(library().mutex);
    const auto found = library().devices.find(device);
    return found == library().devices.end() ? nullptr : found->second.handle;
}

// The identities are plain ASCII.
std::wstring widen(const std::string& text) {
    return {text.begin(), text.end()};
}

char* copyNarrow(const std::string& text) {
    auto* const copy = static_cast<char*>(std::calloc(text.size() + 1, sizeof(char)));
    std::copy(text.begin(), text.end(), copy);
    return copy;
}

wchar_t* copyWide(const std::string& text) {
    const std::wstring wide = widen(text);
    auto* const copy = static_cast<wchar_t*>(std::calloc(wide.size() + 1, sizeof(wchar_t)));
    std::copy(wide.begin(), wide.end(), copy);
    return copy;
}

hid_device_info* makeInfo(const InterfaceInfo& from) {
    auto* const info = static_cast<hid_device_info*>(std::calloc(1, sizeof(hid_device_info)));
    info->path = copyNarrow(from.path);
    info->vendor_id = from.vendorId;
    info->product_id = from.productId;
    info->serial_number = copyWide(from.serial);
    info->release_number = from.releaseNumber;
    info->manufacturer_string = copyWide(from.manufacturer);
    info->product_string = copyWide(from.product);
    info->usage_page = from.usagePage;
    info->usage = from.usage;
    info->interface_number = from.interfaceNumber;
    info->bus_type = HID_API_BUS_USB;
    return info;
}

int copyString(hid_device* device, const std::string InterfaceInfo::* text, wchar_t* target,
               std::size_t size) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(device);
    if (handle == nullptr) {
        return -1;
    }
    if (target == nullptr || size == 0) {
        handle->setError(L"Zero buffer/length");
        return -1;
    }
    std::wcsncpy(target, widen(handle->info.*text).c_str(), size);
    target[size - 1] = L'\0';
    return 0;
}

} // namespace

int hid_init(void) {
    setGlobalError({});
    return 0;
}

int hid_exit(void) {
    setGlobalError({});
    return 0;
}

hid_device_info* hid_enumerate(unsigned short vendor_id, unsigned short product_id) {
    setGlobalError({});
    Bytes request;
    vexo::emulator::appendU16(request, vendor_id);
    vexo::emulator::appendU16(request, product_id);
    const std::optional<Bytes> answer = vexo::emulator::askEmulator(WireType::Enumerate, request);
    WireReader reader(answer ? BytesView(*answer) : BytesView());
    hid_device_info* first = nullptr;
    hid_device_info** end = &first;
    for (unsigned left = reader.takeU16(); left > 0; --left) {
        const InterfaceInfo info = reader.takeInterface();
        if (!reader.ok()) {
            break;
        }
        *end = makeInfo(info);
        end = &(*end)->next;
    }
    if (first == nullptr) {
        setGlobalError(vendor_id == 0 && product_id == 0
                           ? L"No HID devices found in the system."
                           : L"No HID devices with requested VID/PID found in the system.");
    }
    return first;
}

void hid_free_enumeration(hid_device_info* devs) {
    while (devs != nullptr) {
        hid_device_info* const next = devs->next;
        std::free(devs->path);
        std::free(devs->serial_number);
        std::free(devs->manufacturer_string);
        std::free(devs->product_string);
        std::free(devs);
        devs = next;
    }
}

hid_device* hid_open(unsigned short vendor_id, unsigned short product_id, const wchar_t* serial_number) {
    hid_device_info* const devices = hid_enumerate(vendor_id, product_id);
    hid_device* opened = nullptr;
    const hid_device_info* found = devices;
    while (found != nullptr && serial_number != nullptr &&
           std::wcscmp(serial_number, found->serial_number) != 0) {
        found = found->next;
    }
    if (found != nullptr) {
        opened = hid_open_path(found->path);
    } else {
        setGlobalError(L"Device with requested VID/PID/(SerialNumber) not found");
    }
    hid_free_enumeration(devices);
    return opened;
}

hid_device* hid_open_path(const char* path) {
    setGlobalError({});
    std::wstring error = L"Failed to open the device";
    std::shared_ptr<EmulatedHandle> handle = path == nullptr ? nullptr : EmulatedHandle::open(path, error);
    if (handle == nullptr) {
        setGlobalError(std::move(error));
        return nullptr;
    }
    Library& the = library();
    const std::lock_guard lock(the.mutex);
    hid_device* name = nullptr;
    do {
        the.lastName = (the.lastName + 1) % kHandleNames;
        name = &the.names[the.lastName];
    } while (the.devices.contains(name));
    OpenDevice& device = the.devices[name];
    device.info = makeInfo(handle->info);
    device.handle = std::move(handle);
    return name;
}

void hid_close(hid_device* dev) {
    OpenDevice closing;
    {
        const std::lock_guard lock(library().mutex);
        const auto found = library().devices.find(dev);
        if (found == library().devices.end()) {
            return;
        }
        closing = std::move(found->second);
        library().devices.erase(found);
    }
    closing.handle->close();
    hid_free_enumeration(closing.info);
}

int hid_set_nonblocking(hid_device* dev, int nonblock) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
    if (handle == nullptr) {
        return -1;
    }
    handle->nonBlocking = nonblock != 0;
    return 0;
}

int hid_read_timeout(hid_device* dev, unsigned char* data, size_t length, int milliseconds) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
    return handle == nullptr ? -1 : handle->read(std::span(data, length), milliseconds);
}

int hid_read(hid_device* dev, unsigned char* data, size_t length) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
    return handle == nullptr ? -1 : handle->read(std::span(data, length), handle->nonBlocking ? 0 : -1);
}

int hid_write(hid_device* dev, const unsigned char* data, size_t length) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
    return handle == nullptr ? -1 : handle->write(BytesView(data, data == nullptr ? 0 : length));
}

int hid_send_feature_report(hid_device* dev, const unsigned char* data, size_t length) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
    return handle == nullptr ? -1 : handle->sendFeature(BytesView(data, data == nullptr ? 0 : length));
}

int hid_get_feature_report(hid_device* dev, unsigned char* data, size_t length) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
    return handle == nullptr ? -1 : handle->getFeature(std::span(data, data == nullptr ? 0 : length));
}

int hid_get_input_report(hid_device* dev, unsigned char*, size_t) {
    if (const std::shared_ptr<EmulatedHandle> handle = handleOf(dev)) {
        handle->setError(L"the device gives input reports only by itself");
    }
    return -1;
}

int hid_get_manufacturer_string(hid_device* dev, wchar_t* string, size_t maxlen) {
    return copyString(dev, &InterfaceInfo::manufacturer, string, maxlen);
}

int hid_get_product_string(hid_device* dev, wchar_t* string, size_t maxlen) {
    return copyString(dev, &InterfaceInfo::product, string, maxlen);
}

int hid_get_serial_number_string(hid_device* dev, wchar_t* string, size_t maxlen) {
    return copyString(dev, &InterfaceInfo::serial, string, maxlen);
}

int hid_get_indexed_string(hid_device* dev, int, wchar_t*, size_t) {
    if (const std::shared_ptr<EmulatedHandle> handle = handleOf(dev)) {
        handle->setError(L"hid_get_indexed_string: not supported by hidraw");
    }
    return -1;
}

hid_device_info* hid_get_device_info(hid_device* dev) {
    const std::lock_guard lock(library().mutex);
    const auto found = library().devices.find(dev);
    return found == library().devices.end() ? nullptr : found->second.info;
}

#if HID_API_VERSION >= HID_API_MAKE_VERSION(0, 14, 0)
int hid_get_report_descriptor(hid_device* dev, unsigned char* buf, size_t buf_size) {
    const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
    if (handle == nullptr) {
        return -1;
    }
    const Bytes& descriptor = handle->info.reportDescriptor;
    const std::size_t count = std::min(buf_size, descriptor.size());
    std::copy_n(descriptor.begin(), count, buf);
    return static_cast<int>(count);
}
#endif

const wchar_t* hid_error(hid_device* dev) {
    // Each thread has a text of its own, so that a call of another thread cannot change it.
    thread_local std::wstring text;
    if (dev == nullptr) {
        const std::lock_guard lock(library().mutex);
        text = library().error;
    } else {
        const std::shared_ptr<EmulatedHandle> handle = handleOf(dev);
        text = handle == nullptr ? L"the device is closed" : handle->lastError();
    }
    if (text.empty()) {
        text = L"Success";
    }
    return text.c_str();
}

const hid_api_version* hid_version(void) {
    static const hid_api_version version{HID_API_VERSION_MAJOR, HID_API_VERSION_MINOR, HID_API_VERSION_PATCH};
    return &version;
}

const char* hid_version_str(void) {
    return HID_API_VERSION_STR;
}
