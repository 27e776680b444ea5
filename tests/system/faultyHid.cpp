// Stands before hidapi's function of this name: a fault in the midst of the program's scan for devices.

// NOLINTNEXTLINE(readability-identifier-naming): the library's
extern "C" void* hid_enumerate(unsigned short, unsigned short) {
    volatile int* volatile nowhere = reinterpret_cast<int*>(0x10);
    *nowhere = 1;
    return nullptr;
}
