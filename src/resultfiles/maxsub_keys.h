// The keys at the front of the records of MaxSub files; those of all result files are in
// result_record.h.
//
// The blanks belong to them: a key is what a line begins with, to the letter.
#pragma once

#include <string_view>

namespace tervolanda {

// The full file: superpositions with scores, and residue pairs.
inline constexpr std::string_view kTransformationKey = "TRANS:";
inline constexpr std::string_view kPositionKey = "POS  :";
// The lite file: scores, and chain records with a key of their own.
inline constexpr std::string_view kScoreKey = "MS :";
inline constexpr std::string_view kLiteChainKey = "PDB:";

}  // namespace tervolanda
