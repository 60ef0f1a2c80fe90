// ATOM records in two layouts, whose columns never shift: a number that needs more than its columns
// loses its last characters, and serial numbers begin again after 99999.
#include "chain/chain.h"

#include <string>
#include <string_view>

#include "base/file.h"
#include "base/format.h"
#include "base/log.h"

namespace tervolanda {

namespace {

constexpr std::size_t kCoordinateWidth = 8;
constexpr std::size_t kFactorWidth = 6;  // occupancy and B-factor

// A number in its columns.
std::string column(double value, int decimals, std::size_t width) {
    std::string text;
    appendFixed(text, value, decimals);
    if (text.size() < width) text.insert(0, width - text.size(), ' ');
    text.resize(width);
    return text;
}

std::string factor(double value) {
    return column(value, 2, kFactorWidth);
}

// A text at the right end of its columns, and beyond where it needs more.
void appendRight(std::string& line, std::string_view text, std::size_t width) {
    if (text.size() < width) line.append(width - text.size(), ' ');
    line += text;
}

// 1 follows 99999, the largest number that the five columns of a serial number hold.
int printedSerial(int serial) {
    constexpr int kMost = 99999;
    return serial > kMost ? (serial - 1) % kMost + 1 : serial;
}

std::string coordinates(const Atom& atom) {
    return formatCoordinate(atom.x) + formatCoordinate(atom.y) + formatCoordinate(atom.z);
}

std::string lastComponent(const std::string& path) {
    return path.substr(path.rfind('/') + 1);  // npos + 1 is the beginning
}

void writeRemark(OutputFile& file, const char* key, const std::string& value) {
    file.print("REMARK  99  %-9s: %s\n", key, value.c_str());
}

void writeSet(OutputFile& file, const ChainSet& set) {
    if (set.number != 0) writeRemark(file, "PDB ID", std::to_string(set.number));
    if (!set.fileName.empty()) writeRemark(file, "File", set.fileName);
    if (!set.chains.empty()) writeRemark(file, "Chains", std::to_string(set.chains.size()));
    for (const Chain& chain : set.chains)
        writeChain(file, chain);
}

}  // namespace

std::string residueColumns(ResidueId residue) {
    constexpr int kMostDecimal = 9999;
    constexpr int kFirst = 10 * 36 * 36 * 36;  // "A000"
    if (residue.number <= kMostDecimal) {
        std::string columns;
        appendRight(columns, std::to_string(residue.number), 4);
        return columns + residue.insertionCode;
    }
    std::string columns(4, ' ');
    int value = residue.number - kMostDecimal - 1 + kFirst;
    for (std::size_t i = columns.size(); i-- > 0; value /= 36)
        columns[i] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ"[value % 36];
    return columns + residue.insertionCode;
}

std::string formatCoordinate(double value) {
    return column(value, 3, kCoordinateWidth);
}

std::string formatAtomLine(const Atom& atom) {
    return format("ATOM  %5d %4s %3s  %.4s%c   %s\n", printedSerial(atom.serial), atom.name.text(),
                  atom.residueName.text(), residueColumns(atom.residueId()).c_str(),
                  atom.insertionCode, coordinates(atom).c_str());
}

// Put together without printf, as files for viewers have all atoms of a list.
std::string formatFullAtomLine(const Atom& atom, int serial) {
    constexpr std::size_t kLength = 81;  // with the line end
    std::string line = "ATOM  ";
    line.reserve(kLength);
    appendRight(line, std::to_string(printedSerial(serial)), 5);
    line += ' ';
    appendRight(line, atom.name.text(), 4);
    line += atom.alternateLocation;
    appendRight(line, atom.residueName.text(), 3);
    line += ' ';
    line += atom.chainId;
    line += residueColumns(atom.residueId()).substr(0, 4);
    line += atom.insertionCode;
    line += "   ";
    line += coordinates(atom);
    line += factor(atom.occupancy);
    line += factor(atom.bFactor);
    line += "      ";
    const std::string_view segment = atom.segmentId.text();
    line += segment;
    line.append(4 - segment.size(), ' ');
    appendRight(line, atom.element.text(), 2);
    appendRight(line, atom.charge.text(), 2);
    line += '\n';
    return line;
}

void writeChain(OutputFile& file, const Chain& chain) {
    if (chain.number != 0) writeRemark(file, "Chain ID", std::to_string(chain.number));
    writeRemark(file, "Residues", std::to_string(chain.residues.size()));
    writeRemark(file, "Atoms", std::to_string(chain.atoms.size()));
    if (!chain.fileName.empty()) writeRemark(file, "File", chain.fileName);
    int serial = 0;
    for (const Atom& atom : chain.atoms)
        file.write(formatFullAtomLine(atom, ++serial));
    if (!chain.atoms.empty()) file.write("TER\n");
}

bool writeChainFile(Chain& chain, const std::string& path, bool takeName) {
    OutputFile file(path);
    writeChain(file, chain);
    if (!file.commit()) return false;
    if (takeName) chain.fileName = lastComponent(path);
    return true;
}

bool writeChainSetFile(ChainSet& set, const std::string& path, bool takeName) {
    OutputFile file(path);
    writeSet(file, set);
    if (!file.commit()) return false;
    if (takeName) set.fileName = lastComponent(path);
    return true;
}

bool writeModels(ChainSet& set, const std::string& directory, bool takeName, Log& log) {
    log.info(1, "Outputting models to dir %s", directory.c_str());
    bool all = true;
    for (Chain& chain : set.chains) {
        const std::string path = format("%s/model.%u.pdb", directory.c_str(), chain.number);
        all = writeChainFile(chain, path, takeName) && all;
    }
    return all;
}

}  // namespace tervolanda
