// SPDX-License-Identifier: Apache-2.0
#include "orcaConstants.h"
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"

#include <shader.h>

#include <algorithm>
#include <cmath>

/// Parameters of velaContourContrast, in declaration order.
struct VelaContourContrastParameters {
    miBoolean background; // around what nothing is behind
    miBoolean materials;  // between different ones, as the next two
    miBoolean instances;
    miBoolean labels;
    miScalar depth;     // scene units; 0: any
    miScalar angle;     // degrees
    miScalar color;     // largest difference of a channel; 0: any
    miInteger maxLevel; // lines of deeper hits are left out
};

namespace {

using P = VelaContourContrastParameters;

/// Distance of two points across the surface at one of them, which hardly grows along a surface that is seen
/// at a grazing angle.
miScalar step(const miStdInfo& a, const miStdInfo& b) {
    const miVector between = b.point - a.point;
    return std::max(std::abs(dot(a.normal, between)), std::abs(dot(b.normal, between)));
}

bool isCrease(const miStdInfo& a, const miStdInfo& b, miScalar degrees) {
    return degrees < 180.0f && dot(a.normal, b.normal) < std::cos(degrees * miScalar(M_PI / 180.0));
}

bool isColorStep(const miColor& a, const miColor& b, miScalar limit) {
    return limit > 0.0f && std::max({std::abs(a.r - b.r), std::abs(a.g - b.g), std::abs(a.b - b.b)}) > limit;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaContourContrast_version(void) {
    return 1;
}

ORCA_EXPORT miBoolean velaContourContrast(miStdInfo* a, miStdInfo* b, int level, miState* state, P* record) {
    if (level > parameterValue(state, record, &P::maxLevel)) return miFALSE;
    if (!a || !b) return parameterValue(state, record, &P::background);
    if (a->material != b->material && parameterValue(state, record, &P::materials)) return miTRUE;
    if (a->instance != b->instance && parameterValue(state, record, &P::instances)) return miTRUE;
    if (a->label != b->label && parameterValue(state, record, &P::labels)) return miTRUE;
    const miScalar depth = parameterValue(state, record, &P::depth);
    if (depth > 0.0f && step(*a, *b) > depth) return miTRUE;
    if (isCrease(*a, *b, parameterValue(state, record, &P::angle))) return miTRUE;
    return isColorStep(a->color, b->color, parameterValue(state, record, &P::color));
}

} // extern "C"

#include "declared/velaContourContrast.h"
