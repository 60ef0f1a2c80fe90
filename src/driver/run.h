// The program behind main().
#pragma once

#include <string>
#include <vector>

namespace tervolanda {

class Log;

// Reads the command line (the program name first), prints a text or does a run.  Returns the exit
// status: 0, or 1 when a result could not be written in full.  Fatal conditions end the process.
int run(const std::vector<std::string>& arguments, Log& log);

}  // namespace tervolanda
