// The two small text files that steer reading: which models there are, and which residues to skip.
#include <utility>

#include "base/file.h"
#include "base/log.h"
#include "chain/input/input.h"

namespace tervolanda {

namespace {

constexpr std::size_t kLineLimit = 258;  // longer lines are read in pieces of this length
constexpr std::size_t kProgressStep = 20;

bool isStripped(char c) {
    const auto code = static_cast<unsigned char>(c);
    return code <= 32 || code >= 128;
}

// The path in a line: what stands before a "#", less blanks, control and non-ASCII characters at
// both ends.
std::string_view pathIn(std::string_view line) {
    line = line.substr(0, line.find('#'));
    while (!line.empty() && isStripped(line.front()))
        line.remove_prefix(1);
    while (!line.empty() && isStripped(line.back()))
        line.remove_suffix(1);
    return line;
}

// What was read before the error counts.
void reportReadError(const LineReader& reader, const std::string& path, std::size_t limit,
                     Log& log) {
    if (reader.failed()) {
        log.error(0, "Problem reading input file '%s' - %s", path.c_str(), systemErrorText());
    } else if (reader.exceeded()) {
        log.error(0, "Input file '%s' is longer than %zu bytes, the rest is ignored", path.c_str(),
                  limit);
    }
}

}  // namespace

std::size_t readModelList(const std::string& path, std::uint32_t& counter,
                          const ReadRequest& request, const ResidueExclusions& exclusions, Log& log,
                          ChainList& list) {
    log.info(0, "Reading PDB list file '%s'", path.c_str());
    const FileHandle file = openForReading(path);
    if (!file) {
        log.error(0, "Can't open model list file '%s' - %s", path.c_str(), systemErrorText());
        return 0;
    }
    ReadRequest single = request;
    single.options |= ReadSingleChain;
    LineReader reader(file.get(), kLongestList);
    std::size_t read = 0;
    std::size_t tried = 0;
    while (const auto line = reader.next(kLineLimit)) {
        const std::string model(pathIn(*line));
        if (model.empty()) continue;
        ++counter;
        ++tried;
        auto chain = readChain(model, single, exclusions, log);
        if (!chain) continue;
        if (read % kProgressStep == 0) {
            log.progress(0, "Successfully read %d PDBs", static_cast<int>(read));
        }
        chain->number = counter;
        list.chains.push_back(*std::move(chain));
        ++read;
    }
    reportReadError(reader, path, kLongestList, log);
    log.progress(0, "Successfully read %d / %d PDBs from list file '%s'", static_cast<int>(read),
                 static_cast<int>(tried), path.c_str());
    log.endProgress();
    return read;
}

bool readResidueExclusionFile(const std::string& path, ResidueExclusions& exclusions, Log& log) {
    log.info(0, "Reading residue exclusion file '%s'", path.c_str());
    const FileHandle file = openForReading(path);
    if (!file) {
        log.error(0, "Can't open residue exclusion file '%s' - %s", path.c_str(),
                  systemErrorText());
        return false;
    }
    LineReader reader(file.get(), kLongestExclusions);
    while (const auto line = reader.next(kLineLimit))
        exclusions.add(*line);
    reportReadError(reader, path, kLongestExclusions, log);
    return true;
}

}  // namespace tervolanda
