// Reading 500 models of 127 residues, eight atoms each, as PDB text and mmCIF, plain and
// compressed: the C-alpha atoms, as list runs read them, and all atoms.  Beside them zlib alone,
// which takes the same compressed files apart and looks at nothing, and gemmi (Wojdyr 2022) where
// its headers are installed.  Rates are bytes of uncompressed text per second.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <array>
#include <memory>

#if __has_include(<gemmi/gz.hpp>) && __has_include(<gemmi/pdb.hpp>)
#include <gemmi/gz.hpp>
#include <gemmi/pdb.hpp>
#if __has_include(<tao/pegtl.hpp>) && !defined(__clang__)
#include <gemmi/cif.hpp>
#include <gemmi/mmcif.hpp>
#define TERVOLANDA_HAS_GEMMI_CIF 1
#endif
#define TERVOLANDA_HAS_GEMMI 1
#endif

#include "support/support.h"

namespace tervolanda {
namespace {

constexpr std::size_t kModels = 500;
constexpr std::size_t kResidues = 127;
constexpr std::array<const char*, 8> kNames = {" N  ", " CA ", " C  ", " O  ",
                                               " CB ", " CG ", " CD ", " CE "};

// The records of a walk with seven atoms about each C-alpha, at most 1.8 Å away from it.
std::string modelText(std::uint32_t seed) {
    const Chain walk = test::coil(kResidues, seed);
    std::string text;
    int serial = 0;
    for (const Atom& calpha : walk.atoms) {
        for (std::size_t k = 0; k < kNames.size(); ++k) {
            Atom atom = calpha;
            atom.name = FixedText<4>(kNames[k]);
            atom.chainId = 'A';
            if (k != 1) {
                atom.x += (k & 1U) == 0 ? 1.0 : -1.0;
                atom.y += (k & 2U) == 0 ? 1.0 : -1.0;
                atom.z += (k & 4U) == 0 ? 1.0 : -1.0;
            }
            text += formatFullAtomLine(atom, ++serial);
        }
    }
    return text + "TER\nEND\n";
}

// The same atoms as mmCIF, in the columns of the archive.
std::string mmcifText(const std::string& pdb) {
    std::string text = "data_MODEL\nloop_\n";
    for (const char* tag : {"group_PDB",         "id",
                            "type_symbol",       "label_atom_id",
                            "label_alt_id",      "label_comp_id",
                            "label_asym_id",     "label_entity_id",
                            "label_seq_id",      "pdbx_PDB_ins_code",
                            "Cartn_x",           "Cartn_y",
                            "Cartn_z",           "occupancy",
                            "B_iso_or_equiv",    "pdbx_formal_charge",
                            "auth_seq_id",       "auth_comp_id",
                            "auth_asym_id",      "auth_atom_id",
                            "pdbx_PDB_model_num"})
        text += std::string("_atom_site.") + tag + "\n";
    for (std::size_t at = 0; pdb.substr(at, 4) == "ATOM"; at += 81) {
        const auto field = [&](std::size_t first, std::size_t length) {
            return std::string(trimBlanks(std::string_view(pdb).substr(at + first - 1, length)));
        };
        const std::string name = field(13, 4), residue = field(18, 3), number = field(23, 4);
        text += "ATOM " + field(7, 5) + " " + name[0] + " " + name + " . " + residue + " A 1 " +
                number + " ? " + field(31, 8) + " " + field(39, 8) + " " + field(47, 8) + " " +
                field(55, 6) + " " + field(61, 6) + " ? " + number + " " + residue + " A " + name +
                " 1\n";
    }
    return text + "#\n";
}

struct GzCloser {
    void operator()(gzFile_s* file) const { gzclose(file); }
};
using GzHandle = std::unique_ptr<gzFile_s, GzCloser>;

enum class Format { Pdb, Mmcif };

// The files of a format, made once for all benchmarks of a run.
struct Models {
    explicit Models(Format format) {
        for (std::uint32_t i = 0; i < kModels; ++i) {
            const std::string pdb = modelText(i + 1);
            const std::string text = format == Format::Pdb ? pdb : mmcifText(pdb);
            bytes += text.size();
            plain.push_back(folder.write(
                "model_" + std::to_string(i) + (format == Format::Pdb ? ".pdb" : ".cif"), text));
            compressed.push_back(plain.back() + ".gz");
            const GzHandle file(gzopen(compressed.back().c_str(), "wb6"));
            gzwrite(file.get(), text.data(), static_cast<unsigned>(text.size()));
        }
    }
    test::TemporaryFolder folder;
    std::vector<std::string> plain, compressed;
    std::size_t bytes = 0;  // of the plain texts
};

const Models& models(Format format) {
    static const Models pdb(Format::Pdb), mmcif(Format::Mmcif);
    return format == Format::Pdb ? pdb : mmcif;
}

// Calls read(path) for every file of a kind, once an iteration.
template <typename Read>
void readAll(benchmark::State& state, Format format, bool isCompressed, const Read& read) {
    const Models& files = models(format);
    for (auto _ : state) {
        for (const std::string& path : isCompressed ? files.compressed : files.plain) {
            if (!read(path)) return state.SkipWithError("a file could not be read");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(files.bytes));
}

void program(benchmark::State& state, Format format, bool isCompressed, bool allAtoms) {
    test::CapturedLog log;
    ReadRequest request;
    request.options = static_cast<std::uint16_t>((allAtoms ? ReadAllAtoms : ReadCalphaOnly) |
                                                 ReadCheckDuplicates | ReadCheckAll);
    const std::size_t atoms = allAtoms ? kResidues * kNames.size() : kResidues;
    readAll(state, format, isCompressed, [&](const std::string& path) {
        const auto chain = readChain(path, request, ResidueExclusions(), log.log);
        return chain && chain->atoms.size() == atoms;
    });
}

void inflateAlone(benchmark::State& state) {
    std::array<char, 65536> buffer{};
    readAll(state, Format::Pdb, true, [&](const std::string& path) {
        const GzHandle file(gzopen(path.c_str(), "rb"));
        int length = 0;
        do {
            length = gzread(file.get(), buffer.data(), buffer.size());
            benchmark::DoNotOptimize(buffer.data());
        } while (length > 0);
        return length == 0;
    });
}

BENCHMARK_CAPTURE(program, plain_calpha, Format::Pdb, false, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, plain_all, Format::Pdb, false, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, compressed_calpha, Format::Pdb, true, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, compressed_all, Format::Pdb, true, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, mmcif_plain, Format::Mmcif, false, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, mmcif_compressed, Format::Mmcif, true, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(inflateAlone)->Unit(benchmark::kMillisecond);

#ifdef TERVOLANDA_HAS_GEMMI
void gemmiReader(benchmark::State& state, bool isCompressed) {
    readAll(state, Format::Pdb, isCompressed, [&](const std::string& path) {
        const gemmi::Structure structure =
            isCompressed ? gemmi::read_pdb(gemmi::MaybeGzipped(path)) : gemmi::read_pdb_file(path);
        return structure.models.size() == 1 &&
               structure.models[0].chains[0].residues.size() == kResidues;
    });
}
BENCHMARK_CAPTURE(gemmiReader, plain, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gemmiReader, compressed, true)->Unit(benchmark::kMillisecond);
#endif

#ifdef TERVOLANDA_HAS_GEMMI_CIF
void gemmiMmcif(benchmark::State& state, bool isCompressed) {
    readAll(state, Format::Mmcif, isCompressed, [&](const std::string& path) {
        const gemmi::Structure structure =
            gemmi::make_structure(isCompressed ? gemmi::cif::read(gemmi::MaybeGzipped(path))
                                               : gemmi::cif::read_file(path));
        return structure.models.size() == 1 &&
               structure.models[0].chains[0].residues.size() == kResidues;
    });
}
BENCHMARK_CAPTURE(gemmiMmcif, plain, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gemmiMmcif, compressed, true)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
}  // namespace tervolanda
