// What --strict does not let pass: arguments and inputs that are otherwise ignored, or guessed at,
// in silence.  All of it ends the run by an Abend.
//
// The lenient reading itself stays what it is: a strict run that gets through is the same run, byte
// for byte.
#pragma once

#include <string>
#include <vector>

namespace tervolanda {

// What options of two dashes say that the others depend on.
struct OtherOptions {
    bool hasList = false;        // one of them stands in place of the list
    bool comparesByOne = false;  // by a measure that one of them names
};

// Looks at the arguments, the program name first, without the options of two dashes.
void checkArguments(const std::vector<std::string>& arguments, const OtherOptions& others);

}  // namespace tervolanda
