// Coordinates and motions: what every measure is made of.
//
// Coordinates and motions have one of three frames: "as read" (the file's), "about origins" (each
// side about the centroid of all mapped pairs, so that sums lose no digits), and "thousandths" (the
// same about a rounded origin, in 1/1000 Å, so that sums of whole numbers are exact).
//
//   Points            as read          chains and their subsets        fit.h
//   PairedPoints      about origins    mapped pairs, in mapped order   superposition.h
//   SearchPairs       thousandths      the same, for the search        search_pairs.h
//   ChainGroups       about origins    chains side by side, for RMSDs  chain_groups.h
//   Superposition     as read          centres and rotation, reported  fit.h
//   Fit               about origins    what fitPairs() returns         superposition.h
//   Motion            any              rotation and shift, for loops   kernels.h
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace tervolanda {

// A rigid motion that puts the prediction onto the experiment:
// p' = rotation (p - predictionCentre) + experimentCentre.  Å; the rotation row by row.
struct Superposition {
    std::array<double, 3> experimentCentre{};
    std::array<double, 3> predictionCentre{};
    std::array<double, 9> rotation{1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0};

    std::array<double, 3> apply(double x, double y, double z) const {
        const double px = x - predictionCentre[0];
        const double py = y - predictionCentre[1];
        const double pz = z - predictionCentre[2];
        return {rotation[0] * px + rotation[1] * py + rotation[2] * pz + experimentCentre[0],
                rotation[3] * px + rotation[4] * py + rotation[5] * pz + experimentCentre[1],
                rotation[6] * px + rotation[7] * py + rotation[8] * pz + experimentCentre[2]};
    }
};

// Coordinates as the kernels want them, Å: three arrays of one length.
struct Points {
    std::vector<double> x, y, z;

    std::size_t size() const { return x.size(); }
    void resize(std::size_t n) {
        x.resize(n);
        y.resize(n);
        z.resize(n);
    }
    void append(double px, double py, double pz) {
        x.push_back(px);
        y.push_back(py);
        z.push_back(pz);
    }
};

}  // namespace tervolanda
