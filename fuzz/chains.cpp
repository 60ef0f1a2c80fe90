// The literal reader goes by the columns of the format and the C library's conversions.  Made
// chains have the step lengths of real ones where that is asked for, so that searches find subsets.
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

void requireSameTexts(const Atom& a, const Atom& b) {
    FUZZ_REQUIRE(a.name == b.name && a.residueName == b.residueName);
    FUZZ_REQUIRE(a.residueNumber == b.residueNumber && a.residueType == b.residueType);
    FUZZ_REQUIRE(a.insertionCode == b.insertionCode && a.chainId == b.chainId);
    FUZZ_REQUIRE(a.classification == b.classification);
    FUZZ_REQUIRE(a.alternateLocation == b.alternateLocation);
    FUZZ_REQUIRE(a.segmentId == b.segmentId && a.element == b.element && a.charge == b.charge);
}

// That a coordinate comes back to the third decimal, where eight columns hold it.
void requireClose(double written, double read) {
    if (written < -999.999 || written > 9999.999) return;
    FUZZ_REQUIRE(std::fabs(written - read) <= 0.00051);
}

}  // namespace

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

void requireSameAtoms(const Chain& a, const Chain& b) {
    FUZZ_REQUIRE(a.name == b.name && a.atoms.size() == b.atoms.size());
    for (std::size_t i = 0; i < a.atoms.size(); ++i) {
        const Atom& first = a.atoms[i];
        const Atom& second = b.atoms[i];
        requireSameTexts(first, second);
        FUZZ_REQUIRE(first.x == second.x && first.y == second.y && first.z == second.z);
        FUZZ_REQUIRE(first.occupancy == second.occupancy && first.bFactor == second.bFactor);
    }
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
        requireSameTexts(atom, read);
        requireClose(atom.x, read.x);
        requireClose(atom.y, read.y);
        requireClose(atom.z, read.z);
        FUZZ_REQUIRE(std::fabs(atom.occupancy - read.occupancy) <= 0.0051);
        FUZZ_REQUIRE(std::fabs(atom.bFactor - read.bFactor) <= 0.0051);
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

// --- Made chains ---------------------------------------------------------------------------------

namespace {

using Place = std::array<double, 3>;

constexpr double kPi = std::numbers::pi;
constexpr double kStep = 3.8;  // Å, between C-alpha atoms

double signedByte(FuzzedDataProvider& input) {
    return static_cast<double>(input.ConsumeIntegral<std::int8_t>());
}

// The C-alpha atom of residue i.
Place nextPlace(int kind, int i, const Place& last, FuzzedDataProvider& input) {
    const auto n = static_cast<double>(i);
    if (kind == 0) {
        const double turn = n * 100.0 * kPi / 180.0;
        return {2.3 * std::cos(turn), 2.3 * std::sin(turn), 1.5 * n};
    }
    if (kind == 1) return {i % 2 == 0 ? 0.0 : 1.7, 0.0, 3.4 * n};
    if (kind == 2) return {n, 0.0, 0.0};
    Place place = {signedByte(input), signedByte(input), signedByte(input)};
    if (kind == 3) return place;
    const double length = std::hypot(place[0], place[1], place[2]);
    for (std::size_t k = 0; k < 3; ++k)
        place[k] = last[k] + (length > 0.0 ? kStep * place[k] / length : 0.0);
    return place;
}

void addAtom(Chain& chain, const char* name, const char* residue, int number, char insertion,
             const Place& place) {
    Atom atom;
    atom.name = FixedText<4>(name);
    atom.residueName = FixedText<3>(residue);
    atom.residueType = static_cast<std::int16_t>(residueIndex(residue));
    atom.classification = classifyAtomName(name, atom.residueType);
    atom.residueNumber = static_cast<std::int16_t>(number);
    atom.insertionCode = insertion;
    atom.chainId = chain.letter();
    atom.x = place[0];
    atom.y = place[1];
    atom.z = place[2];
    chain.atoms.push_back(atom);
}

// Roughly where the other backbone atoms of a helix stand, seen from the C-alpha.
void addBackbone(Chain& chain, const char* residue, int number, char insertion,
                 const Place& calpha) {
    const auto [x, y, z] = calpha;
    addAtom(chain, " N  ", residue, number, insertion, {x - 0.5, y + 0.9, z - 1.1});
    addAtom(chain, " C  ", residue, number, insertion, {x + 0.4, y - 0.8, z + 1.2});
    addAtom(chain, " O  ", residue, number, insertion, {x + 0.5, y - 0.7, z + 2.4});
    addAtom(chain, " CB ", residue, number, insertion, {x + 1.2, y + 0.9, z + 0.1});
}

void rotate(Chain& chain, std::size_t first, double angle, int axis) {
    const auto turn = [angle](double& a, double& b) {
        const double before = a;
        a = before * std::cos(angle) - b * std::sin(angle);
        b = before * std::sin(angle) + b * std::cos(angle);
    };
    for (std::size_t i = first; i < chain.atoms.size(); ++i) {
        Atom& atom = chain.atoms[i];
        if (axis == 0) turn(atom.y, atom.z);
        if (axis == 1) turn(atom.z, atom.x);
        if (axis == 2) turn(atom.x, atom.y);
    }
}

void shake(Chain& chain, FuzzedDataProvider& input) {
    const double size = std::pow(2.0, input.ConsumeIntegralInRange(-10, 3)) / 128.0;
    for (Atom& atom : chain.atoms) {
        atom.x += size * signedByte(input);
        atom.y += size * signedByte(input);
        atom.z += size * signedByte(input);
    }
}

void move(Chain& chain, FuzzedDataProvider& input) {
    for (int axis = 0; axis < 3; ++axis)
        rotate(chain, 0, signedByte(input) * kPi / 128.0, axis);
    const double x = signedByte(input);
    const double y = signedByte(input);
    for (Atom& atom : chain.atoms) {
        atom.x += x;
        atom.y += y;
    }
}

void cut(Chain& chain, FuzzedDataProvider& input) {
    if (chain.atoms.empty()) return;
    const auto last = static_cast<int>(chain.atoms.size()) - 1;
    const int number =
        chain.atoms[static_cast<std::size_t>(input.ConsumeIntegralInRange(0, last))].residueNumber;
    std::erase_if(chain.atoms, [&](const Atom& atom) { return atom.residueNumber == number; });
}

void throwFar(Chain& chain, FuzzedDataProvider& input) {
    if (chain.atoms.empty()) return;
    const auto last = static_cast<int>(chain.atoms.size()) - 1;
    chain.atoms[static_cast<std::size_t>(input.ConsumeIntegralInRange(0, last))].y =
        input.PickValueInArray({9999.999, -999.999, 1e4, 1e7});
}

}  // namespace

Chain makeChain(FuzzedDataProvider& input) {
    Chain chain;
    chain.name = "A";
    const int kind = input.ConsumeIntegralInRange(0, 4);
    const int length = input.ConsumeIntegralInRange(0, kLongestChain);
    const bool hasBackbone = input.ConsumeBool();
    int number = input.ConsumeIntegralInRange(-5, 50);
    char insertion = ' ';
    Place place{};
    for (int i = 0; i < length; ++i) {
        place = nextPlace(kind, i, place, input);
        const int oddity = input.ConsumeIntegralInRange(0, 15);
        if (oddity == 1) number += 3;
        insertion = oddity == 2 ? (insertion == ' ' ? 'A' : static_cast<char>(insertion + 1)) : ' ';
        if (insertion == ' ') ++number;
        const char* const residue = oddity == 3 ? "GLY" : oddity == 4 ? "MSE" : "ALA";
        addAtom(chain, " CA ", residue, number, insertion, place);
        if (hasBackbone && oddity != 5) addBackbone(chain, residue, number, insertion, place);
    }
    return chain;
}

Chain makeVariant(const Chain& chain, FuzzedDataProvider& input) {
    Chain variant = chain;
    for (int changes = input.ConsumeIntegralInRange(0, 3); changes > 0; --changes) {
        switch (input.ConsumeIntegralInRange(0, 6)) {
            case 0:
                move(variant, input);
                break;
            case 1:
                for (Atom& atom : variant.atoms)
                    atom.z = -atom.z;
                break;
            case 2:
                shake(variant, input);
                break;
            case 3:
                rotate(variant, variant.atoms.size() / 2, signedByte(input) * kPi / 128.0, 0);
                break;
            case 4:
                for (Atom& atom : variant.atoms)
                    atom.residueNumber = static_cast<std::int16_t>(atom.residueNumber + 4);
                break;
            case 5:
                cut(variant, input);
                break;
            default:
                throwFar(variant, input);
        }
    }
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
