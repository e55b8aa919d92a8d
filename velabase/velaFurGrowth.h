// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The shape of a hair of fur: a bent arc with curls about it, drawn to its tuft and shaken. In object space.

#include <shader.h>

#include <vector>

/// Where a hair grows. Directions are unit length.
struct FurRoot {
    miVector point;
    miVector normal;
    miVector lean; ///< perpendicular to the normal: where the hair leans and bends to
    miVector
        tuft; ///< from the point to the middle of its tuft, perpendicular to the normal; object space units
    miUint number; ///< of the hair, for what is random about it
};

struct FurShape {
    miScalar length;       ///< of the arc, object space units
    miScalar inclination;  ///< radians between the normal and the hair at its root
    miScalar bend;         ///< radians that it turns from there to its tip
    miScalar curl;         ///< radius of the curls, object space units
    miScalar curlTurns;    ///< from the root to the tip
    miScalar clumping;     ///< 0 to 1: share of `tuft` that the tip is drawn
    miScalar displacement; ///< largest random displacement of the tip, object space units
    miScalar frequency;    ///< changes of the displacement along the hair
    miUint seed;
};

/// Control points of the cubic curves that make up the hair, 3 * segments + 1; the curves pass through the
/// hair at equal steps of its length, in its direction there.
void growHair(const FurRoot& root, const FurShape& shape, int segments, std::vector<miVector>& points);

/// From a point to the middle of the tuft that it belongs to: the nearest of points that are spread at
/// random, one for each cube of the side `size`, object space units.
[[nodiscard]] miVector towardTuft(const miVector& point, miScalar size, miUint seed);
