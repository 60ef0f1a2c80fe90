// The files that a run writes, and the check that they are different ones.
#pragma once

#include <optional>
#include <span>
#include <string>

namespace tervolanda {

struct InputStructure;
struct Settings;

// Scripts of pairwise runs and of list runs, in the working directory.
inline constexpr const char* kPairScript = "align.rsm";
inline constexpr const char* kListScript = "super.rsm";

// The text of a fatal message when two outputs of the run, standard output among them, would be the
// same regular file, by the same name or another: one would be lost, or both mixed.  Devices and
// pipes take any number of outputs.
std::optional<std::string> sharedOutput(const Settings& settings);

// The same when a file that an option of two dashes names is one that the command line names for
// reading, or one of `structures`, which are known once a list has been read.
std::optional<std::string> replacedInput(const Settings& settings);
std::optional<std::string> replacedInput(const Settings& settings,
                                         std::span<const InputStructure> structures);

}  // namespace tervolanda
