// Records are brought to their full width first; what of it a line does not have is blank, and an
// occupancy that is not there is 1.
//
// The chain's author and the file agree on names here, so a part is a chain.  A residue is protein
// by its name, or when SEQRES names it among those of the file's proteins.
#include "chain/input/pdb_entry.h"

#include <algorithm>

#include "chain/input/entry.h"
#include "chain/input/entry_fields.h"
#include "chain/input/pdb_columns.h"

namespace tervolanda {

namespace {

std::size_t placeOf(char chain) {
    return static_cast<unsigned char>(chain);
}

// A number in four columns: decimal, or hybrid-36 from "A000", which is 10000, on.
std::optional<std::int64_t> residueNumber(std::string_view columns) {
    const std::string_view text = trimBlanks(columns);
    if (const auto number = wholeInteger(text)) return number;
    if (text.size() != 4 || text.front() < 'A' || text.front() > 'Z') return std::nullopt;
    std::int64_t value = 0;
    for (const char c : text) {
        const bool isDigit = c >= '0' && c <= '9';
        if (!isDigit && (c < 'A' || c > 'Z')) return std::nullopt;
        value = value * 36 + (isDigit ? c - '0' : c - 'A' + 10);
    }
    // "A000" itself is ten times 36 cubed.
    return value - std::int64_t{10} * 36 * 36 * 36 + 10000;
}

}  // namespace

bool PdbEntryReader::fail(std::string why) {
    fault_ = {lines_.number(), std::move(why)};
    return false;
}

bool PdbEntryReader::append(std::string_view piece) {
    if (isDone_) return false;
    isDone_ = !lines_.append(piece, [this](std::string_view line) { return take(line); });
    if (lines_.isTooLong()) fail("the line is too long");
    return !isDone_;
}

void PdbEntryReader::finish() {
    if (!isDone_) lines_.finish([this](std::string_view line) { return take(line); });
}

// Records are told by their first letters; what is none of these is passed over.
bool PdbEntryReader::take(std::string_view line) {
    const bool isHet = line.starts_with("HETATM");
    if (isHet || line.starts_with("ATOM")) return takeAtom(AtomRecord(line, true), isHet);
    if (line.starts_with("SEQRES")) takeSequence(line);
    if (line.starts_with("MODEL")) beginModel(line);
    if (line.starts_with("TER")) {
        hasEnded_[placeOf(line.size() > 21 ? line[21] : residueColumns_[4])] = true;
    }
    return !builder_.isPastModel();
}

// Thirteen names of residues stand in columns 20 to 70.
void PdbEntryReader::takeSequence(std::string_view line) {
    for (std::size_t at = 19; at + 3 <= std::min<std::size_t>(line.size(), 70); at += 4)
        builder_.notePolymerName(line.substr(at, 3));
}

// Chains end once in each model, and its first record is compared with none of the model before.
void PdbEntryReader::beginModel(std::string_view line) {
    model_ = leadingInteger(line.substr(5));
    hasEnded_.fill(false);
    residueColumns_.assign("\n         ");
}

bool PdbEntryReader::beginPlace(const AtomRecord& record) {
    const std::string_view chain = record.columns(22, 22);
    isWanted_ = builder_.beginPlace({.model = model_,
                                     .chain = chain,
                                     .part = chain,
                                     .entity = {},
                                     .residueName = record.columns(18, 20)});
    if (!isWanted_) return true;
    const std::string_view columns = record.columns(23, 26);
    const auto number = residueNumber(columns);
    if (!number || *number < kLeastResidueNumber || *number > kMostResidueNumber) {
        return fail("'" + std::string(columns) + "' is no number of a residue that can be used");
    }
    builder_.beginResidue({static_cast<std::int16_t>(*number), record.column(27)});
    return true;
}

bool PdbEntryReader::takeAtom(const AtomRecord& record, bool isHet) {
    // What follows the end of a chain are its ligands.
    if (isHet && hasEnded_[placeOf(record.column(22))]) return true;
    const std::string_view columns = record.columns(18, 27);
    if (columns != residueColumns_.view()) {
        residueColumns_.assign(columns);
        if (!beginPlace(record)) return false;
    }
    if (!isWanted_) return !builder_.isPastModel();
    const FixedText<2> element = columnsOfElement(trimBlanks(record.columns(77, 78)));
    const auto name = columnsOfName(trimBlanks(record.columns(13, 16)), trimBlanks(element.view()));
    if (!name) return true;
    Atom* const atom = builder_.add(name->view(), record.column(17));
    if (atom == nullptr) return !builder_.exceeds();
    atom->element = element;
    return fillAtom(record, *atom);
}

bool PdbEntryReader::fillAtom(const AtomRecord& record, Atom& atom) {
    for (const auto& [column, place] : {std::pair(31, &atom.x), {39, &atom.y}, {47, &atom.z}}) {
        const auto first = static_cast<std::size_t>(column);
        const std::string field(record.columns(first, first + 7));
        const auto number = coordinateIn(trimBlanks(field));
        if (!number) return fail("'" + field + "' is no coordinate");
        *place = *number;
    }
    for (const auto& [column, place] : {std::pair(55, &atom.occupancy), {61, &atom.bFactor}}) {
        const auto first = static_cast<std::size_t>(column);
        const std::string field(trimBlanks(record.columns(first, first + 5)));
        if (field.empty()) continue;
        const auto number = wholeReal(field);
        if (!number) return fail("'" + field + "' is no number");
        *place = *number;
    }
    const std::string_view charge = record.columns(79, 80);
    if (charge[0] >= '1' && charge[0] <= '9' && (charge[1] == '+' || charge[1] == '-'))
        atom.charge.assign(charge);
    return true;
}

}  // namespace tervolanda
