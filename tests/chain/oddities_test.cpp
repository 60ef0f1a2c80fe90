// Real files that readers trip on.  The expected numbers come from a second, independent reader.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "base/format.h"
#include "chain/chain.h"
#include "support/support.h"

namespace tervolanda {
namespace {

using test::CapturedLog;

constexpr std::uint16_t kListRead =
    ReadCalphaOnly | ReadCheckDuplicates | ReadCheckAll | ReadSingleChain;
constexpr std::uint16_t kPairwiseRead = kListRead | ReadAllAtoms;

std::size_t countOf(const std::string& text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

std::size_t calphasOf(const Chain& chain) {
    return static_cast<std::size_t>(
        std::count_if(chain.atoms.begin(), chain.atoms.end(),
                      [](const Atom& atom) { return atom.matches(kMaskCA); }));
}

// What a read gives, in words: the C-alpha atoms of the chain that is kept, and its residues where
// that is another number; or why there is none.
std::string outcome(const std::filesystem::path& path, std::uint16_t options) {
    CapturedLog captured;
    ReadRequest request;
    request.options = options;
    const auto chain = readChain(path.string(), request, {}, captured.log);
    const std::string errors = captured.error();
    if (!chain) {
        if (errors.find("PDB contains no chains") != std::string::npos) return "no chains";
        if (errors.find("Multiple chains in PDB: 2\n") != std::string::npos) return "2 chains";
        return format("%zu duplicates", countOf(errors, "has duplicate atoms: "));
    }
    const std::size_t calphas = calphasOf(*chain);
    std::string text = format("%zu", calphas);
    if (chain->residues.size() != calphas) text += format(" in %zu", chain->residues.size());
    return text + (countOf(errors, "Residue assignment error") == 1 ? ", assignment error" : "");
}

struct Oddity {
    const char* file;
    const char* calphaRead;
    const char* fullRead;
};

TEST(Oddities, AreReadOrRejectedAsASecondReaderDoes) {
    TERVOLANDA_NEED_REAL_STRUCTURES(structures);
    const std::vector<Oddity> oddities = {
        {"altloc-ca.pdb", "2 duplicates", "15 duplicates"},
        {"altloc-sidechain.pdb", "10", "42 duplicates"},
        {"altloc-two-residue-names.pdb", "3 duplicates", "46 duplicates"},
        {"insertion-codes.pdb", "27", "27"},
        {"mse-hetatm.pdb", "38", "38"},
        {"mse-atom.pdb", "40", "40"},
        {"negative-numbers.pdb", "25", "25"},
        {"four-digit-numbers.pdb", "20", "20"},
        {"descending-numbers.pdb", "20", "20"},
        {"missing-backbone.pdb", "13", "13"},
        {"ca-only.pdb", "60", "60"},
        {"two-chains.pdb", "2 chains", "2 chains"},
        {"multi-model.pdb", "33 duplicates", "456 duplicates"},
        {"multi-model-two-chains.pdb", "2 chains", "2 chains"},
        {"digit-chain.pdb", "20", "20"},
        {"blank-chain.pdb", "17", "17"},
        {"dna-old-names.pdb", "no chains", "no chains"},
        {"dna-new-names.pdb", "no chains", "0 in 11"},
        {"rna-with-uracil.pdb", "no chains", "0 in 1"},
        {"protein-dna-old-names.pdb", "20", "20"},
        {"protein-dna-new-names.pdb", "20", "2 chains"},
        {"protein-rna-one-chain.pdb", "22", "22, assignment error"},
        {"hydrogens-column13.pdb", "9", "9"},
        {"hydrogens-new-names.pdb", "8", "8"},
        {"left-justified-names.pdb", "no chains", "0 in 12"},
        {"calcium-named-CA.pdb", "21", "21"},
        {"calcium-left-justified.pdb", "20", "20 in 21"},
        {"nonstandard-residue-names.pdb", "11 in 10", "11 in 10"},
        {"columns-54.pdb", "20", "20"},
        {"columns-66.pdb", "20", "20"},
        {"columns-78.pdb", "20", "20"},
        {"columns-79.pdb", "20", "20"},
        {"columns-80.pdb", "20", "20"},
        {"columns-66.pdb.gz", "20", "20"},
        {"columns-91.pdb", "11", "11"},
        {"columns-mixed.pdb", "1", "1"},
        {"crlf-66.pdb", "20", "20"},
        {"crlf-78.pdb", "20", "20"},
        {"crlf-80.pdb", "20", "20"},
        {"no-final-newline.pdb", "20", "20"},
        {"touching-coordinates.pdb", "31", "31"},
        {"gzip-same.pdb.gz", "20", "20"},
        {"gzip-two-members.pdb.gz", "20", "20"},
        {"gzip-upper-suffix.pdb.GZ", "no chains", "no chains"},
        {"gzip-not-compressed.pdb.gz", "20", "20"},
        {"gzip-cut-short.pdb.gz", "40", "40 in 41"},
        {"gzip-damaged.pdb.gz", "25", "25"},
        {"remark-with-record-name.pdb", "19", "19"},
        {"remark-with-record-name.pdb.gz", "19", "2 chains"},
    };
    for (const Oddity& oddity : oddities) {
        const auto path = structures / "oddities" / oddity.file;
        EXPECT_EQ(outcome(path, kListRead), oddity.calphaRead) << oddity.file;
        EXPECT_EQ(outcome(path, kPairwiseRead), oddity.fullRead) << oddity.file;
    }
}

// All atoms: compressed text loses none, and broken streams keep what came before the break.
TEST(Oddities, CompressedTextKeepsEveryRecordItHas) {
    TERVOLANDA_NEED_REAL_STRUCTURES(structures);
    struct Case {
        const char* file;
        std::size_t atoms;
        bool isDamaged;
    };
    for (const Case& c : std::vector<Case>{{"columns-66.pdb", 165, false},
                                           {"columns-66.pdb.gz", 165, false},
                                           {"gzip-two-members.pdb.gz", 165, false},
                                           {"gzip-cut-short.pdb.gz", 297, false},
                                           {"gzip-damaged.pdb.gz", 202, true}}) {
        CapturedLog captured;
        ReadRequest request;
        request.options = kPairwiseRead;
        const auto path = structures / "oddities" / c.file;
        const auto chain = readChain(path.string(), request, {}, captured.log);
        ASSERT_TRUE(chain) << c.file;
        EXPECT_EQ(chain->atoms.size(), c.atoms) << c.file;
        EXPECT_EQ(countOf(captured.error(), "Problem reading compressed data stream\n"),
                  c.isDamaged ? 1U : 0U)
            << c.file;
    }
}

TEST(Oddities, ListsGiveTheirModelsTheIdsOfTheirLines) {
    TERVOLANDA_NEED_REAL_STRUCTURES(structures);
    struct Case {
        const char* file;
        std::vector<std::uint32_t> ids;
        std::uint32_t tried;
    };
    const std::vector<Case> cases = {
        {"comments-and-blanks.txt", {1, 2, 3}, 3},
        {"missing-file.txt", {1, 3}, 3},
        {"some-unreadable.txt", {1, 5, 7}, 7},
        {"all-unreadable.txt", {}, 2},
        {"crlf.txt", {1, 2, 3}, 3},
        {"same-file-twice.txt", {1, 2, 3}, 3},
        {"no-final-newline.txt", {1, 2}, 2},
        {"long-line.txt", {1, 3, 4}, 4},
    };
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(structures / "oddities" / "lists");
    for (const Case& c : cases) {
        CapturedLog captured;
        ChainList list;
        std::uint32_t counter = 0;
        readModelList(c.file, counter, {}, {}, captured.log, list);
        std::vector<std::uint32_t> ids;
        for (const Chain& chain : list.chains)
            ids.push_back(chain.number);
        EXPECT_EQ(ids, c.ids) << c.file;
        EXPECT_EQ(counter, c.tried) << c.file;
    }
    std::filesystem::current_path(before);
}

}  // namespace
}  // namespace tervolanda
