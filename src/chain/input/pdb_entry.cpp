// Records are brought to their full width first; what of it a line does not have is blank, and an
// occupancy that is not there is 1.
//
// The chain's author and the file agree on names here, so that a part is a chain; one without a
// name has that of its segment.  A residue is protein by its name, or when SEQRES names it among
// those of the file's proteins.
#include "chain/input/pdb_entry.h"

#include <algorithm>

#include "chain/input/entry.h"
#include "chain/input/entry_fields.h"
#include "chain/input/pdb_columns.h"

namespace tervolanda {

namespace {

// The name of the segment (columns 73 to 76), blank for none.  CHARMM and X-PLOR tell chains apart
// by it and leave their column blank; older entries have their code there, and then a number.
std::string_view segmentOf(const AtomRecord& record) {
    constexpr std::string_view kNone = "    ";
    const std::string_view element = record.columns(77, 78);
    const bool hasElement =
        std::any_of(element.begin(), element.end(), [](char c) { return c >= 'A' && c <= 'Z'; });
    const bool isNumbered =
        record.columns(77, 80).find_first_of("0123456789") != std::string_view::npos;
    return isNumbered && !hasElement ? kNone : record.columns(73, 76);
}

// Of columns 18 to 27, where the fifth is the chain's, or the segment; lent of either.
std::string_view chainName(std::string_view columns, const FixedText<4>& segment) {
    const std::string_view name = trimBlanks(segment.view());
    return name.empty() ? columns.substr(4, 1) : name;
}

// A number in four columns: decimal, or hybrid-36 from "A000", which is 10000, on.
std::optional<std::int64_t> residueNumber(std::string_view columns) {
    const std::string_view text = trimBlanks(columns);
    if (const auto number = wholeInteger(text)) return number;
    if (text.size() != 4 || text.front() < 'A' || text.front() > 'Z') return std::nullopt;
    std::int64_t value = 0;
    for (const char c : text) {
        if (!isDigit(c) && (c < 'A' || c > 'Z')) return std::nullopt;
        value = value * 36 + (isDigit(c) ? c - '0' : c - 'A' + 10);
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
    if (lines_.isTooLong()) fault_ = {lines_.number() + 1, "the line is too long"};
    return !isDone_;
}

void PdbEntryReader::finish() {
    if (!isDone_) lines_.finish([this](std::string_view line) { return take(line); });
}

// Records are recognised by their first letters; what is none of these is passed over.
bool PdbEntryReader::take(std::string_view line) {
    const bool isHet = line.starts_with("HETATM");
    if (isHet || line.starts_with("ATOM"))
        return takeAtom(AtomRecord(line, BlanksUpTo::FullWidth), isHet);
    if (line.starts_with("SEQRES")) takeSequence(line);
    if (line.starts_with("MODEL")) beginModel(line);
    if (line.starts_with("TER")) {
        const bool isNamed = line.size() > 21 && line[21] != ' ';
        ended_.emplace(isNamed ? line.substr(21, 1) : chainName(residueColumns_.view(), segment_));
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
    ended_.clear();
    residueColumns_.assign("\n         ");
    segment_ = {};
}

bool PdbEntryReader::beginPlace(const AtomRecord& record) {
    isWanted_ = builder_.beginPlace({.model = model_,
                                     .chain = chainName(residueColumns_.view(), segment_),
                                     .part = record.columns(22, 22),
                                     .entity = {},
                                     .residueName = record.columns(18, 20),
                                     .isSegment = segment_ != FixedText<4>()});
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
    const std::string_view columns = record.columns(18, 27);
    const FixedText<4> segment(record.column(22) == ' ' ? segmentOf(record) : "");
    // What follows the end of a chain are its ligands.
    if (isHet && ended_.contains(chainName(columns, segment))) return true;
    if (columns != residueColumns_.view() || segment != segment_) {
        residueColumns_.assign(columns);
        segment_ = segment;
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

// Blank fields keep the values of a new Atom; coordinates must not be blank.  Any other field that
// is no number is a fault, and with it the file: half an entry would be compared as if it were
// whole.
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
