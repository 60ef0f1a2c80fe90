// The texts that the program prints about itself. run() prints what a command line asks for.
//
// The texts of the older options are given to the byte, blank lines and all; those of two dashes
// are made of their table (own_options.cpp), so that no option can lack its line.
#pragma once

#include <string>

namespace tervolanda {

inline constexpr const char* kProgramName = "tervolanda";
inline constexpr const char* kProgramVersion = "0.6.6";

// Two lines: name and version, and the shortest call.
std::string shortUsage();
std::string standardHelp();
// The standard help and all further options.  `lineWrap` is the line wrap now in force.
std::string extendedHelp(int lineWrap);
// The options of two dashes.
std::string moreHelp();
// Name and version, when it was built, what it is.
std::string versionText();

}  // namespace tervolanda
