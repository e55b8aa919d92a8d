// SPDX-License-Identifier: Apache-2.0
#include "velaFurGrowth.h"

#include "orcaFibre.h"
#include "orcaNoise.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {

/// Random values of a hair.
enum : miUint { RANDOM_TURN = 101, RANDOM_SHAKE = 102 };

class HairCurve {
public:
    HairCurve(const FurRoot& root, const FurShape& shape)
        : root_(root),
          shape_(shape),
          side_(cross(root.normal, root.lean)),
          turn_(2.0f * std::numbers::pi_v<miScalar> * hashedNumber(root.number, shape.seed + RANDOM_TURN)),
          shake_(1000.0 * hashedNumber(root.number, shape.seed + RANDOM_SHAKE)) {}

    /// @param t 0 at the root to 1 at the tip
    [[nodiscard]] miVector at(miScalar t) const {
        const miScalar angle = shape_.inclination + shape_.bend * t;
        return root_.point + arc(t) + curls(t, angle) + root_.tuft * (shape_.clumping * t * t) + shaken(t);
    }

private:
    [[nodiscard]] miVector arc(miScalar t) const {
        const miScalar from = shape_.inclination, bend = shape_.bend;
        miScalar up = t * std::cos(from), out = t * std::sin(from);
        if (std::abs(bend) > 1e-3f) { // of constant curvature
            up = (std::sin(from + bend * t) - std::sin(from)) / bend;
            out = (std::cos(from) - std::cos(from + bend * t)) / bend;
        }
        return (root_.normal * up + root_.lean * out) * shape_.length;
    }
    /// A helix about the arc, which widens from nothing over the first third.
    [[nodiscard]] miVector curls(miScalar t, miScalar angle) const {
        if (shape_.curl == 0.0f) return {0.0f, 0.0f, 0.0f};
        const miVector across = root_.lean * std::cos(angle) - root_.normal * std::sin(angle);
        const miScalar turn = turn_ + 2.0f * std::numbers::pi_v<miScalar> * shape_.curlTurns * t;
        const miScalar s = std::min(1.0f, 3.0f * t), radius = shape_.curl * s * s * (3.0f - 2.0f * s);
        return (across * std::cos(turn) + side_ * std::sin(turn)) * radius;
    }
    [[nodiscard]] miVector shaken(miScalar t) const {
        if (shape_.displacement == 0.0f) return {0.0f, 0.0f, 0.0f};
        const double along = shape_.frequency * t + 0.37; // noise is 0 at whole numbers
        return miVector{noise_scalar_3d(shake_, along, 0.5), noise_scalar_3d(shake_, along, 7.5),
                        noise_scalar_3d(shake_, along, 14.5)} *
               (shape_.displacement * t);
    }

    const FurRoot& root_;
    const FurShape& shape_;
    miVector side_;
    miScalar turn_; ///< where the curls begin, radians
    double shake_;  ///< place of the hair in the noise
};

} // namespace

void growHair(const FurRoot& root, const FurShape& shape, int segments, std::vector<miVector>& points) {
    const HairCurve curve(root, shape);
    const miScalar step = 1.0f / static_cast<miScalar>(segments);
    constexpr miScalar difference = 1e-2f; // of a segment
    // A third of the curve's derivative over a segment.
    const auto third = [&](miScalar t) {
        const miScalar before = std::max(0.0f, t - difference * step),
                       after = std::min(1.0f, t + difference * step);
        return (curve.at(after) - curve.at(before)) * (step / (3.0f * (after - before)));
    };
    points.clear();
    points.push_back(curve.at(0.0f));
    for (int i = 0; i < segments; ++i) {
        const miScalar from = static_cast<miScalar>(i) * step;
        const miScalar to = i + 1 == segments ? 1.0f : from + step;
        const miVector end = curve.at(to);
        points.push_back(points.back() + third(from));
        points.push_back(end - third(to));
        points.push_back(end);
    }
}

miVector towardTuft(const miVector& point, miScalar size, miUint seed) {
    const auto cell = [&](miScalar x) { return static_cast<int>(std::floor(x / size)); };
    const int x = cell(point.x), y = cell(point.y), z = cell(point.z);
    miVector nearest{0.0f, 0.0f, 0.0f};
    miScalar least = std::numeric_limits<miScalar>::max();
    for (int i = x - 1; i <= x + 1; ++i)
        for (int j = y - 1; j <= y + 1; ++j)
            for (int k = z - 1; k <= z + 1; ++k) {
                const miUint key = static_cast<miUint>(i) * 73856093u ^ static_cast<miUint>(j) * 19349663u ^
                                   static_cast<miUint>(k) * 83492791u;
                const auto place = [&](int corner, miUint axis) {
                    return (static_cast<miScalar>(corner) + hashedNumber(key, seed + axis)) * size;
                };
                const miVector way = miVector{place(i, 0), place(j, 1), place(k, 2)} - point;
                if (const miScalar squared = dot(way, way); squared < least) {
                    least = squared;
                    nearest = way;
                }
            }
    return nearest;
}
