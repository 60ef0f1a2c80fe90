#include "compare/literal.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <tuple>

namespace tervolanda::test {

namespace {

using Matrix3 = std::array<std::array<double, 3>, 3>;

// Eigenvectors (columns) of a symmetric matrix, largest eigenvalue first, by Jacobi's rotations.
Matrix3 eigenvectors(Matrix3 a) {
    Matrix3 v{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    constexpr std::array<std::array<std::size_t, 2>, 3> kPairs = {{{0, 1}, {0, 2}, {1, 2}}};
    for (int sweep = 0; sweep < 60; ++sweep) {
        for (const auto& [p, q] : kPairs) {
            if (std::abs(a[p][q]) < 1e-300) continue;
            const double angle = 0.5 * std::atan2(2 * a[p][q], a[p][p] - a[q][q]);
            const double c = std::cos(angle), s = std::sin(angle);
            const auto turn = [c, s](double& x, double& y) {
                std::tie(x, y) = std::tuple(c * x + s * y, -s * x + c * y);
            };
            for (std::size_t k = 0; k < 3; ++k)
                turn(a[k][p], a[k][q]);
            for (std::size_t k = 0; k < 3; ++k)
                turn(a[p][k], a[q][k]);
            for (std::size_t k = 0; k < 3; ++k)
                turn(v[k][p], v[k][q]);
        }
    }
    std::array<std::size_t, 3> order{0, 1, 2};
    std::sort(order.begin(), order.end(),
              [&](std::size_t i, std::size_t j) { return a[i][i] > a[j][j]; });
    Matrix3 sorted{};
    for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t k = 0; k < 3; ++k)
            sorted[k][i] = v[k][order[i]];
    }
    return sorted;
}

Place cross(const Place& a, const Place& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Place centreOf(const std::vector<Place>& places) {
    Place centre{};
    for (const Place& p : places) {
        for (std::size_t k = 0; k < 3; ++k)
            centre[k] += p[k];
    }
    for (double& c : centre)
        c /= static_cast<double>(places.size());
    return centre;
}

double squaredDistance(const Place& a, const Place& b) {
    double sum = 0.0;
    for (std::size_t k = 0; k < 3; ++k)
        sum += (a[k] - b[k]) * (a[k] - b[k]);
    return sum;
}

// The state of a search: three flags and a deviation for each pair, as its description has them.
class Search {
 public:
    Search(const LiteralPairs& pairs, const ComparisonParameters& parameters)
        : pairs_(pairs),
          parameters_(parameters),
          n_(pairs.prediction.size()),
          seed_(n_),
          current_(n_),
          best_(n_),
          squared_(n_) {
        const auto length = static_cast<double>(pairs.experimentLength);
        norm_ = parameters.normLength > 0 ? parameters.normLength : length;
        scale_ = literalScale(norm_, parameters.thresholdScale);
        const auto mapped = static_cast<double>(n_);
        cutoff_ = parameters.distanceCutoff;
        if (cutoff_ == 0.0) {
            cutoff_ = literalScale(mapped, parameters.thresholdScale);
            if (parameters.maximiseTM) cutoff_ = std::min(std::max(cutoff_, 3.5), 8.0);
        }
    }

    LiteralResult run() {
        searchAll();
        LiteralResult result;
        result.subset.assign(n_, false);
        if (bestSize_ == 0) return result;
        current_ = best_;
        fit();
        LiteralResult scored = score(false);
        if (scored.pairs < 3 && !parameters_.maximiseTM) {
            scored.pairs = 0;
            scored.maxsub = 0.0;
            scored.subset = result.subset;
            return scored;
        }
        current_ = parameters_.maximiseTM ? best_ : scored.subset;
        fit();
        return score(true);
    }

 private:
    void fit() {
        std::vector<Place> p, e;
        for (std::size_t i = 0; i < n_; ++i) {
            if (!current_[i]) continue;
            p.push_back(pairs_.prediction[i]);
            e.push_back(pairs_.experiment[i]);
        }
        const LiteralFit found = literalFit(p, e);
        for (std::size_t i = 0; i < n_; ++i) {
            squared_[i] = squaredDistance(found.apply(pairs_.prediction[i]), pairs_.experiment[i]);
        }
    }

    std::size_t select(double radius, bool byRmsd) {
        const double limit = radius * radius * (1 + 1e-10);
        std::vector<std::size_t> order(n_);
        std::iota(order.begin(), order.end(), std::size_t{0});
        if (byRmsd) order = byDeviation(limit);
        std::size_t count = 0;
        double sum = 0.0;
        bool adding = true;
        for (const std::size_t i : order) {
            bool take = squared_[i] <= limit;
            if (byRmsd) {
                adding = adding && (sum + squared_[i]) / static_cast<double>(count + 1) <= limit;
                take = adding;
            }
            current_[i] = take;
            if (take) sum += squared_[i];
            if (take) ++count;
        }
        if (count < 3) return 0;
        selectedRmsd_ = std::sqrt(sum / static_cast<double>(count));
        return count;
    }

    // Ascending; those that deviate as much as the first that does not fit in any more go by their
    // positions.
    std::vector<std::size_t> byDeviation(double limit) const {
        std::vector<std::size_t> order(n_);
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return squared_[a] < squared_[b]; });
        double sum = 0.0, count = 0.0;
        for (const std::size_t i : order) {
            sum += squared_[i];
            count += 1.0;
            if (sum / count <= limit) continue;
            const double out = squared_[i];
            const auto equals = [&](std::size_t k) {
                return std::abs(squared_[k] - out) <= 1e-10 * out;
            };
            const auto first = std::find_if(order.begin(), order.end(), equals);
            std::sort(first, std::find_if_not(first, order.end(), equals));
            break;
        }
        return order;
    }

    void judgeTm() {
        double sum = 0.0;
        for (const double e : squared_)
            sum += 1.0 / (1.0 + e / (scale_ * scale_));
        if (sum / norm_ * (1 - 1e-12) > bestTm_) {
            bestTm_ = sum / norm_;
            best_ = current_;
            bestSize_ = static_cast<std::size_t>(std::count(best_.begin(), best_.end(), true));
        }
    }

    // From the seed in the current flags to a candidate; its size.
    std::size_t extend() {
        for (int k = 1; k <= 4; ++k) {
            fit();
            if (parameters_.maximiseTM) judgeTm();
            const double r = k * cutoff_ * 0.25;
            if (!parameters_.maximiseTM && r < 0.5) continue;
            const bool byRmsd = parameters_.maxRMSD && !parameters_.maximiseTM;
            if (select(r, byRmsd) == 0) current_ = seed_;
        }
        for (int selections = 1;; ++selections) {
            const auto size =
                static_cast<std::size_t>(std::count(current_.begin(), current_.end(), true));
            fit();
            if (parameters_.maximiseTM) judgeTm();
            const std::size_t selected = select(cutoff_, parameters_.maxRMSD);
            if (selected == 0) {
                current_ = seed_;
                break;
            }
            if (parameters_.maximiseTM ? selected == size : selected <= size) break;
            if (selections == 21) break;
        }
        if (parameters_.maximiseTM) return 0;
        fit();
        return select(cutoff_, parameters_.maxRMSD);
    }

    void searchAll() {
        std::vector<std::size_t> lengths;
        for (int i = 0;; ++i) {
            const auto length = static_cast<std::size_t>(static_cast<float>(n_) /
                                                         std::pow(2.0F, static_cast<float>(i)));
            if (length <= 3 || i > parameters_.seedLevels) break;
            lengths.push_back(length);
        }
        lengths.push_back(4);
        for (const std::size_t w : lengths) {
            for (std::size_t p = 0; p + w < n_ + 1; p += w / 2) {
                for (std::size_t i = 0; i < n_; ++i)
                    seed_[i] = i >= p && i < p + w;
                current_ = seed_;
                const std::size_t size = extend();
                if (size > 3 &&
                    (size > bestSize_ || (size == bestSize_ && selectedRmsd_ < bestRmsd_ - 1e-9))) {
                    best_ = current_;
                    bestSize_ = size;
                    bestRmsd_ = selectedRmsd_;
                }
                if (!parameters_.maximiseTM && bestSize_ == n_) return;
            }
        }
    }

    LiteralResult score(bool strict) const {
        LiteralResult result;
        result.subset.assign(n_, false);
        double total = 0.0, inside = 0.0;
        const double limit = cutoff_ * cutoff_;
        for (std::size_t i = 0; i < n_; ++i) {
            const double e = squared_[i];
            total += e;
            result.tm += 1.0 / (1.0 + e / (scale_ * scale_)) / norm_;
            if (strict ? e >= limit * (1 - 1e-10) : e > limit * (1 + 1e-10)) continue;
            result.subset[i] = true;
            ++result.pairs;
            inside += e;
            result.maxsub += 1.0 / (1.0 + e / limit) / static_cast<double>(pairs_.experimentLength);
        }
        result.grmsd = std::sqrt(total / static_cast<double>(n_));
        if (result.pairs > 0) result.rmsd = std::sqrt(inside / result.pairs);
        if (!parameters_.scorePoor && result.pairs < 40 &&
            (result.pairs <= 24 || result.maxsub < 0.125)) {
            result.maxsub = 0.0;
        }
        return result;
    }

    const LiteralPairs& pairs_;
    const ComparisonParameters& parameters_;
    std::size_t n_;
    std::vector<bool> seed_, current_, best_;
    std::vector<double> squared_;
    double norm_ = 0.0, scale_ = 0.0, cutoff_ = 0.0;
    double selectedRmsd_ = 0.0, bestRmsd_ = 0.0, bestTm_ = 0.0;
    std::size_t bestSize_ = 0;
};

}  // namespace

Place LiteralFit::apply(const Place& p) const {
    Place moved = experimentCentre;
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = 0; b < 3; ++b) {
            moved[a] += rotation[3 * a + b] * (p[b] - predictionCentre[b]);
        }
    }
    return moved;
}

LiteralFit literalFit(const std::vector<Place>& prediction, const std::vector<Place>& experiment) {
    LiteralFit fit{{}, centreOf(prediction), centreOf(experiment), 0.0};
    Matrix3 m{};  // experiment by prediction
    for (std::size_t i = 0; i < prediction.size(); ++i) {
        for (std::size_t a = 0; a < 3; ++a) {
            for (std::size_t b = 0; b < 3; ++b) {
                m[a][b] += (experiment[i][a] - fit.experimentCentre[a]) *
                           (prediction[i][b] - fit.predictionCentre[b]);
            }
        }
    }
    Matrix3 square{};
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = 0; b < 3; ++b) {
            for (std::size_t k = 0; k < 3; ++k)
                square[a][b] += m[k][a] * m[k][b];
        }
    }
    const Matrix3 v = eigenvectors(square);
    std::array<Place, 3> right{}, left{};
    for (std::size_t i = 0; i < 2; ++i) {
        double length = 0.0;
        for (std::size_t a = 0; a < 3; ++a) {
            right[i][a] = v[a][i];
            for (std::size_t b = 0; b < 3; ++b)
                left[i][a] += m[a][b] * v[b][i];
            length += left[i][a] * left[i][a];
        }
        for (double& component : left[i])
            component /= std::sqrt(length);
    }
    right[2] = cross(right[0], right[1]);
    left[2] = cross(left[0], left[1]);
    for (std::size_t a = 0; a < 3; ++a) {
        for (std::size_t b = 0; b < 3; ++b) {
            for (std::size_t i = 0; i < 3; ++i) {
                fit.rotation[3 * a + b] += left[i][a] * right[i][b];
            }
        }
    }
    double sum = 0.0;
    for (std::size_t i = 0; i < prediction.size(); ++i) {
        sum += squaredDistance(fit.apply(prediction[i]), experiment[i]);
    }
    fit.rmsd = std::sqrt(sum / static_cast<double>(prediction.size()));
    return fit;
}

double literalScale(double length, double factor) {
    double scale = 0.5;
    if (length > 14) scale = (1.24 * std::pow(length - 15, 0.33333) - 1.8) * factor;
    return std::max(scale, 0.5);
}

LiteralResult literalSearch(const LiteralPairs& pairs, const ComparisonParameters& parameters) {
    return Search(pairs, parameters).run();
}

}  // namespace tervolanda::test
