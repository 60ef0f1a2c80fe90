// The signals by which a user or a batch system ends a run, and how they wait for a moment.
//
// OutputFile holds them while a file has a name that nobody should find, and threads start with
// them held, so that they reach the thread that owns the files.  No handler does more than end the
// line on the terminal: what a run leaves on the disk is right at every moment.
#pragma once

#include <array>
#include <csignal>

namespace tervolanda {

inline constexpr std::array<int, 3> kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

// While it lives the ending signals wait; the destructor lets those that have come take effect.
// Signals that the program was told to ignore (nohup) or to block stay as they are.
class SignalHold {
 public:
    SignalHold();
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;
    ~SignalHold();

 private:
    sigset_t held_{};
};

}  // namespace tervolanda
