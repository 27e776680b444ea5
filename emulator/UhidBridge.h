// Makes the plugged devices real to every program of the machine, through the kernel's /dev/uhid. One thread,
// that of the bus.
#pragma once

#include "emulator/VirtualBus.h"

namespace vexo::emulator {

class UhidBridge {
public:
    explicit UhidBridge(VirtualBus& virtualBus) : bus(virtualBus) {}
    ~UhidBridge();
    UhidBridge(const UhidBridge&) = delete;
    UhidBridge& operator=(const UhidBridge&) = delete;

    // Whether the kernel lets us; if not, a sentence for the person who asked.
    static std::optional<std::string> whyNot();

    // Creates what was plugged and destroys what was unplugged since the last call.
    void update();
    // Handles that become readable when the kernel has something to say.
    std::vector<int> nativeHandles() const;
    void onReadable(int nativeHandle);
    // True when the handle is one of the bridge's own.
    bool inputReport(VirtualBus::HandleId handle, const Bytes& report);
    bool unplugged(VirtualBus::HandleId handle);

private:
    struct KernelDevice {
        std::string path;
        int nativeHandle = -1;
        // While a program has it open.
        std::optional<VirtualBus::HandleId> handle;
    };

    bool create(const InterfaceInfo& info);
    void destroy(KernelDevice& device);

    VirtualBus& bus;
    std::vector<KernelDevice> devices;
};

} // namespace vexo::emulator
