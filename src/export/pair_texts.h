// What several forms show alike of a pair, made once, by the first that asks for it: with all forms
// of a run numbers are most of what they cost.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "export/export_text.h"
#include "export/results.h"

namespace tervolanda {

// The figures of a pair that are numbers of double precision, as tables and objects have them one
// after the other.
inline constexpr std::size_t kPairFigures = 12;
inline constexpr std::array<std::string_view, kPairFigures> kFigureNames = {
    "rmsd", "grmsd", "maxsub", "tm1",    "tm2",      "msi",
    "gdt",  "rrmsd", "urmsd",  "rurmsd", "contacts", "cutoff"};

class PairTexts {
 public:
    // Before the first pair.  The inputs are lent.
    void start(const RunInputs& inputs);
    // The pair is lent, and the texts are its own, until the next.
    void next(const PairResult& pair) {
        pair_ = &pair;
        hasFigures_ = false;
        json_.clear();
    }

    // By kFigureNames; empty where there is none, and for what is not finite.
    const std::array<ShortText, kPairFigures>& figures() {
        if (!hasFigures_) makeFigures();
        return figures_;
    }

    // The pair as an object of JSON, in two parts: between them is room for members that a form
    // adds, each after a comma.
    struct Object {
        std::string_view head, tail;
    };
    Object json();

 private:
    void makeFigures();
    void makeJson();

    // Members that an input contributes as the experiment and as the prediction.
    struct InputKeys {
        PaddedText first, second;
    };
    const RunInputs* inputs_ = nullptr;
    std::vector<InputKeys> keys_;
    const PairResult* pair_ = nullptr;
    bool hasFigures_ = false;
    // Those of this pair or, until they are asked for, of one before, with what they say.
    std::array<ShortText, kPairFigures> figures_;
    std::array<double, kPairFigures> values_{};
    std::string json_;  // empty until it is asked for
    std::size_t headOfJson_ = 0;
};

}  // namespace tervolanda
