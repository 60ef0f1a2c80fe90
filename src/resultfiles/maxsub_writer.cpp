// A MaxSub file keeps an all-versus-all run: names, scores and pair counts (lite file, -Rl), and in
// the full file (-R) the superposition and the residue pairs of every pair of models, too.  Scores
// that no reader takes are cut to their range.
//
// The full file lists the pairs below the diagonal, all transformations before all positions.  The
// lite file lists those above it, and each model with itself.  Readers take pairs in any order;
// these are those of the format.
//
// A pair (i, j) of the full file names model i first, the experiment of their comparison, so that
// the superposition puts the second model onto the first.
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>

#include "base/format.h"
#include "base/log.h"
#include "resultfiles/maxsub_keys.h"
#include "resultfiles/result_record.h"
#include "resultfiles/transformation_spool.h"

namespace tervolanda {

namespace {

constexpr std::size_t kMaxSubRuleWidth = 26;

// A score that was renormalised to a shorter model can exceed 1, which no reader accepts.  What is
// no number is 0.
double writtenScore(float score) {
    if (!(score > 0.0F)) return 0.0;
    return score < 1.0F ? static_cast<double>(score) : 1.0;
}

// A coordinate as the file has it, with three decimals.
double written(double value) {
    return withoutNegativeZero(value, 3);
}

// Position records are nearly all of a full file, two numbers per residue: printf would take most
// of the time of writing it.
void appendNumber(std::string& text, std::uint32_t number) {
    std::array<char, 10> digits{};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), end);
}

bool openMaxSubFile(const OutputFile& output, const std::string& path, Log& log) {
    if (!output.isOpen()) {
        log.error(0, "Can't open MaxSub output file '%s' - %s", path.c_str(), systemErrorText());
    }
    return output.isOpen();
}

// Rules, size and chains, as both forms have them but for the key.
void writeHead(OutputFile& output, const ChainList& chains, std::size_t size,
               std::string_view chainKey) {
    writeRule(output, kMaxSubRuleWidth);
    output.write("# Tervolanda MaxSub File\n");
    writeRule(output, kMaxSubRuleWidth);
    output.write("# Size record\n");
    writeSizeRecord(output, size);
    writeRule(output, kMaxSubRuleWidth);
    output.write("# Chain records\n# ");
    output.write(chainKey);
    output.write(" <ID> <Filename>\n");
    writeRule(output, kMaxSubRuleWidth);
    writeChainRecords(output, chains, chainKey);
}

void writeSectionHead(OutputFile& output, std::string_view text) {
    writeRule(output, kMaxSubRuleWidth);
    output.write(text);
    writeRule(output, kMaxSubRuleWidth);
}

// The fields of a transformation record, in their order.
struct TransformationLine {
    std::uint32_t id1, id2;
    double score1, score2;
    std::uint32_t pairs;
    Superposition superposition;
};

// IDs, scores both ways, pairs, both centres and the rotation, on a line of about 200 characters.
void writeTransformation(OutputFile& output, const TransformationLine& line) {
    output.print("TRANS: %6u %6u   %10.4f %10.4f %4u   ", line.id1, line.id2, line.score1,
                 line.score2, line.pairs);
    const auto& [centre1, centre2, rotation] = line.superposition;
    for (const auto* centre : {&centre1, &centre2}) {
        output.print("%8.3f %8.3f %8.3f   ", written((*centre)[0]), written((*centre)[1]),
                     written((*centre)[2]));
    }
    for (std::size_t k = 0; k < rotation.size(); ++k)
        output.print(k == 0 ? "%8.3f" : " %8.3f", written(rotation[k]));
    output.write("\n");
}

// Runs are written out pair by pair, as the format has no other way. `line` is scratch.
void writePositions(OutputFile& output, std::uint32_t id1, std::uint32_t id2,
                    const std::vector<PairRun>& runs, std::string& line) {
    line = format("POS  : %6u %6u   ", id1, id2);
    for (const PairRun& run : runs) {
        for (std::uint32_t k = 0; k < run.length; ++k) {
            line += ' ';
            appendNumber(line, run.experiment + k);
            line += ':';
            appendNumber(line, run.prediction + k);
        }
    }
    line += '\n';
    output.write(line);
}

// What is missing in the spool, looked for before the first byte is written: a file that lacks a
// record is worth nothing.  The message keeps its spelling, as all messages do.
std::optional<FormatError> spoolFault(const TransformationSpool::Storage& spool,
                                      const PairMatrix& pairs, std::span<const std::uint32_t> ids) {
    for (std::size_t i = 1; i < ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const std::uint32_t id1 = ids[i];
            const std::uint32_t id2 = ids[j];
            if (!spool.has(i, j)) {
                return FormatError{
                    format("Missing MaxSub positions count for %u vs. %u", id1, id2)};
            }
            if (spool.matched(i, j) != pairs.at(i, j)) {
                return FormatError{format("Currupt MaxSub positions list for %u vs. %u", id1, id2)};
            }
        }
    }
    return std::nullopt;
}

// The two sections of pair records; false when the spool could not be read.  Twice through all
// pairs, each time from the spool, so that memory holds one pair at a time.
bool writePairSections(OutputFile& output, const TransformationSpool::Storage& spool,
                       const MaxSubTable& table) {
    const std::span<const std::uint32_t> ids = table.ids;
    writeSectionHead(output,
                     "# Transformation records\n# TRANS: <ID1> <ID2> <MaxSub 1-2> <MaxSub 2-1> "
                     "<Pairs> <CoM 1> <CoM 2> <RotMat>\n");
    for (std::size_t i = 1; i < ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            TransformationLine line{ids[i],
                                    ids[j],
                                    writtenScore(table.scores.at(i, j)),
                                    writtenScore(table.scores.at(j, i)),
                                    table.pairs.at(i, j),
                                    {}};
            if (!spool.readSuperposition(i, j, line.superposition)) return false;
            writeTransformation(output, line);
        }
    }
    writeSectionHead(output, "# Position records\n# POS  : <ID> <ID> <Positions ...>\n");
    std::vector<PairRun> runs;
    std::string text;
    for (std::size_t i = 1; i < ids.size(); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            if (!spool.readRuns(i, j, runs)) return false;
            writePositions(output, ids[i], ids[j], runs, text);
        }
    }
    return true;
}

}  // namespace

FileOutcome writeLiteMaxSubFile(const std::string& path, const MaxSubTable& table, Log& log) {
    log.info(0, "Printing MaxSub output file %s", path.c_str());
    OutputFile output(path);
    if (!openMaxSubFile(output, path, log)) return FileOutcome::NotCreated;
    const std::span<const std::uint32_t> ids = table.ids;
    writeHead(output, table.chains, ids.size(), kLiteChainKey);
    writeSectionHead(output, "# Maxsub records\n# MS : <ID1> <ID2> <1-2> <2-1> <Pairs>\n");
    for (std::size_t i = 0; i < ids.size(); ++i) {
        for (std::size_t j = i; j < ids.size(); ++j) {
            output.print("MS : %6u\t%6u\t%5.3f\t%5.3f\t%4u\n", ids[i], ids[j],
                         i == j ? 1.0 : writtenScore(table.scores.at(i, j)),
                         i == j ? 1.0 : writtenScore(table.scores.at(j, i)), table.pairs.at(i, j));
        }
    }
    return finishFile(output, path, log);
}

std::variant<FileOutcome, FormatError> writeFullMaxSubFile(
    const std::string& path, const MaxSubTable& table, const TransformationSpool& transformations,
    Log& log) {
    log.info(0, "Printing MaxSub output file %s", path.c_str());
    OutputFile output(path);
    if (!openMaxSubFile(output, path, log)) return FileOutcome::NotCreated;
    TransformationSpool::Storage& spool = transformations.storage();
    if (auto fault = spoolFault(spool, table.pairs, table.ids)) return *std::move(fault);
    writeHead(output, table.chains, table.ids.size(), kChainKey);
    if (!spool.flush() || !writePairSections(output, spool, table)) {
        log.error(0, "Failed to write file '%s' - %s", path.c_str(), systemErrorText());
        return FileOutcome::Incomplete;
    }
    return finishFile(output, path, log);
}

}  // namespace tervolanda
