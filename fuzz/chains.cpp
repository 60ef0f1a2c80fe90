// The literal reader goes by the columns of the format and the C library's conversions.
#include "chains.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <set>
#include <tuple>

#include "chain/input/chain_builder.h"
#include "chain/input/pdb_columns.h"
#include "support.h"
#include "support/support.h"

namespace tervolanda::fuzz {

// --- After a read --------------------------------------------------------------------------------

namespace {

constexpr unsigned kChecks = ReadCheckDuplicates | ReadCheckAll | ReadCheckCalphaDistance |
                             ReadStrictBackbone | ReadModelPrepare | ReadCheckBreaks |
                             ReadCheckBackbone;

bool sameResidue(const Atom& a, const Atom& b) {
    return a.residueNumber == b.residueNumber && a.insertionCode == b.insertionCode;
}

// That `place` is the residue's first atom with all bits of `mask`.
void requireFirst(const Chain& chain, const Residue& residue, std::uint32_t mask,
                  std::uint32_t place) {
    std::uint32_t expected = kNoAtom;
    for (std::uint32_t i = residue.end; i-- > residue.first;) {
        if (chain.atoms[i].matches(mask)) expected = i;
    }
    FUZZ_REQUIRE(place == expected);
}

void requireSoundResidues(const Chain& chain) {
    std::uint32_t end = 0;
    for (const Residue& residue : chain.residues) {
        FUZZ_REQUIRE(residue.first == end && residue.end > end);
        FUZZ_REQUIRE(residue.end <= chain.atoms.size());
        FUZZ_REQUIRE(end == 0 || !sameResidue(chain.atoms[end - 1], chain.atoms[end]));
        end = residue.end;
        for (std::uint32_t i = residue.first; i < end; ++i)
            FUZZ_REQUIRE(sameResidue(chain.atoms[i], chain.atoms[residue.first]));
        requireFirst(chain, residue, kMaskN, residue.n);
        requireFirst(chain, residue, kMaskCA, residue.ca);
        requireFirst(chain, residue, kMaskC, residue.c);
        requireFirst(chain, residue, kMaskO, residue.o);
        requireFirst(chain, residue, NameBeta, residue.beta);
    }
    // A residue that stands in the file a second time ends the array.
    std::set<std::pair<int, char>> residues;
    std::size_t runs = 0;
    for (std::size_t i = 0; i < chain.atoms.size(); ++i) {
        const Atom& atom = chain.atoms[i];
        residues.emplace(atom.residueNumber, atom.insertionCode);
        if (i == 0 || !sameResidue(chain.atoms[i - 1], atom)) ++runs;
    }
    FUZZ_REQUIRE(chain.residues.size() == residues.size());
    FUZZ_REQUIRE((end == chain.atoms.size()) == (runs == residues.size()));
}

bool hasDuplicates(const Chain& chain) {
    std::set<std::tuple<int, char, std::string_view>> seen;
    for (const Atom& atom : chain.atoms) {
        if (!seen.emplace(atom.residueNumber, atom.insertionCode, atom.name.view()).second)
            return true;
    }
    return false;
}

bool hasNul(const Atom& atom) {
    const auto has = [](std::string_view text) {
        return text.find('\0') != std::string_view::npos;
    };
    return has(atom.name.view()) || has(atom.residueName.view()) || has(atom.segmentId.view()) ||
           has(atom.element.view()) || has(atom.charge.view());
}

// A number that "%6.2f" writes into six columns.
bool fitsSixColumns(double value) {
    return value > -99.99 && value < 999.99;
}

// All but the numbers with decimals.
auto textsOf(const Atom& a) {
    return std::tuple(a.name, a.residueName, a.residueNumber, a.residueType, a.insertionCode,
                      a.chainId, a.classification, a.alternateLocation, a.segmentId, a.element,
                      a.charge);
}

auto numbersOf(const Atom& a) {
    return std::tuple(a.x, a.y, a.z, a.occupancy, a.bFactor);
}

void requireSound(const ChainSet& set, const ReadRequest& request) {
    FUZZ_REQUIRE(!set.chains.empty());
    FUZZ_REQUIRE((request.options & ReadSingleChain) == 0 || set.chains.size() == 1);
    std::set<std::string> names;
    for (const Chain& chain : set.chains) {
        FUZZ_REQUIRE(names.insert(chain.name).second);
        std::size_t calphas = 0;
        for (const Atom& atom : chain.atoms) {
            FUZZ_REQUIRE(atom.chainId == chain.letter());
            FUZZ_REQUIRE(std::isfinite(atom.x) && std::isfinite(atom.y) && std::isfinite(atom.z));
            FUZZ_REQUIRE(std::isfinite(atom.occupancy) && std::isfinite(atom.bFactor));
            FUZZ_REQUIRE(atom.residueType == residueIndex(atom.residueName.view()));
            FUZZ_REQUIRE(atom.classification ==
                         classifyAtomName(atom.name.view(), atom.residueType));
            if (atom.matches(kMaskCA)) ++calphas;
        }
        requireSoundResidues(chain);
        if ((request.options & kChecks) != 0) FUZZ_REQUIRE(calphas >= request.minimumCalphas);
        if ((request.options & ReadCheckDuplicates) != 0) FUZZ_REQUIRE(!hasDuplicates(chain));
    }
}

}  // namespace

void requireSameChains(const std::vector<Chain>& a, const std::vector<Chain>& b) {
    FUZZ_REQUIRE(std::ranges::equal(a, b, [](const Chain& one, const Chain& other) {
        return one.name == other.name &&
               std::ranges::equal(one.atoms, other.atoms, [](const Atom& x, const Atom& y) {
                   return textsOf(x) == textsOf(y) && numbersOf(x) == numbersOf(y);
               });
    }));
}

void requireWritable(const Chain& chain) {
    for (const Atom& atom : chain.atoms) {
        const std::string line = formatFullAtomLine(atom, 1);
        FUZZ_REQUIRE(line.ends_with('\n'));
        if (hasNul(atom) || !fitsSixColumns(atom.occupancy) || !fitsSixColumns(atom.bFactor))
            continue;
        FUZZ_REQUIRE(line.size() == 81);
        const ResidueExclusions none;
        ChainBuilder builder(Selection(), none);
        AtomRecordReader(builder).take(line);
        FUZZ_REQUIRE(builder.chains().size() == 1);
        const Atom& read = builder.chains()[0].atoms.at(0);
        FUZZ_REQUIRE(textsOf(read) == textsOf(atom) && formatFullAtomLine(read, 1) == line);
    }
}

// --- A second reader -----------------------------------------------------------------------------

namespace {

constexpr std::size_t kWidth = 80;

// The front of a field that can be part of a decimal number.  Blanks before it are those of the C
// library; "+-1" is no number to it either.
std::string decimalPart(std::string_view field) {
    field.remove_prefix(std::min(field.find_first_not_of(" \t\r\n\v\f"), field.size()));
    return std::string(field.substr(0, field.find_first_not_of("0123456789.eE+-")));
}

double literalReal(std::string_view field) {
    const double value = std::strtod(decimalPart(field).c_str(), nullptr);
    return std::isfinite(value) ? value : 0.0;
}

int literalInteger(std::string_view field) {
    return static_cast<int>(std::strtol(decimalPart(field).c_str(), nullptr, 10));
}

template <std::size_t Width>
void take(std::string_view line, std::size_t column, FixedText<Width>& text) {
    text = FixedText<Width>(line.substr(column - 1, Width));
}

Atom literalAtom(std::string_view line, bool isFull) {
    Atom atom;
    take(line, 13, atom.name);
    take(line, 18, atom.residueName);
    atom.alternateLocation = line[16];
    atom.chainId = line[21];
    atom.residueNumber = static_cast<std::int16_t>(literalInteger(line.substr(22, 4)));
    atom.insertionCode = line[26];
    atom.x = literalReal(line.substr(30, 8));
    atom.y = literalReal(line.substr(38, 8));
    atom.z = literalReal(line.substr(46, 8));
    atom.residueType = static_cast<std::int16_t>(residueIndex(atom.residueName.view()));
    atom.classification = classifyAtomName(atom.name.view(), atom.residueType);
    if (!isFull) return atom;
    atom.occupancy = literalReal(line.substr(54, 6));
    atom.bFactor = literalReal(line.substr(60, 6));
    take(line, 73, atom.segmentId);
    take(line, 77, atom.element);
    take(line, 79, atom.charge);
    const char first = atom.name[0];
    const bool isHydrogen = atom.name[1] == 'H' && (first == ' ' || (first >= '0' && first <= '9'));
    if (isHydrogen) atom.element[0] = ' ';
    return atom;
}

bool isWanted(const Atom& atom, std::uint16_t options) {
    if ((options & ReadNoHydrogen) != 0 && atom.name[1] == 'H') return false;
    if ((options & ReadAllAtoms) != 0) return true;
    const char third = atom.name[2];
    if ((options & ReadBackboneAndBeta) != 0) return third == ' ' || third == 'A' || third == 'B';
    if ((options & ReadCalphaOnly) != 0) return atom.matches(kMaskCA);
    return true;
}

}  // namespace

std::vector<std::string_view> plainRecords(std::string_view text) {
    std::vector<std::string_view> records;
    while (!text.empty()) {
        std::size_t length = std::min(text.find('\n'), text.size() - 1) + 1;
        length = std::min(length, kWidth);
        if (text.starts_with("ATOM")) records.push_back(text.substr(0, length));
        text.remove_prefix(length);
    }
    return records;
}

std::vector<std::string_view> scannedRecords(std::string_view text) {
    constexpr std::size_t kShortest = 54;
    std::vector<std::string_view> records;
    for (std::size_t at = text.find("ATOM  "); at != std::string_view::npos;
         at = text.find("ATOM  ", at + 1)) {
        const std::string_view rest = text.substr(at);
        if (rest.size() >= kShortest) records.push_back(rest.substr(0, rest.find('\n')));
    }
    return records;
}

std::vector<Chain> takeRecords(const std::vector<std::string_view>& records, std::uint16_t options,
                               const ResidueExclusions& exclusions) {
    constexpr int kLastAminoAcid = 23;
    std::vector<Chain> chains;
    for (const std::string_view record : records) {
        std::string line(record.substr(0, kWidth));
        if (line.ends_with('\n')) line.pop_back();
        if (line.ends_with('\r')) line.pop_back();
        const bool isFull = line.size() == kWidth;
        line.resize(kWidth, ' ');
        const Atom atom = literalAtom(line, isFull);
        if (exclusions.excludes(std::string_view(line).substr(22, 5))) continue;
        if (atom.residueType > kLastAminoAcid || !isWanted(atom, options)) continue;
        auto chain = std::find_if(chains.begin(), chains.end(), [&](const Chain& known) {
            return known.letter() == atom.chainId;
        });
        if (chain == chains.end()) {
            chain = chains.insert(chains.end(), Chain{});
            chain->name = std::string(1, atom.chainId);
        }
        chain->atoms.push_back(atom);
    }
    return chains;
}

bool chooseReading(FuzzedDataProvider& input, Reading& reading) {
    reading.request.options = input.ConsumeIntegral<std::uint16_t>();
    const bool isUnchecked = input.ConsumeBool();
    if (isUnchecked) {
        reading.request.options &=
            ReadCalphaOnly | ReadBackboneAndBeta | ReadAllAtoms | ReadNoHydrogen;
    }
    if (input.ConsumeBool()) reading.exclusions.add("   2 ");
    return isUnchecked;
}

std::vector<Chain> requireSoundReading(const std::string& path, const Reading& reading) {
    test::CapturedLog quiet;
    std::optional<ChainSet> set =
        readStructureFile(path, reading.request, reading.exclusions, quiet.log);
    FUZZ_REQUIRE(set || quiet.error().ends_with("', skipped\n"));
    if (!set) return {};
    requireSound(*set, reading.request);
    return std::move(set->chains);
}

// --- Made chains ---------------------------------------------------------------------------------

namespace {

constexpr double kPi = std::numbers::pi;

double signedByte(FuzzedDataProvider& input) {
    return static_cast<double>(input.ConsumeIntegral<std::int8_t>());
}

using Place = std::array<double, 3>;

std::vector<Place> chosenPlaces(std::size_t count, FuzzedDataProvider& input) {
    std::vector<Place> places(count);
    for (Place& place : places)
        place = {signedByte(input), signedByte(input), signedByte(input)};
    return places;
}

Chain makeTrace(FuzzedDataProvider& input) {
    const int kind = input.ConsumeIntegralInRange(0, 2);
    const auto length = input.ConsumeIntegralInRange<std::size_t>(0, kLongestChain);
    if (kind == 0) return test::helix(length);
    if (kind == 1) return test::coil(length, input.ConsumeIntegral<std::uint8_t>());
    return test::calphaChain(chosenPlaces(length, input));
}

// The atom as another one of its residue, `shift` from where it is.
Atom beside(Atom atom, const char* name, const Vec3& shift) {
    atom.name = FixedText<4>(name);
    atom.classification = classifyAtomName(name, atom.residueType);
    atom.x += shift.x;
    atom.y += shift.y;
    atom.z += shift.z;
    return atom;
}

void rename(Atom& atom, const char* residue) {
    atom.residueName = FixedText<3>(residue);
    atom.residueType = static_cast<std::int16_t>(residueIndex(residue));
    atom.classification = classifyAtomName(atom.name.view(), atom.residueType);
}

void bend(Chain& chain, double angle) {
    for (std::size_t i = chain.atoms.size() / 2; i < chain.atoms.size(); ++i) {
        Atom& atom = chain.atoms[i];
        const double y = atom.y;
        atom.y = y * std::cos(angle) - atom.z * std::sin(angle);
        atom.z = y * std::sin(angle) + atom.z * std::cos(angle);
    }
}

void cut(Chain& chain, std::size_t place) {
    const int number = chain.atoms[place].residueNumber;
    std::erase_if(chain.atoms, [&](const Atom& atom) { return atom.residueNumber == number; });
}

void change(Chain& chain, FuzzedDataProvider& input) {
    if (chain.atoms.empty()) return;
    const auto place = input.ConsumeIntegralInRange<std::size_t>(0, chain.atoms.size() - 1);
    const int kind = input.ConsumeIntegralInRange(0, 6);
    if (kind == 0) chain = test::moved(chain);
    if (kind == 1) chain = test::shaken(chain, std::exp2(-3.0 - signedByte(input) / 16.0), 1);
    if (kind == 2) bend(chain, signedByte(input) * kPi / 128.0);
    if (kind == 3) cut(chain, place);
    if (kind == 4) chain.atoms[place].y = input.PickValueInArray({9999.999, -999.999, 1e4, 1e7});
    for (Atom& atom : chain.atoms) {
        if (kind == 5) atom.z = -atom.z;
        if (kind == 6) atom.residueNumber = static_cast<std::int16_t>(atom.residueNumber + 4);
    }
}

}  // namespace

Chain makeChain(FuzzedDataProvider& input) {
    Chain chain = makeTrace(input);
    const bool hasBackbone = input.ConsumeBool();
    int number = input.ConsumeIntegralInRange(-5, 50);
    char insertion = ' ';
    std::vector<Atom> atoms;
    for (Atom& atom : chain.atoms) {
        const int oddity = input.ConsumeIntegralInRange(0, 15);
        if (oddity == 1) number += 3;
        insertion = oddity == 2 ? (insertion == ' ' ? 'A' : static_cast<char>(insertion + 1)) : ' ';
        if (insertion == ' ') ++number;
        atom.residueNumber = static_cast<std::int16_t>(number);
        atom.insertionCode = insertion;
        if (oddity == 3) rename(atom, "GLY");
        if (oddity == 4) rename(atom, "MSE");
        atoms.push_back(atom);
        if (!hasBackbone || oddity == 5) continue;
        // Roughly where they stand in a helix.
        atoms.push_back(beside(atom, " N  ", {-0.5, 0.9, -1.1}));
        atoms.push_back(beside(atom, " C  ", {0.4, -0.8, 1.2}));
        atoms.push_back(beside(atom, " O  ", {0.5, -0.7, 2.4}));
        atoms.push_back(beside(atom, " CB ", {1.2, 0.9, 0.1}));
    }
    chain.atoms = std::move(atoms);
    return chain;
}

Chain makeVariant(const Chain& chain, FuzzedDataProvider& input) {
    Chain variant = chain;
    for (int changes = input.ConsumeIntegralInRange(0, 3); changes > 0; --changes)
        change(variant, input);
    return variant;
}

std::string chainText(const Chain& chain) {
    std::string text;
    int serial = 0;
    for (const Atom& atom : chain.atoms)
        text += formatFullAtomLine(atom, ++serial);
    return text + "END\n";
}

}  // namespace tervolanda::fuzz
