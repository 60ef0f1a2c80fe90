// The fatal end of a run.
//
// All files of this room use it, and none outside: a lower room returns what is wrong, and the run
// mode that asked for it decides whether the run can go on.  An Abend is always about what a user
// gave or what the system refused; a defect of the program is an assert.
#pragma once

#include <optional>
#include <stdexcept>
#include <string>

namespace tervolanda {

// What is wrong with a run, as the exit status of strict runs, by which scripts tell what to do:
// mend the call, mend the input, look at the pairs, make room.  Without --strict all are 1, as
// ever.
enum class Fault : int { Usage = 2, Input = 3, Incomplete = 4, NotWritten = 5 };

// What a run cannot go on from; what() is the text of its ABEND line.  Thrown within the driver and
// caught by run(): no other room knows it.
class Abend : public std::runtime_error {
 public:
    Abend(const std::string& message, std::optional<Fault> fault)
        : std::runtime_error(message), fault_(fault) {}
    std::optional<Fault> fault() const { return fault_; }

 private:
    std::optional<Fault> fault_;
};

// A fault of the command line as long as no run has started, and of the input from then on.
[[noreturn, gnu::format(printf, 1, 2)]] void abend(const char* pattern, ...);
// A fault of another kind than the time tells, as a file that cannot be written.
[[noreturn, gnu::format(printf, 2, 3)]] void abend(Fault fault, const char* pattern, ...);

}  // namespace tervolanda
