#include "platform/linux/system/SignalStack.h"

#include <csignal>
#include <cstddef>
#include <sys/mman.h>
#include <unistd.h>

namespace {

// What a handler needs beyond what the system itself puts there.
constexpr std::size_t kHandlerBytes = std::size_t{64} << 10U;

class SignalStack {
public:
    SignalStack() noexcept {
        stack_t former{};
        if (sigaltstack(nullptr, &former) != 0 || (former.ss_flags & SS_DISABLE) == 0) {
            return;
        }
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const long wanted = sysconf(_SC_MINSIGSTKSZ);
        const std::size_t bytes = kHandlerBytes + (wanted > 0 ? static_cast<std::size_t>(wanted) : 0);
        size = (bytes + page - 1) / page * page + page;
        memory =
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (memory == MAP_FAILED) {
            memory = nullptr;
            return;
        }
        // A handler that needs even more ends the process; it does not write elsewhere.
        mprotect(memory, page, PROT_NONE);
        const stack_t own{static_cast<std::byte*>(memory) + page, 0, size - page};
        sigaltstack(&own, nullptr);
    }
    ~SignalStack() {
        if (memory == nullptr) {
            return;
        }
        stack_t none{};
        none.ss_flags = SS_DISABLE;
        sigaltstack(&none, nullptr);
        munmap(memory, size);
    }
    SignalStack(const SignalStack&) = delete;
    SignalStack& operator=(const SignalStack&) = delete;

private:
    void* memory = nullptr;
    std::size_t size = 0;
};

} // namespace

void giveSignalStack() noexcept {
    thread_local const SignalStack stack;
}
