// The whole program, but for what main() does to the process.
#pragma once

#include <string>
#include <vector>

namespace tervolanda {

class LineStreams;

// Reads the command line (the program name first), prints a text or does a run.  Returns the exit
// status: 0, or 1 after a fatal condition or when a result could not be written in full.  All lines
// go to the streams, which take the log file that the command line may name.
int run(const std::vector<std::string>& arguments, LineStreams& streams);

}  // namespace tervolanda
