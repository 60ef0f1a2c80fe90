// Similarities of the residues of two chains, by which they are aligned, and where they can be
// seen: the interfaces between who computes them (residue_similarity.h), who aligns by them
// (local_alignment.h) and who shows them (a sink of another room).
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace tervolanda {

class Report;

// What an alignment goes by, made a row at a time: a matrix of two long chains need not fit memory.
class SimilarityRows {
 public:
    virtual std::size_t rows() const = 0;     // of the prediction
    virtual std::size_t columns() const = 0;  // of the experiment
    // Fills one row; `similarities` has an entry a column.  They are finite.
    virtual void fillRow(std::size_t row, std::span<float> similarities) const = 0;

 protected:
    ~SimilarityRows() = default;
};

// The matrix of one alignment, lent.
struct SimilarityMatrix {
    enum class Cells : std::uint8_t {
        FragmentScores,  // 0 to 10, of fragments
        Similarities     // 0 to 1, of residues
    };

    const SimilarityRows& cells;
    Cells kind = Cells::Similarities;
    std::uint32_t iteration = 1;  // domain iteration, from 1
    std::uint32_t pass = 0;       // whose superposition it is made from; 0 before the first pass
};

// Shows or keeps the matrices of a search.
class SimilaritySink {
 public:
    // Called before each alignment.  What there is to say of it belongs to the lines of the
    // comparison, which `report` takes.
    virtual void take(const SimilarityMatrix& matrix, Report& report) = 0;

 protected:
    SimilaritySink() = default;
    SimilaritySink(const SimilaritySink&) = default;
    SimilaritySink& operator=(const SimilaritySink&) = default;
    ~SimilaritySink() = default;
};

}  // namespace tervolanda
