// A pair in the page of --report: residues with their distances, the alignment as text, both
// C-alpha traces to be drawn, and the motions that laid one over the other.
//
// The prediction's trace is moved here, so that the script draws points and knows no superposition.
#include <algorithm>
#include <array>
#include <span>

#include "export/report_data.h"

namespace tervolanda {

namespace {

// "GLY 17A"; empty for a residue that the chain does not have.
std::string residueName(const Chain& chain, std::size_t residue) {
    if (residue >= chain.residues.size()) return {};
    const Atom& atom = chain.atoms[chain.residues[residue].first];
    std::string name;
    if (atom.subunit < chain.subunits.size()) name = chain.subunits[atom.subunit] + ":";
    name += atom.residueName.view();
    name += format(" %d", atom.residueNumber);
    if (atom.insertionCode != ' ') name += atom.insertionCode;
    return name;
}

// The residues of both chains one above the other: pairs, and what has no partner.  Residue pairs
// ascend in both chains; one that does not stands for nothing here.  Complexes come chain pair by
// chain pair.
struct AlignmentColumn {
    std::optional<std::size_t> experiment, prediction;
    const ResiduePair* pair = nullptr;
};

// Residues [first, end) of a chain or complex.
struct ResidueRange {
    std::size_t first = 0, end = 0;
};

ResidueRange rangeOf(const Chain& chain, std::size_t subunit) {
    ResidueRange range{chain.residues.size(), chain.residues.size()};
    for (std::size_t i = chain.residues.size(); i-- > 0;) {
        const std::size_t of = chain.atoms[chain.residues[i].first].subunit;
        if (of > subunit) range = {i, i};
        if (of == subunit) range.first = i;
    }
    return range;
}

// Between two pairs the prediction's residues come before the experiment's, as in the alignment
// that the program prints.
void alignRanges(const PairResult& pair, const ResidueRange& experiment,
                 const ResidueRange& prediction, std::vector<AlignmentColumn>& columns) {
    std::size_t e = experiment.first;
    std::size_t p = prediction.first;
    const auto advance = [&columns, &e, &p](std::size_t toExperiment, std::size_t toPrediction) {
        while (p < toPrediction)
            columns.push_back({std::nullopt, p++, nullptr});
        while (e < toExperiment)
            columns.push_back({e++, std::nullopt, nullptr});
    };
    for (const ResiduePair& residues : pair.residues) {
        if (residues.experimentPosition < e || residues.predictionPosition < p) continue;
        if (residues.experimentPosition >= experiment.end) continue;
        if (residues.predictionPosition >= prediction.end) continue;
        advance(residues.experimentPosition, residues.predictionPosition);
        columns.push_back({e++, p++, &residues});
    }
    advance(experiment.end, prediction.end);
}

std::vector<AlignmentColumn> alignmentOf(const PairResult& pair, const Chain& experiment,
                                         const Chain& prediction) {
    std::vector<AlignmentColumn> columns;
    if (pair.subunits.empty()) {
        alignRanges(pair, {0, experiment.residues.size()}, {0, prediction.residues.size()},
                    columns);
        return columns;
    }
    const auto chainsOf = [](const Chain& chain) {
        return std::vector<bool>(std::max<std::size_t>(chain.subunits.size(), 1), true);
    };
    std::vector<bool> leftE = chainsOf(experiment), leftP = chainsOf(prediction);
    for (const SubunitPair& chains : pair.subunits) {
        leftE[chains.experiment] = leftP[chains.prediction] = false;
        alignRanges(pair, rangeOf(experiment, chains.experiment),
                    rangeOf(prediction, chains.prediction), columns);
    }
    for (std::size_t p = 0; p < leftP.size(); ++p)
        if (leftP[p]) alignRanges(pair, {}, rangeOf(prediction, p), columns);
    for (std::size_t e = 0; e < leftE.size(); ++e)
        if (leftE[e]) alignRanges(pair, rangeOf(experiment, e), {}, columns);
    return columns;
}

// Column by column for the table and the picture of distances, and the same as three lines of text.
void writeResidues(JsonWriter& json, const RunInputs& inputs, const PairResult& pair,
                   const std::vector<AlignmentColumn>& columns) {
    const Chain& experiment = *inputs.chains[pair.experiment];
    const Chain& prediction = *inputs.chains[pair.prediction];
    const std::string experimentLetters = oneLetterSequence(experiment);
    const std::string predictionLetters = oneLetterSequence(prediction);
    std::array<std::string, 3> rows;
    json.key("residues");
    json.open('[');
    for (const AlignmentColumn& column : columns) {
        const auto letter = [](const std::string& letters, const std::optional<std::size_t>& at) {
            return at && *at < letters.size() ? letters[*at] : '.';
        };
        rows[0] += letter(predictionLetters, column.prediction);
        rows[1] += column.pair == nullptr ? ' ' : column.pair->domain > 0 ? '|' : '\'';
        rows[2] += letter(experimentLetters, column.experiment);
        json.open('[');
        json.text(column.experiment ? residueName(experiment, *column.experiment) : "");
        json.text(column.prediction ? residueName(prediction, *column.prediction) : "");
        if (column.pair != nullptr) {
            json.number(column.pair->distance, kReportDecimals);
        } else {
            json.null();
        }
        const std::uint32_t domain = column.pair == nullptr ? 0 : column.pair->domain;
        json.count(domain > 0 ? 1 : 0);
        json.count(domain);
        json.close(']');
    }
    json.close(']');
    json.key("alignment");
    json.open('[');
    for (const std::string& row : rows)
        json.text(row);
    json.close(']');
}

// C-alpha atoms in chain order, those of the prediction moved; each with whether the first
// superposition rests on its residue, and a further 1 where a chain of a complex ends.
void writeTraces(JsonWriter& json, const RunInputs& inputs, const PairResult& pair) {
    json.key("traces");
    json.open('[');
    for (const bool isExperiment : {true, false}) {
        const Chain& chain = *inputs.chains[isExperiment ? pair.experiment : pair.prediction];
        std::vector<bool> isMatched(chain.residues.size());
        for (const ResiduePair& residues : pair.residues) {
            const std::size_t at =
                isExperiment ? residues.experimentPosition : residues.predictionPosition;
            if (residues.domain == 1 && at < isMatched.size()) isMatched[at] = true;
        }
        json.open('[');
        for (std::size_t i = 0; i < chain.residues.size(); ++i) {
            if (chain.residues[i].ca == kNoAtom) continue;
            const Atom& atom = chain.atoms[chain.residues[i].ca];
            std::array<double, 3> place = {atom.x, atom.y, atom.z};
            if (!isExperiment) place = pair.superpositions.front().apply(atom.x, atom.y, atom.z);
            json.open('[');
            for (const double coordinate : place)
                json.number(coordinate, 2);
            json.count(isMatched[i] ? 1 : 0);
            const bool endsChain = i + 1 < chain.residues.size() &&
                                   chain.atoms[chain.residues[i + 1].first].subunit != atom.subunit;
            if (endsChain) json.count(1);
            json.close(']');
        }
        json.close(']');
    }
    json.close(']');
}

// One for each domain, with the names that the script uses: "from" is the centre of the prediction,
// "to" that of the experiment.
void writeMotions(JsonWriter& json, std::span<const Superposition> motions) {
    constexpr int kRotationDecimals = 9;
    json.key("motions");
    json.open('[');
    const auto numbers = [&json](const char* name, std::span<const double> values, int decimals) {
        json.key(name);
        json.open('[');
        for (const double value : values)
            json.number(value, decimals);
        json.close(']');
    };
    for (const Superposition& motion : motions) {
        json.open('{');
        numbers("rotation", motion.rotation, kRotationDecimals);
        numbers("from", motion.predictionCentre, kReportDecimals);
        numbers("to", motion.experimentCentre, kReportDecimals);
        json.close('}');
    }
    json.close(']');
}

}  // namespace

void writeReportPair(JsonWriter& json, const ReportData& data) {
    const RunInputs& inputs = *data.inputs;
    const PairResult& pair = *data.best;
    const Chain& experiment = *inputs.chains[pair.experiment];
    const Chain& prediction = *inputs.chains[pair.prediction];
    const std::vector<AlignmentColumn> columns = alignmentOf(pair, experiment, prediction);
    json.key("pair");
    json.open('{');
    json.key("title");
    json.text(inputs.kind == RunKind::Pairwise
                  ? "Superposition"
                  : "The best model: " + reportName(inputs.structures[pair.prediction]));
    if (pair.cutoff) {
        json.key("cutoff");
        json.number(*pair.cutoff, kReportDecimals);
    }
    writeResidues(json, inputs, pair, columns);
    if (!pair.superpositions.empty()) {
        writeTraces(json, inputs, pair);
        writeMotions(json, pair.superpositions);
    }
    json.close('}');
}

}  // namespace tervolanda
