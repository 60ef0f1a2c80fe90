// What --strict does not let pass: arguments and inputs that are otherwise ignored, or guessed at,
// in silence.  All of it ends the run by an Abend.
//
// The lenient reading itself stays what it is: a strict run that gets through is the same run, byte
// for byte.
#pragma once

#include <string>
#include <vector>

namespace tervolanda {

// Looks at the arguments, the program name first, without the options of two dashes; one of these
// may stand in place of the list.
void checkArguments(const std::vector<std::string>& arguments, bool hasOtherList);

}  // namespace tervolanda
