// A part file, whose checksums are put right where the input says so, since no change would get
// past them otherwise.  What opens is read to its end, again as the outcomes of a small list:
// nothing may come out that is not finite or not within the chains, and a part without
// superpositions that was read in full comes back, byte for byte, when it is written again.
#include <zlib.h>

#include <cmath>
#include <optional>
#include <string>
#include <variant>

#include "resultfiles/part_file.h"
#include "support.h"
#include "support/support.h"

using namespace tervolanda;
using namespace tervolanda::fuzz;

namespace {

constexpr std::size_t kModels = 3;

struct Refused {};

std::uint32_t numberAt(const std::string& bytes, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(bytes[at + i]);
    return number;
}

void putChecksum(std::string& bytes, std::size_t at) {
    const auto sum =
        static_cast<std::uint32_t>(crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), at));
    for (std::size_t i = 0; i < 4; ++i)
        bytes[at + i] = static_cast<char>(sum >> (8 * i) & 0xff);
}

void repair(std::string& bytes) {
    constexpr std::size_t kFixed = 84;
    if (bytes.size() < kFixed + 8) return;
    const std::uint64_t end =
        kFixed + std::uint64_t{numberAt(bytes, 76)} + 12 * std::uint64_t{numberAt(bytes, 80)};
    if (end + 8 > bytes.size()) return;
    putChecksum(bytes, static_cast<std::size_t>(end));
    putChecksum(bytes, bytes.size() - 4);
}

std::optional<PartReader> opened(const MemoryFile& file) {
    auto part = PartReader::open(file.path());
    if (!std::holds_alternative<PartReader>(part)) return std::nullopt;
    return std::move(std::get<PartReader>(part));
}

ChainList models() {
    ChainList list;
    for (std::size_t i = 0; i < kModels; ++i)
        list.chains.push_back(test::coil(8 + i, 3));
    return list;
}

class Bounds final : public PairRecorder {
 public:
    explicit Bounds(const PreparedList& list) : list_(list) {}
    void record(BatchPair pair, const ComparisonResult& result) override {
        for (const MatchedPair& match : result.matched) {
            FUZZ_REQUIRE(match.experiment < list_.sets()[pair.experiment].size());
            FUZZ_REQUIRE(match.prediction < list_.sets()[pair.prediction].size());
        }
    }

 private:
    const PreparedList& list_;
};

template <typename Value>
void requireFinite(const Matrix<Value>& matrix) {
    for (std::size_t i = 0; i < matrix.rows(); ++i) {
        for (std::size_t j = 0; j < matrix.columns(); ++j)
            FUZZ_REQUIRE(std::isfinite(matrix.at(i, j)));
    }
}

SetSizes sizesOf(const PreparedList& list, BatchPair pair) {
    return {list.sets()[pair.experiment].size(), list.sets()[pair.prediction].size()};
}

// The outcomes of the pairs of a list, which the part may have too few of.
void merge(PartReader part) {
    static const ChainList list = models();
    test::CapturedLog captured;
    static const PreparedList prepared(list, AtomSelection::Calpha, {}, captured.report);
    const auto require = [](bool isRead) {
        if (!isRead) throw Refused();
    };
    try {
        switch (part.header().kind) {
            case PartKind::Gdt:
            case PartKind::GdtWithSearches: {
                const auto give = [&](BatchPair pair, GdtOutcome& outcome) {
                    require(part.next(sizesOf(prepared, pair), outcome));
                };
                requireFinite(collectAllGdt(prepared, {}, give, captured.log, captured.report).gdt);
                break;
            }
            case PartKind::Rmsd: {
                const auto give = [&](BatchPair, RmsdCells& cells) { require(part.next(cells)); };
                requireFinite(
                    collectAllRmsd(prepared, {}, give, captured.log, captured.report).rmsd);
                break;
            }
            case PartKind::Measure: {
                const auto give = [&](BatchPair, MeasuredOutcome& of) { require(part.next(of)); };
                collectAllByMeasure(prepared, {}, give, captured.log, captured.report);
                break;
            }
            case PartKind::MaxSub:
            case PartKind::MaxSubWithSuperpositions:
            case PartKind::MaxSubWithSearches: {
                Bounds bounds(prepared);
                const auto give = [&](BatchPair pair, ComparisonResult& result) {
                    require(part.next(sizesOf(prepared, pair), result));
                };
                requireFinite(
                    collectAllMaxSub(prepared, {}, {&bounds}, give, captured.log, captured.report)
                        .scores);
                break;
            }
        }
    } catch (const Refused&) {
    }
}

// Reads all records and writes them again; none when the part was not read in full.
std::optional<std::string> rewritten(PartReader part, const std::string& path) {
    PartWriter writer(path, part.header().kind);
    for (std::uint64_t k = 0; k < part.header().records; ++k) {
        ComparisonResult result;
        GdtOutcome gdt;
        RmsdCells cells;
        MeasuredOutcome measured;
        switch (part.header().kind) {
            case PartKind::Gdt:
            case PartKind::GdtWithSearches:
                if (!part.next({20, 20}, gdt)) return std::nullopt;
                writer.add(gdt);
                break;
            case PartKind::Rmsd:
                if (!part.next(cells)) return std::nullopt;
                writer.add(cells);
                break;
            case PartKind::Measure:
                if (!part.next(measured)) return std::nullopt;
                writer.add(measured);
                break;
            default:
                if (!part.next({20, 20}, result)) return std::nullopt;
                writer.add(result);
        }
    }
    if (!part.finish()) return std::nullopt;
    FUZZ_REQUIRE(writer.commit(part.header()));
    const FileHandle file = openForReading(path);
    std::string bytes(1 << 16, '\0');
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file.get()));
    return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const MemoryFile file;
    const ScratchFolder folder;
    std::string bytes(reinterpret_cast<const char*>(data), size);
    if (!bytes.empty() && bytes.back() % 8 != 0) repair(bytes);
    file.set(bytes);
    auto part = opened(file);
    if (!part) return 0;
    // Runs may be divided otherwise than they are written.
    const bool isSimple =
        part->header().kind == PartKind::MaxSub || part->header().kind == PartKind::Gdt ||
        part->header().kind == PartKind::Rmsd || part->header().kind == PartKind::Measure;
    const auto again = rewritten(*std::move(part), "again.part");
    if (again && isSimple) FUZZ_REQUIRE(*again == bytes);
    part = opened(file);
    if (part) merge(*std::move(part));
    return 0;
}
