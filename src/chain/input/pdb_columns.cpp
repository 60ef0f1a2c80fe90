// The fields of a record stand in fixed columns (wwPDB format, version 3.3).  Most of the time of a
// read goes into their numbers, so that these have a conversion of their own, with the result of
// the general one to the last bit.
#include "chain/input/pdb_columns.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "chain/input/chain_builder.h"

namespace tervolanda {

AtomRecord::AtomRecord(std::string_view line, BlanksUpTo blanks) {
    line = line.substr(0, kPdbRecordWidth);
    if (line.ends_with('\n')) line.remove_suffix(1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    isFull_ = line.size() == kPdbRecordWidth;
    const bool isPadded = blanks == BlanksUpTo::FullWidth;
    if (line.size() < (isPadded ? kPdbRecordWidth : kPlacementWidth)) {
        std::fill(padded_.begin() + static_cast<std::ptrdiff_t>(line.size()), padded_.end(), ' ');
        std::copy(line.begin(), line.end(), padded_.begin());
        line = {padded_.data(), padded_.size()};
    }
    text_ = line.data();
}

namespace {

// Eight columns as one number, the first in its lowest byte.
std::uint64_t packedColumns(const char* text) {
    std::uint64_t columns = 0;
    std::memcpy(&columns, text, sizeof(columns));
    if constexpr (std::endian::native == std::endian::big) columns = __builtin_bswap64(columns);
    return columns;
}

// The number in a field.  Nearly all fields are blanks, a minus sign or none, digits, the point,
// and three digits: where `columns`, the field written in eight columns, are such, all of them are
// converted together.  A loop over them mispredicts where the digits begin, a branch mispredicts
// the sign: this is a sixth of the time to read all atoms.  The digits are a whole number below
// 10^7, and its quotient by 1000 is the double nearest to the decimal number.  Any other field
// takes the general conversion.
inline double fieldReal(std::string_view field, std::uint64_t columns) {
    constexpr std::uint64_t kInteger = 0x00000000FFFFFFFF;  // the columns before the point
    constexpr std::uint64_t kPoint = 0x000000FF00000000;
    // 0 to 9 where there is a digit, and 0 for the point.
    const std::uint64_t values = columns ^ 0x3030302E30303030;
    const std::uint64_t others = ((values + 0x7676767676767676) | values) & 0x8080808080808080;
    // All bits of the columns that are no digit; they have to be the first ones.
    const std::uint64_t lead = (others << 1) - (others >> 7);
    const std::uint64_t sign = (columns ^ 0x2020202020202020) & lead;  // 0 where all are blank
    const std::uint64_t minus = (lead + 1) * ('-' ^ ' ') >> 8;         // in the last of them
    // With a sign that is neither, the product of two numbers below 2^32 is not 0.
    const std::uint64_t faults =
        (lead & ~kInteger) | (lead & (lead + 1)) | (values & kPoint) | sign * (sign ^ minus);
    if (faults != 0) [[unlikely]]
        return leadingReal(field);

    // Neighbours are joined to two digits, to four, and these by the weight of the point.
    std::uint64_t digits = values & ~lead;
    digits = digits * (10 << 8 | 1) >> 8 & 0x00FF00FF00FF00FF;
    digits = digits * (100 << 16 | 1) >> 16 & 0x0000FFFF0000FFFF;
    digits = digits * (std::uint64_t{1000} << 32 | 1) >> 32;
    // The sign is the divisor's, so that zero has it too.
    static constexpr std::array<double, 2> kDivisors = {1000.0, -1000.0};
    return static_cast<double>(static_cast<std::int64_t>(digits)) /
           kDivisors[static_cast<std::size_t>(sign != 0)];
}

bool namesHydrogen(const FixedText<4>& name) {
    return name[1] == 'H' && (name[0] == ' ' || isDigit(name[0]));
}

// Å, in eight columns from `first` on, with three decimals as a rule.
double coordinate(const AtomRecord& record, std::size_t first) {
    const std::string_view field = record.columns(first, first + 7);
    return fieldReal(field, packedColumns(field.data()));
}

// A number in six columns, with two decimals as a rule: a blank before and a zero after them make
// it the same number with three.  There are columns on both sides.  Most numbers are the same as in
// the record before, the `latest`: all occupancies, and the B-factors of a residue in a prediction.
// Looking at that first takes a tenth off reading all atoms of plain files.
double shortReal(const AtomRecord& record, std::size_t first, ShortField& latest) {
    const std::uint64_t columns =
        (packedColumns(record.columns(first - 1, first + 6).data()) & 0x00FFFFFFFFFFFF00) |
        0x3000000000000020;
    if (columns != latest.columns) {
        latest = {columns, fieldReal(record.columns(first, first + 5), columns)};
    }
    return latest.value;
}

// What only records of full width have, but for the numbers.
void takeFullWidthTexts(const AtomRecord& record, Atom& atom) {
    atom.segmentId.assign(record.columns(73, 76));
    atom.element.assign(record.columns(77, 78));
    atom.charge.assign(record.columns(79, 80));
    if (namesHydrogen(atom.name)) atom.element[0] = ' ';
}

// What shows that fields are not where they belong.
std::string misplacementIn(std::string_view line) {
    const AtomRecord record(line);
    const std::string_view residue = record.columns(23, 27);
    if (isDigit(record.column(27)))
        return "residue number '" + std::string(residue) + "' has five columns";
    for (const std::size_t point : {std::size_t{35}, std::size_t{43}, std::size_t{51}}) {
        if (record.column(point) == '.') continue;
        return "coordinates '" + std::string(record.columns(31, 54)) + "' of residue '" +
               std::string(residue) + "' are not in their columns";
    }
    return {};
}

}  // namespace

void AtomRecordReader::take(std::string_view line) {
    const AtomRecord record(line);
    const std::string_view residue = record.columns(18, 27);
    if (residue != residueColumns_.view()) beginResidue(residue);
    Atom* const atom = builder_.add(record.columns(13, 16));
    if (atom == nullptr) return;
    if (isStrict_) [[unlikely]]
        lookForMisplacement(line);
    atom->alternateLocation = record.column(17);
    atom->x = coordinate(record, 31);
    atom->y = coordinate(record, 39);
    atom->z = coordinate(record, 47);
    if (!record.isFull()) return;
    atom->occupancy = shortReal(record, 55, occupancy_);
    atom->bFactor = shortReal(record, 61, bFactor_);
    takeFullWidthTexts(record, *atom);
}

// Out of line, so that it costs reads that are not strict nothing but a branch.
[[gnu::noinline]] void AtomRecordReader::lookForMisplacement(std::string_view line) {
    if (misplacement_.empty()) misplacement_ = misplacementIn(line);
}

void AtomRecordReader::beginResidue(std::string_view columns) {
    residueColumns_.assign(columns);
    const auto number = static_cast<std::int16_t>(leadingInteger(columns.substr(5, 4)));
    builder_.beginResidue({.chain = columns.substr(4, 1),
                           .name = FixedText<3>(columns.substr(0, 3)),
                           .id = {number, columns[9]},
                           .key = columns.substr(5)});
}

}  // namespace tervolanda
