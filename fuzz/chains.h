// Chains for the fuzz targets: made from the fuzzer's bytes, looked over after a read, and read a
// second time by a literal reader that shares no code with the program's.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "chain/input/input.h"

namespace tervolanda::fuzz {

// --- Reading -------------------------------------------------------------------------------------

struct Reading {
    ReadRequest request;
    ResidueExclusions exclusions;
};

// What the bytes choose; true when no check is among it.
bool chooseReading(FuzzedDataProvider& input, Reading& reading);

// The chains that are read, none after a failure, which has to be an ERROR line; that they are what
// the request promises.
std::vector<Chain> requireSoundReading(const std::string& path, const Reading& reading);

// That the chains have the same atoms in the same order.
void requireSameChains(const std::vector<Chain>& a, const std::vector<Chain>& b);

// That a full ATOM line of each atom, read again, gives the atom back.
void requireWritable(const Chain& chain);

// Whether a text may be taken for mmCIF, which targets of its own read.
inline bool beginsAsMmcif(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r\n\v\f");
    return first != std::string_view::npos && (text[first] == 'd' || text[first] == 'D');
}

// --- A second reader -----------------------------------------------------------------------------

// The records of plain text: pieces of lines, of at most 80 characters, that begin with "ATOM".
std::vector<std::string_view> plainRecords(std::string_view text);

// The records of text from a compressed file: "ATOM" and two blanks anywhere, up to the line end,
// with at least 54 characters of text from there on.
std::vector<std::string_view> scannedRecords(std::string_view text);

// The chains of these records, without residues and unchecked.
std::vector<Chain> takeRecords(const std::vector<std::string_view>& records, std::uint16_t options,
                               const ResidueExclusions& exclusions);

// --- Made chains ---------------------------------------------------------------------------------

// A chain of up to kLongestChain residues with a backbone or C-alpha atoms alone: a helix, a coil,
// or places that the bytes say; numbers may start anywhere, skip, and have insertion codes.
Chain makeChain(FuzzedDataProvider& input);

// `chain` changed as the bytes say: moved, mirrored, shaken, bent, renumbered, cut, one atom thrown
// far away, or not at all.
Chain makeVariant(const Chain& chain, FuzzedDataProvider& input);

inline constexpr std::size_t kLongestChain = 20;

// The chain as the text of a structure file.
std::string chainText(const Chain& chain);

}  // namespace tervolanda::fuzz
