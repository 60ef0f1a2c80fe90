// A structure file is read a second time for its records, since a chain holds what comparisons need
// and nothing else.  Only what moves is changed: columns 31 to 54 of an atom's record, its place,
// and 29 to 70 of an ANISOU record, the directions in which it vibrates.  A field that is no
// number, or a result that does not fit its columns, leaves the record as it was.
#include "export/structure_copy.h"

#include <array>
#include <cmath>
#include <optional>
#include <span>

#include "base/format.h"
#include "base/text.h"
#include "chain/input/input.h"

namespace tervolanda {

namespace {

constexpr std::size_t kCoordinates = 30;  // their first column, from 0
constexpr std::size_t kCoordinateWidth = 8;
constexpr std::size_t kFactors = 28;  // of an ANISOU record
constexpr std::size_t kFactorWidth = 7;

// Neighbouring fields of numbers; none where one of them is missing or no number.
template <std::size_t Count>
std::optional<std::array<double, Count>> numbersAt(std::string_view line, std::size_t first,
                                                   std::size_t width) {
    if (line.size() < first + Count * width) return std::nullopt;
    std::array<double, Count> numbers{};
    for (std::size_t i = 0; i < Count; ++i) {
        const auto number = wholeReal(trimBlanks(line.substr(first + i * width, width)));
        if (!number) return std::nullopt;
        numbers[i] = *number;
    }
    return numbers;
}

// The record with its place moved, as it is where that is no place.
void appendMovedAtom(std::string& out, std::string_view line, const Superposition& motion) {
    const auto place = numbersAt<3>(line, kCoordinates, kCoordinateWidth);
    if (!place) {
        out += line;
        return;
    }
    out += line.substr(0, kCoordinates);
    for (const double coordinate : motion.apply((*place)[0], (*place)[1], (*place)[2]))
        out += formatCoordinate(coordinate);
    out += line.substr(kCoordinates + 3 * kCoordinateWidth);
}

// The tensor U of a record is six whole numbers, 10^4 Å²: U11 U22 U33 U12 U13 U23.  Moved it is
// R U R^T.  kPlace says where in the record an element
// of the symmetric matrix stands, kCell which element stands at a place.
void appendTurnedFactors(std::string& out, std::string_view line, const Superposition& motion) {
    constexpr std::array<std::array<std::size_t, 3>, 3> kPlace = {
        {{0, 3, 4}, {3, 1, 5}, {4, 5, 2}}};
    constexpr std::array<std::array<std::size_t, 2>, 6> kCell = {
        {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2}, {1, 2}}};
    const auto factors = numbersAt<6>(line, kFactors, kFactorWidth);
    std::string turned;
    if (factors) {
        for (const auto [i, j] : kCell) {
            double sum = 0.0;
            for (std::size_t k = 0; k < 3; ++k) {
                for (std::size_t l = 0; l < 3; ++l) {
                    sum += motion.rotation[3 * i + k] * (*factors)[kPlace[k][l]] *
                           motion.rotation[3 * j + l];
                }
            }
            turned += format("%7.0f", withoutNegativeZero(sum, 0));
        }
    }
    const bool fits = turned.size() == 6 * kFactorWidth;
    if (!fits) {
        out += line;
        return;
    }
    out += line.substr(0, kFactors);
    out += turned;
    out += line.substr(kFactors + turned.size());
}

}  // namespace

std::optional<StructureCopy> copyOf(const Chain& chain) {
    if (!canBeReadAgain(chain.fileName))
        return StructureCopy{StructureForm::Pdb, atomRecords(chain)};
    std::optional<std::string> text = readStructureText(chain.fileName);
    if (!text) return std::nullopt;
    const bool isMmcif = text->find("_atom_site.") != std::string::npos;
    return StructureCopy{isMmcif ? StructureForm::Mmcif : StructureForm::Pdb, *std::move(text)};
}

std::string atomRecords(const Chain& chain) {
    std::string text;
    int serial = 0;
    for (const Atom& atom : chain.atoms) {
        if (serial > 0 && atom.subunit != (&atom - 1)->subunit) text += "TER\n";
        text += formatFullAtomLine(atom, ++serial);
    }
    return text + "TER\nEND\n";
}

std::string movedRecords(std::string_view text, const Superposition& motion) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end == std::string_view::npos ? end : end + 1);
        if (line.starts_with("ATOM") || line.starts_with("HETATM")) {
            appendMovedAtom(out, line, motion);
        } else if (line.starts_with("ANISOU")) {
            appendTurnedFactors(out, line, motion);
        } else {
            out += line;
        }
        text.remove_prefix(line.size());
    }
    return out;
}

}  // namespace tervolanda
