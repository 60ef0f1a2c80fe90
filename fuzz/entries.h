// What the targets for entries share: rules chosen by the bytes, and what every reading has to be.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <string_view>

#include "chain/input/input.h"

namespace tervolanda::fuzz {

// Rules as the bytes choose them; PDB text is read as an entry, too.
ReadRequest chooseEntryRequest(FuzzedDataProvider& input);

// Reads the text as an entry, as it is and with CR LF at the ends of its lines.  What is read are
// sound chains of the rules' choice, a reading that fails says why, and the two agree.
void requireSoundEntry(const std::string& text, const ReadRequest& request);

}  // namespace tervolanda::fuzz
