// Atom records and structure files made in a line.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/format.h"
#include "chain/input/input.h"
#include "support/support.h"

namespace tervolanda::test {

// What a record says; the defaults are those of a C-alpha atom of alanine 1 in chain A.
struct Record {
    const char* name = " CA ";
    const char* residue = "ALA";
    int number = 1;
    char insertionCode = ' ';
    char chain = 'A';
    double x = 0.0, y = 0.0, z = 0.0;
};

// A line of 66 columns and its line end.
inline std::string line(const Record& r) {
    return format("ATOM  %5d %-4s %-3s %c%4d%c   %8.3f%8.3f%8.3f  0.50 12.25\n", 7, r.name,
                  r.residue, r.chain, r.number, r.insertionCode, r.x, r.y, r.z);
}

// The chains of a file that holds `text`.
inline std::optional<ChainSet> readText(std::string_view text, const ReadRequest& request, Log& log,
                                        const ResidueExclusions& exclusions = {}) {
    const TemporaryFolder folder;
    return readStructureFile(folder.write("a.pdb", text), request, exclusions, log);
}

// All atoms of the first chain in `text`, unchecked.
inline Chain chainIn(std::string_view text) {
    CapturedLog captured;
    ReadRequest request;
    request.options = ReadAllAtoms;
    return readText(text, request, captured.log)->chains.at(0);
}

}  // namespace tervolanda::test
