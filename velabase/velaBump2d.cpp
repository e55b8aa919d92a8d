// SPDX-License-Identifier: Apache-2.0
#include "orcaExport.h"
#include "orcaParameters.h"
#include "orcaVector.h"
#include "velaTextureSpace.h"

#include <shader.h>

#include <algorithm>

/// Parameters of velaBump2d, in declaration order.
struct VelaBump2dParameters {
    miScalar height; // connected: the height of the surface, as a share of `depth`
    miScalar depth;  // scene units; negative: heights become depths
    miScalar filter; // distance of the two heights that make a slope, in pixels
    miVector normal; // connected: the normal to bend; else the shading normal
};

namespace {

using P = VelaBump2dParameters;

/// Least distance of the two heights of a slope, in texture space (over which single precision still tells
/// their difference) and, on surfaces without texture coordinates, in scene units.
constexpr float leastStep = 5e-4f;

/// The surface's tangents, one per unit of what `ShiftedHit` steps by.
struct Tangents {
    miVector u, v;
    bool ofTexture; ///< by the texture coordinates; else by scene units
};

Tangents tangentsOf(const miState* state) {
    if (!isNull(state->derivs[0]) && !isNull(state->derivs[1]))
        return {state->derivs[0], state->derivs[1], true};
    Tangents tangents{{}, {}, false};
    orthonormalBasis(state->normal, tangents.u, tangents.v);
    return tangents;
}

float heightAt(miState* state, P* record, const miVector& step) {
    const ShiftedHit shifted(state, step);
    return parameterValue(state, record, &P::height);
}

/// Change of the height along one unit of `axis`, by central differences.
float slope(miState* state, P* record, const miVector& axis, float step) {
    const float ahead = heightAt(state, record, axis * (0.5f * step));
    const float behind = heightAt(state, record, axis * (-0.5f * step));
    return (ahead - behind) / step;
}

/// Sets tangents in the state where the surface has none.
class WithTangents {
public:
    WithTangents(miState* state, const Tangents& tangents) : state_(state), lent_(!tangents.ofTexture) {
        if (!lent_) return;
        state->derivs[0] = tangents.u;
        state->derivs[1] = tangents.v;
    }
    ~WithTangents() {
        if (lent_) state_->derivs[0] = state_->derivs[1] = {0.0f, 0.0f, 0.0f};
    }
    WithTangents(const WithTangents&) = delete;
    WithTangents& operator=(const WithTangents&) = delete;

private:
    miState* state_;
    bool lent_;
};

} // namespace

extern "C" {

ORCA_EXPORT int velaBump2d_version(void) {
    return 1;
}

/// The normal of the surface after every point has been raised by the height along its normal (J. Blinn,
/// "Simulation of Wrinkled Surfaces", 1978). Internal space, unit.
ORCA_EXPORT miBoolean velaBump2d(miVector* result, miState* state, VelaBump2dParameters* record) {
    const miVector normal = isConnected(state, record, &P::normal)
                                ? normalized(parameterValue(state, record, &P::normal))
                                : state->normal;
    *result = normal;
    const float depth = parameterValue(state, record, &P::depth);
    if (depth == 0.0f || !isConnected(state, record, &P::height)) return miTRUE;

    const Tangents tangents = tangentsOf(state);
    const float volume = dot(normal, cross(tangents.u, tangents.v));
    if (volume == 0.0f) return miTRUE;
    const miVector box = surfaceFootprint(state).box() * parameterValue(state, record, &P::filter);
    const WithTangents own(state, tangents);
    const float alongU = slope(state, record, {1.0f, 0.0f, 0.0f}, std::max(box.x, leastStep));
    const float alongV = slope(state, record, {0.0f, 1.0f, 0.0f}, std::max(box.y, leastStep));
    const miVector gradient =
        (cross(tangents.v, normal) * alongU - cross(tangents.u, normal) * alongV) * (depth / volume);
    // Heights count outwards, whichever side is seen.
    const miVector bent = state->inv_normal ? normal + gradient : normal - gradient;
    *result = normalized(bent);
    return miTRUE;
}

} // extern "C"

#include "declared/velaBump2d.h"
