// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaVector.h"
#include "velaTextureSpace.h"

#include <shader.h>

#include <algorithm>
#include <cmath>

/// Parameters of velaChecker, in declaration order.
struct VelaCheckerParameters {
    miColor color1;       // of the squares at the corners (0, 0) and (1, 1)
    miColor color2;       // of the others
    miScalar contrast;    // 0: both colours are their mean
    miVector coordinate;  // connected: where to look; else the surface's first texture space
    miScalar filter;      // scale of the footprint; 0: a point
    miColor defaultColor; // outside the frame of a placement
};

namespace {

using P = VelaCheckerParameters;

/// The square wave that is +1 over the first half of every unit and -1 over the second: its mean over a
/// stretch of `width` about `at`, from its integral, the triangle wave.
float squareWave(float at, float width) {
    const auto fraction = [](float x) { return x - std::floor(x); };
    if (width < 1e-6f) return fraction(at) < 0.5f ? 1.0f : -1.0f;
    const auto integral = [&](float x) {
        const float f = fraction(x);
        return f < 0.5f ? f : 1.0f - f;
    };
    return (integral(at + 0.5f * width) - integral(at - 0.5f * width)) / width;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaChecker_version(void) {
    return 1;
}

/// Two by two squares in every unit of texture space. The pattern is the product of two square waves, so its
/// mean over a box is the product of theirs: no footprint is too large for it.
ORCA_EXPORT miBoolean velaChecker(miColor* result, miState* state, VelaCheckerParameters* record) {
    const TexturePlace place = texturePlace(state, record, &P::coordinate);
    if (place.outside()) {
        *result = parameterValue(state, record, &P::defaultColor);
        return miTRUE;
    }
    const miVector box = textureFootprint(state, record, &P::coordinate, place).box() *
                         std::max(0.0f, parameterValue(state, record, &P::filter));
    const float wave = squareWave(place.uv.x, box.x) * squareWave(place.uv.y, box.y);
    const float share = 0.5f + 0.5f * wave * parameterValue(state, record, &P::contrast);
    const miColor first = parameterValue(state, record, &P::color1);
    const miColor second = parameterValue(state, record, &P::color2);
    *result = first * share + second * (1.0f - share);
    return miTRUE;
}

} // extern "C"

#include "declared/velaChecker.h"
