// Lists the HID devices through whichever hidapi the loader finds. It is linked to the real library and takes
// the address of every function, so that a library in its place must have them all.

#include <cstdio>
#include <hidapi/hidapi.h>

int main() {
    const void* const functions[] = {
        reinterpret_cast<const void*>(&hid_init),
        reinterpret_cast<const void*>(&hid_exit),
        reinterpret_cast<const void*>(&hid_enumerate),
        reinterpret_cast<const void*>(&hid_free_enumeration),
        reinterpret_cast<const void*>(&hid_open),
        reinterpret_cast<const void*>(&hid_open_path),
        reinterpret_cast<const void*>(&hid_write),
        reinterpret_cast<const void*>(&hid_read_timeout),
        reinterpret_cast<const void*>(&hid_read),
        reinterpret_cast<const void*>(&hid_set_nonblocking),
        reinterpret_cast<const void*>(&hid_send_feature_report),
        reinterpret_cast<const void*>(&hid_get_feature_report),
        reinterpret_cast<const void*>(&hid_get_input_report),
        reinterpret_cast<const void*>(&hid_close),
        reinterpret_cast<const void*>(&hid_get_manufacturer_string),
        reinterpret_cast<const void*>(&hid_get_product_string),
        reinterpret_cast<const void*>(&hid_get_serial_number_string),
        reinterpret_cast<const void*>(&hid_get_device_info),
        reinterpret_cast<const void*>(&hid_get_indexed_string),
        reinterpret_cast<const void*>(&hid_get_report_descriptor),
        reinterpret_cast<const void*>(&hid_error),
        reinterpret_cast<const void*>(&hid_version),
        reinterpret_cast<const void*>(&hid_version_str),
    };
    for (const void* const function : functions) {
        if (function == nullptr) {
            return 1;
        }
    }
    hid_device_info* const devices = hid_enumerate(0, 0);
    for (const hid_device_info* device = devices; device != nullptr; device = device->next) {
        std::printf("%s %04X:%04X\n", device->path, device->vendor_id, device->product_id);
    }
    hid_free_enumeration(devices);
    return hid_exit();
}
