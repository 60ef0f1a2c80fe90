// Reading 500 models of 127 residues, eight atoms each, as plain text and compressed: the
// C-alpha atoms, as list runs read them, and all atoms.  Beside them zlib alone, which takes the
// same compressed files apart and looks at nothing, and gemmi (Wojdyr 2022) where its headers are
// installed.  Rates are bytes of uncompressed text per second.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <array>
#include <memory>

#if __has_include(<gemmi/gz.hpp>) && __has_include(<gemmi/pdb.hpp>)
#include <gemmi/gz.hpp>
#include <gemmi/pdb.hpp>
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

struct GzCloser {
    void operator()(gzFile_s* file) const { gzclose(file); }
};
using GzHandle = std::unique_ptr<gzFile_s, GzCloser>;

// The files, made once for all benchmarks of a run.
struct Models {
    Models() {
        for (std::uint32_t i = 0; i < kModels; ++i) {
            const std::string text = modelText(i + 1);
            bytes += text.size();
            plain.push_back(folder.write("model_" + std::to_string(i) + ".pdb", text));
            compressed.push_back(plain.back() + ".gz");
            const GzHandle file(gzopen(compressed.back().c_str(), "wb6"));
            gzwrite(file.get(), text.data(), static_cast<unsigned>(text.size()));
        }
    }
    test::TemporaryFolder folder;
    std::vector<std::string> plain, compressed;
    std::size_t bytes = 0;  // of the plain texts
};

const Models& models() {
    static const Models made;
    return made;
}

// Calls read(path) for every file of a kind, once an iteration.
template <typename Read>
void readAll(benchmark::State& state, bool isCompressed, const Read& read) {
    const Models& files = models();
    for (auto _ : state) {
        for (const std::string& path : isCompressed ? files.compressed : files.plain) {
            if (!read(path)) return state.SkipWithError("a file could not be read");
        }
    }
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(files.bytes));
}

void program(benchmark::State& state, bool isCompressed, bool allAtoms) {
    test::CapturedLog log;
    ReadRequest request;
    request.options = static_cast<std::uint16_t>((allAtoms ? ReadAllAtoms : ReadCalphaOnly) |
                                                 ReadCheckDuplicates | ReadCheckAll);
    const std::size_t atoms = allAtoms ? kResidues * kNames.size() : kResidues;
    readAll(state, isCompressed, [&](const std::string& path) {
        const auto chain = readChain(path, request, ResidueExclusions(), log.log);
        return chain && chain->atoms.size() == atoms;
    });
}

void inflateAlone(benchmark::State& state) {
    std::array<char, 65536> buffer{};
    readAll(state, true, [&](const std::string& path) {
        const GzHandle file(gzopen(path.c_str(), "rb"));
        int length = 0;
        do {
            length = gzread(file.get(), buffer.data(), buffer.size());
            benchmark::DoNotOptimize(buffer.data());
        } while (length > 0);
        return length == 0;
    });
}

BENCHMARK_CAPTURE(program, plain_calpha, false, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, plain_all, false, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, compressed_calpha, true, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(program, compressed_all, true, true)->Unit(benchmark::kMillisecond);
BENCHMARK(inflateAlone)->Unit(benchmark::kMillisecond);

#ifdef TERVOLANDA_HAS_GEMMI
void gemmiReader(benchmark::State& state, bool isCompressed) {
    readAll(state, isCompressed, [&](const std::string& path) {
        const gemmi::Structure structure =
            isCompressed ? gemmi::read_pdb(gemmi::MaybeGzipped(path)) : gemmi::read_pdb_file(path);
        return structure.models.size() == 1 &&
               structure.models[0].chains[0].residues.size() == kResidues;
    });
}
BENCHMARK_CAPTURE(gemmiReader, plain, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(gemmiReader, compressed, true)->Unit(benchmark::kMillisecond);
#endif

}  // namespace
}  // namespace tervolanda
