#pragma once

#include <csignal>
#include <sys/resource.h>

/// A disk that is full at this length of a file, as long as the object lives, for this process.
class FullDisk {
public:
    explicit FullDisk(rlim_t length) {
        getrlimit(RLIMIT_FSIZE, &before);
        rlimit limit = before;
        limit.rlim_cur = length;
        setrlimit(RLIMIT_FSIZE, &limit);
        handler = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FullDisk() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit before{};
    void (*handler)(int) = nullptr;
};
