// SPDX-License-Identifier: Apache-2.0
#include "orcaFilterSize.h"

#include "orcaCamera.h"
#include "orcaColor.h"
#include "orcaVector.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float textureShare = 1.5e-05f;    // of a screen-space size, in texture space
constexpr float lightPathSharpness = 0.45f; // of the footprint of paths of little weight

void setSizes(VelabaseState& vela, float size) {
    vela.footprint.screen = {size, size, 0.0f};
    vela.footprint.texture = {size * textureShare, size * textureShare, 0.0f};
}

float distanceFromCamera(miState* state, const miState* hit) {
    miVector camera, point = hit->point;
    origin_from_camera(state, &camera);
    mi_point_to_world(state, &point, &point);
    return length(point - camera);
}

/// Width of a pixel at a distance, on the surface.
float projected(const miState* state, const VelabaseState& vela, float distance) {
    return vela.filterBase * distance / std::max(VELA_EPS, std::abs(state->dot_nd));
}

float footprint(const miState* state, const VelabaseState& vela, float distance) {
    // Parallel projections see a pixel as wide at any distance.
    const bool parallel = state->camera && state->camera->orthographic;
    return projected(state, vela, parallel ? 1.0f : distance);
}

bool bends(const miState* state) {
    return state->type == miRAY_REFLECT || state->type == miRAY_REFRACT || state->type == miRAY_FINALGATHER;
}

bool pathBends(const miState* state) {
    for (; state; state = state->parent)
        if (bends(state)) return true;
    return false;
}

/// Length of the path from the camera. Up to the first surface that changed its direction it is straight.
float pathLength(miState* state) {
    float length = 0.0f;
    const miState* hit = state;
    for (; hit->parent && hit->type != miRAY_EYE; hit = hit->parent) {
        if (!pathBends(hit)) break;
        length += static_cast<float>(hit->dist);
    }
    return length + distanceFromCamera(state, hit);
}

} // namespace

void compute_sl_filter_size(miState* state, VelabaseState& vela) {
    setSizes(vela, footprint(state, vela, distanceFromCamera(state, state)));
}

void compute_rt_filter_size(miState* state, VelabaseState& vela) {
    setSizes(vela, footprint(state, vela, pathLength(state)));
}

void setFilterFootprint(miState* state, VelabaseState& vela) {
    if (!vela.filterEnabled) {
        const float fixed = vela.fixedFilterSize;
        vela.footprint = {{fixed, fixed, fixed}, {fixed, fixed, fixed}};
    } else if (largestChannel(vela.throughput) < vela.transparencyThreshold) {
        // Intended: the estimate takes the distance under parallel projections, too.
        setSizes(vela, lightPathSharpness * projected(state, vela, distanceFromCamera(state, state)));
    } else if (pathBends(state)) {
        compute_rt_filter_size(state, vela);
    } else {
        compute_sl_filter_size(state, vela);
    }
}
