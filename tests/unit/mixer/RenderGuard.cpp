#include "tests/unit/mixer/RenderGuard.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>
#include <vector>

// The names by which the C library itself gives its functions out.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* memory);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

// Reports go to a descriptor that nothing under test knows, so that a line on standard error is found out.
constexpr int kReportDescriptor = 733;

thread_local bool insideRender = false;
thread_local std::uint64_t allocations = 0;
thread_local std::size_t largestAllocation = 0;
std::array<renderGuard::AllowedObject, 4> allowedObjects{};
std::atomic<std::uint64_t> lockCount{0};
std::atomic<std::uint64_t> contendedCount{0};

void report(const char* format, ...) __attribute__((format(printf, 1, 2)));
void report(const char* format, ...) {
    std::array<char, 200> line;
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(line.data(), line.size(), format, arguments);
    va_end(arguments);
    if (length > 0) {
        static_cast<void>(!::write(kReportDescriptor, line.data(), static_cast<std::size_t>(length)));
    }
}

[[noreturn]] void end() {
    __builtin_trap();
}

void noteAllocation(const char* function, std::size_t size) {
    ++allocations;
    largestAllocation = std::max(largestAllocation, size);
    if (insideRender) {
        insideRender = false;
        report("%s in a render call\n", function);
        end();
    }
}

bool isAllowed(const void* address) {
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    return std::ranges::any_of(allowedObjects, [at](const renderGuard::AllowedObject& object) {
        const auto from = reinterpret_cast<std::uintptr_t>(object.address);
        return at >= from && at < from + object.size;
    });
}

void noteLock(const char* function, const void* address) {
    if (!insideRender) {
        return;
    }
    if (!isAllowed(address)) {
        insideRender = false;
        report("%s of a foreign lock in a render call\n", function);
        end();
    }
    lockCount.fetch_add(1, std::memory_order_relaxed);
}

template <typename Function>
Function next(Function, const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// A note of a lock or wait, then the function itself.
template <auto kFunction, typename Object, typename... Arguments>
int noted(const char* name, Object* object, Arguments... arguments) {
    noteLock(name, const_cast<const void*>(static_cast<const volatile void*>(object)));
    static const auto real = next(kFunction, name); // may wait for the loader, so not before the note
    return real(object, arguments...);
}

void onForbiddenCall(int, siginfo_t* info, void*) {
    insideRender = false;
    report("system call %d in a render call\n", info->si_syscall);
    end();
}

using Program = std::vector<sock_filter>;

void append(Program& program, std::uint16_t code, std::uint32_t value, std::uint8_t ifTrue = 0,
            std::uint8_t ifFalse = 0) {
    program.push_back({code, ifTrue, ifFalse, value});
}

// Allows a call whose first argument lies in [from, to).
void allowRange(Program& program, long call, std::uint64_t from, std::uint64_t to) {
    const auto high = [](std::uint64_t value) {
        return static_cast<std::uint32_t>(value >> 32);
    };
    const auto low = [](std::uint64_t value) {
        return static_cast<std::uint32_t>(value);
    };
    if (high(from) != high(to)) {
        report("an allowed object lies across a border of 4 GB\n");
        end();
    }
    append(program, BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    append(program, BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 6);
    append(program, BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args) + 4);
    append(program, BPF_JMP | BPF_JEQ | BPF_K, high(from), 0, 4);
    append(program, BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args));
    append(program, BPF_JMP | BPF_JGE | BPF_K, low(from), 0, 2);
    append(program, BPF_JMP | BPF_JGE | BPF_K, low(to), 1, 0);
    append(program, BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
}

void allowCall(Program& program, long call) {
    append(program, BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
    append(program, BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1);
    append(program, BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
}

void installFilter() {
    Program program;
    for (const renderGuard::AllowedObject& object : allowedObjects) {
        const auto from = reinterpret_cast<std::uintptr_t>(object.address);
        if (object.size > 0) {
            allowRange(program, SYS_futex, from, from + object.size);
        }
    }
    allowRange(program, SYS_write, kReportDescriptor, kReportDescriptor + 1);
    allowCall(program, SYS_exit_group);
    allowCall(program, SYS_rt_sigreturn);
    append(program, BPF_RET | BPF_K, SECCOMP_RET_TRAP);
    const sock_fprog description{static_cast<unsigned short>(program.size()), program.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &description) != 0) {
        report("no filter for system calls: %s\n", std::strerror(errno));
        end();
    }
    // `program` is released with the filter on, which needs no call: it is small.
}

} // namespace

namespace renderGuard {

void watchThisThread(std::span<const AllowedObject> allowed) {
    std::ranges::copy(allowed, allowedObjects.begin());
    if (dup2(STDERR_FILENO, kReportDescriptor) < 0) {
        end();
    }
    struct sigaction action{};
    action.sa_sigaction = onForbiddenCall;
    action.sa_flags = SA_SIGINFO | SA_NODEFER;
    sigaction(SIGSYS, &action, nullptr);
    installFilter();
}

void beginRender() {
    insideRender = true;
}
void endRender() {
    insideRender = false;
}

std::uint64_t contendedLocks() {
    return contendedCount.load();
}

void finish() {
    report("%llu locks, %llu contended\n", static_cast<unsigned long long>(lockCount.load()),
           static_cast<unsigned long long>(contendedCount.load()));
    _exit(0);
}

std::uint64_t allocationsOfThisThread() {
    return allocations;
}

std::size_t largestAllocationOfThisThread() {
    return largestAllocation;
}

} // namespace renderGuard

// The replaced functions of the C library.
extern "C" {

void* malloc(std::size_t size) {
    noteAllocation("malloc", size);
    return __libc_malloc(size);
}

void* calloc(std::size_t count, std::size_t size) {
    noteAllocation("calloc", count * size);
    return __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) {
    noteAllocation("realloc", size);
    return __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
    noteAllocation("aligned_alloc", size);
    return __libc_memalign(alignment, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
    noteAllocation("memalign", size);
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) {
    noteAllocation("posix_memalign", size);
    *memory = __libc_memalign(alignment, size);
    return *memory != nullptr ? 0 : ENOMEM;
}

void free(void* memory) {
    if (insideRender && memory != nullptr) {
        noteAllocation("free", 0);
    }
    __libc_free(memory);
}

int pthread_mutex_lock(pthread_mutex_t* mutex) {
    static const auto real = next(&pthread_mutex_lock, "pthread_mutex_lock");
    static const auto realTry = next(&pthread_mutex_trylock, "pthread_mutex_trylock");
    noteLock("pthread_mutex_lock", mutex);
    if (insideRender) {
        if (realTry(mutex) == 0) {
            return 0;
        }
        contendedCount.fetch_add(1, std::memory_order_relaxed);
    }
    return real(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t* lock) {
    return noted<&pthread_mutex_trylock>("pthread_mutex_trylock", lock);
}

int pthread_mutex_timedlock(pthread_mutex_t* lock, const timespec* end) {
    return noted<&pthread_mutex_timedlock>("pthread_mutex_timedlock", lock, end);
}

int pthread_mutex_clocklock(pthread_mutex_t* lock, clockid_t clock, const timespec* end) {
    return noted<&pthread_mutex_clocklock>("pthread_mutex_clocklock", lock, clock, end);
}

int pthread_spin_lock(pthread_spinlock_t* lock) {
    return noted<&pthread_spin_lock>("pthread_spin_lock", lock);
}

int pthread_spin_trylock(pthread_spinlock_t* lock) {
    return noted<&pthread_spin_trylock>("pthread_spin_trylock", lock);
}

int pthread_rwlock_rdlock(pthread_rwlock_t* lock) {
    return noted<&pthread_rwlock_rdlock>("pthread_rwlock_rdlock", lock);
}

int pthread_rwlock_tryrdlock(pthread_rwlock_t* lock) {
    return noted<&pthread_rwlock_tryrdlock>("pthread_rwlock_tryrdlock", lock);
}

int pthread_rwlock_timedrdlock(pthread_rwlock_t* lock, const timespec* end) {
    return noted<&pthread_rwlock_timedrdlock>("pthread_rwlock_timedrdlock", lock, end);
}

int pthread_rwlock_clockrdlock(pthread_rwlock_t* lock, clockid_t clock, const timespec* end) {
    return noted<&pthread_rwlock_clockrdlock>("pthread_rwlock_clockrdlock", lock, clock, end);
}

int pthread_rwlock_wrlock(pthread_rwlock_t* lock) {
    return noted<&pthread_rwlock_wrlock>("pthread_rwlock_wrlock", lock);
}

int pthread_rwlock_trywrlock(pthread_rwlock_t* lock) {
    return noted<&pthread_rwlock_trywrlock>("pthread_rwlock_trywrlock", lock);
}

int pthread_rwlock_timedwrlock(pthread_rwlock_t* lock, const timespec* end) {
    return noted<&pthread_rwlock_timedwrlock>("pthread_rwlock_timedwrlock", lock, end);
}

int pthread_rwlock_clockwrlock(pthread_rwlock_t* lock, clockid_t clock, const timespec* end) {
    return noted<&pthread_rwlock_clockwrlock>("pthread_rwlock_clockwrlock", lock, clock, end);
}

int pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* lock) {
    return noted<&pthread_cond_wait>("pthread_cond_wait", condition, lock);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* lock, const timespec* end) {
    return noted<&pthread_cond_timedwait>("pthread_cond_timedwait", condition, lock, end);
}

int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* lock, clockid_t clock,
                           const timespec* end) {
    return noted<&pthread_cond_clockwait>("pthread_cond_clockwait", condition, lock, clock, end);
}

int sem_wait(sem_t* semaphore) {
    return noted<&sem_wait>("sem_wait", semaphore);
}

int sem_trywait(sem_t* semaphore) {
    return noted<&sem_trywait>("sem_trywait", semaphore);
}

int sem_timedwait(sem_t* semaphore, const timespec* end) {
    return noted<&sem_timedwait>("sem_timedwait", semaphore, end);
}

int sem_clockwait(sem_t* semaphore, clockid_t clock, const timespec* end) {
    return noted<&sem_clockwait>("sem_clockwait", semaphore, clock, end);
}
}
