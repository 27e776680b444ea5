#pragma once

// What a toolchain without the Windows Implementation Library lacks, as far as this program uses it: owners
// of a handle and of a critical section.

#include <utility>
#include <windows.h>

namespace wil {

class unique_handle {
public:
    unique_handle() = default;
    explicit unique_handle(HANDLE owned) : handle(owned) {}
    unique_handle(unique_handle&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    unique_handle& operator=(unique_handle&& other) noexcept {
        reset(std::exchange(other.handle, nullptr));
        return *this;
    }
    ~unique_handle() { reset(); }

    void reset(HANDLE owned = nullptr) noexcept {
        if (handle != nullptr) {
            CloseHandle(handle);
        }
        handle = owned;
    }
    [[nodiscard]] HANDLE get() const noexcept { return handle; }
    explicit operator bool() const noexcept { return handle != nullptr; }

private:
    HANDLE handle = nullptr;
};

class critical_section {
public:
    class leaver {
    public:
        explicit leaver(CRITICAL_SECTION& entered) : section(entered) {}
        leaver(const leaver&) = delete;
        leaver& operator=(const leaver&) = delete;
        ~leaver() { LeaveCriticalSection(&section); }

    private:
        CRITICAL_SECTION& section;
    };

    critical_section() noexcept { InitializeCriticalSection(&section); }
    critical_section(const critical_section&) = delete;
    critical_section& operator=(const critical_section&) = delete;
    ~critical_section() { DeleteCriticalSection(&section); }

    /// Held until the result goes.
    [[nodiscard]] leaver lock() noexcept {
        EnterCriticalSection(&section);
        return leaver(section);
    }

private:
    CRITICAL_SECTION section{};
};

} // namespace wil
