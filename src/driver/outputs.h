// The files that a run writes, and the check that they are different ones.
#pragma once

#include <optional>
#include <string>

namespace tervolanda {

struct Settings;

// Scripts of pairwise runs and of list runs, in the working directory.
inline constexpr const char* kPairScript = "align.rsm";
inline constexpr const char* kListScript = "super.rsm";

// The text of a fatal message when two outputs of the run, standard output among them, would be the
// same regular file, by the same name or another: one would be lost, or both mixed.  Devices and
// pipes take any number of outputs.
std::optional<std::string> sharedOutput(const Settings& settings);

}  // namespace tervolanda
