// The time that the comparisons of a run took, without reading, clustering and writing.
//
// The line is the one that comparisons of outputs leave out: all others are the same in every run.
#pragma once

#include <ctime>

namespace tervolanda {

class Log;

// Starts when it is made; CPU seconds are those of all threads together.
class RunTimer {
 public:
    RunTimer() : startCpu_(std::clock()), startWall_(std::time(nullptr)) {}
    // Writes the line with the CPU seconds since the start; where there are none yet (less than a
    // millisecond) with the seconds that have passed on the clock.
    void stop(Log& log) const;

 private:
    std::clock_t startCpu_;
    std::time_t startWall_;
};

}  // namespace tervolanda
