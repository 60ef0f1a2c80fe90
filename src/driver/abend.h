// The fatal end of a run.
#pragma once

#include <stdexcept>

namespace tervolanda {

// What a run cannot go on from; what() is the text of its ABEND line.  Thrown within the driver and
// caught by run(): no other room knows it.
class Abend : public std::runtime_error {
 public:
    using std::runtime_error::runtime_error;
};

[[noreturn, gnu::format(printf, 1, 2)]] void abend(const char* pattern, ...);

}  // namespace tervolanda
