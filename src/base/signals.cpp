// Blocking instead of a handler that clears up: nothing has to be known outside of the object, and
// what is done in the meantime may be any code.
#include "base/signals.h"

namespace tervolanda {

SignalHold::SignalHold() {
    sigset_t blocked;
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    sigemptyset(&held_);
    for (const int number : kEndingSignals) {
        struct sigaction action {};
        sigaction(number, nullptr, &action);
        // A blocked signal waits even if it is ignored.
        if (action.sa_handler != SIG_IGN && sigismember(&blocked, number) == 0) {
            sigaddset(&held_, number);
        }
    }
    pthread_sigmask(SIG_BLOCK, &held_, nullptr);
}

SignalHold::~SignalHold() {
    pthread_sigmask(SIG_UNBLOCK, &held_, nullptr);
}

}  // namespace tervolanda
