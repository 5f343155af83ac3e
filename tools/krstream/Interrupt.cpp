#include "Interrupt.h"

#include <csignal>
#include <cstdlib>
#include <initializer_list>

namespace {

volatile std::sig_atomic_t interrupt = 0;

void Remember(int signal) {
    interrupt = signal;
}

} // namespace

void RememberInterrupts() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        sigaction(signal, nullptr, &action);
        if (action.sa_handler == SIG_IGN) {
            continue;
        }
        action = {};
        action.sa_handler = Remember;
        // No restarting: a read from a terminal or pipe has to come back.
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigaction(signal, &action, nullptr);
    }
}

void StopIfInterrupted() {
    if (interrupt != 0) {
        throw Interrupted();
    }
}

void EndByInterrupt() {
    std::signal(interrupt, SIG_DFL);
    std::raise(interrupt);
    std::abort();
}
