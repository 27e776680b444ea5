#pragma once

#include <unistd.h>
#include <utility>

/// A file descriptor that is closed with its owner; -1 for none.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : number(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }
    ~FileDescriptor() {
        if (number >= 0) {
            close(number);
        }
    }

    [[nodiscard]] bool isOpen() const { return number >= 0; }
    [[nodiscard]] int get() const { return number; }

private:
    int number = -1;
};
