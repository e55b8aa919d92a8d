// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "velaTextureSpace.h"

#include <shader.h>

#include <cmath>

/// Parameters of velaPlace2d, in declaration order.
struct VelaPlace2dParameters {
    miVector coordinate; // connected: what is placed; else the surface's first texture space
    miScalar coverageU;  // width of the frame, as a share of the surface's
    miScalar coverageV;
    miScalar translateFrameU; // lower left corner of the frame on the surface
    miScalar translateFrameV;
    miScalar rotateFrame; // degrees, counter-clockwise about the middle of the surface
    miBoolean wrapU;      // the frame repeats; off: the texture's default colour
    miBoolean wrapV;
    miScalar repeatU; // copies within the frame
    miScalar repeatV;
    miScalar offsetU; // of the texture within the frame, in copies
    miScalar offsetV;
    miScalar rotateUV; // degrees, of the texture about the middle of the frame
    miBoolean mirrorU; // every other copy is mirrored
    miBoolean mirrorV;
    miBoolean stagger; // every other row is shifted by half a copy
};

namespace {

using P = VelaPlace2dParameters;

struct FramePoint {
    float u, v;
};

/// About the middle of the unit square. Textures turn counter-clockwise, so coordinates turn clockwise.
FramePoint turned(FramePoint p, float degrees) {
    if (degrees == 0.0f) return p;
    const float angle = degrees * 0.017453293f;
    const float c = std::cos(angle), s = std::sin(angle);
    const float u = p.u - 0.5f, v = p.v - 0.5f;
    return {0.5f + c * u + s * v, 0.5f - s * u + c * v};
}

bool outsideFrame(float along, bool wraps) {
    return !wraps && !(along >= 0.0f && along <= 1.0f);
}

/// Position within the frame where it repeats over the surface: frames lie side by side, whole periods of
/// the surface apart when they do not fill it.
float withinFrame(float along, float coverage, bool wraps) {
    if (!wraps || coverage >= 1.0f) return along;
    const float period = 1.0f / coverage; // of the surface, measured in frames
    return along - period * std::floor(along / period);
}

/// Mirrors every other unit; without a jump, so that footprints stay small.
float mirroredCopies(float along) {
    const float inPair = along - 2.0f * std::floor(0.5f * along);
    return inPair > 1.0f ? 2.0f - inPair : inPair;
}

float divided(float value, float by) {
    return by != 0.0f ? value / by : 0.0f;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaPlace2d_version(void) {
    return 1;
}

/// Texture coordinates of a frame laid on the surface; z is 1 outside it, else 0.
ORCA_EXPORT miBoolean velaPlace2d(miVector* result, miState* state, VelaPlace2dParameters* record) {
    const auto value = [&](auto P::*field) { return parameterValue(state, record, field); };
    const TexturePlace surface = texturePlace(state, record, &P::coordinate);
    const bool wrapU = value(&P::wrapU) != 0, wrapV = value(&P::wrapV) != 0;
    const float coverageU = value(&P::coverageU), coverageV = value(&P::coverageV);

    FramePoint p = turned({surface.uv.x, surface.uv.y}, value(&P::rotateFrame));
    p = {divided(p.u - value(&P::translateFrameU), coverageU),
         divided(p.v - value(&P::translateFrameV), coverageV)};
    p = {withinFrame(p.u, coverageU, wrapU), withinFrame(p.v, coverageV, wrapV)};
    const bool partU = coverageU < 1.0f || !wrapU, partV = coverageV < 1.0f || !wrapV;
    const bool outside =
        surface.outside() || (partU && outsideFrame(p.u, false)) || (partV && outsideFrame(p.v, false));

    p = turned(p, value(&P::rotateUV));
    p = {p.u * value(&P::repeatU) + value(&P::offsetU), p.v * value(&P::repeatV) + value(&P::offsetV)};
    if (value(&P::stagger) && (static_cast<long>(std::floor(p.v)) & 1)) p.u += 0.5f;
    if (value(&P::mirrorU)) p.u = mirroredCopies(p.u);
    if (value(&P::mirrorV)) p.v = mirroredCopies(p.v);
    *result = {p.u, p.v, outside ? 1.0f : 0.0f};
    return miTRUE;
}

} // extern "C"

#include "declared/velaPlace2d.h"
