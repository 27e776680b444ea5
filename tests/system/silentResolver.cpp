// Stands before the C library's function of this name: a resolver that answers nothing for a minute.

#include <netdb.h>
#include <unistd.h>

extern "C" int getaddrinfo(const char*, const char*, const addrinfo*, addrinfo**) {
    static constexpr unsigned kSilenceSeconds = 60;
    sleep(kSilenceSeconds);
    return EAI_AGAIN;
}
