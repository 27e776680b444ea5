#include "platform/BrokenPipes.h"

#include <csignal>

namespace {

// No SIG_IGN: started programs take over what is ignored, but no handler.
void goOn(int) {}

} // namespace

void outliveBrokenPipes() {
    struct sigaction former{};
    if (sigaction(SIGPIPE, nullptr, &former) != 0 || former.sa_handler != SIG_DFL) {
        return;
    }
    struct sigaction action{};
    action.sa_handler = goOn;
    action.sa_flags = SA_RESTART;
    sigaction(SIGPIPE, &action, nullptr);
}
